#include "recording/ReplayedImage.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "capabilities/GlobalMemory.h"
#include "source/HostRecord.h"
#include "transfer/TransferBuffer.h"

namespace vscan {

using recording::Answer;
using recording::Bytes;

namespace {

// What stands before the host's own buffer in the record of a strip.
constexpr std::size_t descriptionBytes = offsetof(TW_IMAGEMEMXFER, Memory);

TW_UINT16 failed() {
    return TWRC_FAILURE;
}

}  // namespace

// The answer and its pixels; false when there are none to deliver.
bool ReplayedImage::beginTransfer(RecordedPixels& pixels, Delivery& delivery) {
    const RecordedOperation& recorded = *transfers_[at_];
    delivery.answer = *recorded.operation.answer;
    if (!delivery.answer.pixels) return false;
    if (rowsDone_ > 0) return true;
    const auto read = pixels.read(*delivery.answer.pixels);
    delivery.damaged = !read;
    if (read) bytes_ = *read;
    if (delivery.damaged) delivery.answer.returnCode = failed();
    return !delivery.damaged;
}

ReplayedImage::Delivery ReplayedImage::deliverStrip(RecordedPixels& pixels, TW_MEMREF data) {
    Delivery delivery;
    auto* record = hostRecord<TW_IMAGEMEMXFER>(data, MSG_GET);
    if (!beginTransfer(pixels, delivery)) {
        ++at_;
        return delivery;
    }
    const TransferBuffer buffer(record ? record->Memory : TW_MEMORY{});
    TW_IMAGEMEMXFER strip{};
    std::copy_n(delivery.answer.data.begin(), std::min(descriptionBytes, delivery.answer.data.size()),
                reinterpret_cast<std::uint8_t*>(&strip));
    const std::size_t rowBytes = strip.BytesPerRow;
    if (rowsDone_ == 0 && buffer.data() && bytes_.size() <= buffer.size()) {
        std::copy(bytes_.begin(), bytes_.end(), buffer.data());
    } else {
        const std::size_t fitting = rowBytes > 0 ? buffer.size() / rowBytes : 0;
        const std::size_t all = rowBytes > 0 ? bytes_.size() / rowBytes : 0;
        if (!buffer.data() || fitting == 0 || rowsDone_ >= all) {
            delivery.misfits = true;
            delivery.answer.returnCode = failed();
            return delivery;
        }
        const std::size_t rows = std::min(fitting, all - rowsDone_);
        std::memcpy(buffer.data(), bytes_.data() + rowsDone_ * rowBytes, rows * rowBytes);
        strip.YOffset += rowsDone_;
        strip.Rows = static_cast<TW_UINT32>(rows);
        strip.BytesWritten = static_cast<TW_UINT32>(rows * rowBytes);
        rowsDone_ += static_cast<std::uint32_t>(rows);
        delivery.cut = true;
        if (rowsDone_ < all) delivery.answer.returnCode = TWRC_SUCCESS;
        if (rowsDone_ == all) rowsDone_ = 0;
    }
    std::memcpy(record, &strip, descriptionBytes);
    if (rowsDone_ == 0) ++at_;
    return delivery;
}

ReplayedImage::Delivery ReplayedImage::deliverNative(RecordedPixels& pixels, TW_MEMREF data) {
    Delivery delivery;
    auto* handle = hostRecord<TW_UINT32>(data, MSG_GET);
    const bool hasPixels = handle && beginTransfer(pixels, delivery);
    ++at_;
    if (!handle) {
        delivery.answer.returnCode = failed();
        return delivery;
    }
    const recording::Block& header = delivery.answer.block;
    if (hasPixels || header.kind == recording::BlockKind::Present) {
        if (delivery.damaged) return delivery;
        const HGLOBAL block = makeGlobal(header.bytes.size() + bytes_.size(), [&](std::uint8_t* target) {
            std::copy(bytes_.begin(), bytes_.end(),
                      std::copy(header.bytes.begin(), header.bytes.end(), target));
        });
        *handle = static_cast<TW_UINT32>(reinterpret_cast<UINT_PTR>(block));
        if (!block) delivery.answer.returnCode = failed();
    } else if (header.kind == recording::BlockKind::None) {
        *handle = 0;
    }
    return delivery;
}

ReplayedImage::Delivery ReplayedImage::deliverFile(RecordedPixels& pixels, const std::string& path) {
    Delivery delivery;
    const bool hasPixels = beginTransfer(pixels, delivery);
    ++at_;
    if (!hasPixels) return delivery;
    const Bytes& header = delivery.answer.block.bytes;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    bool complete = file && std::fwrite(header.data(), 1, header.size(), file) == header.size() &&
                    std::fwrite(bytes_.data(), 1, bytes_.size(), file) == bytes_.size();
    if (file) complete = std::fclose(file) == 0 && complete;
    if (!complete) delivery.answer.returnCode = failed();
    return delivery;
}

}  // namespace vscan
