#include "record/CallRecorder.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <exception>
#include <utility>

#include "record/Bitmaps.h"
#include "record/OperationNames.h"
#include "recording/HostMemory.h"
#include "recording/RecordShapes.h"
#include "recording/RecordingText.h"

namespace record {

using recording::Answer;
using recording::BlockKind;
using recording::Bytes;
using recording::bytesAt;
using recording::Operation;
using recording::Triplet;

namespace {

constexpr std::size_t vendorRecordLimit = 1024;

// As many of the bytes there as can be read, up to `most`.
Bytes readableBytesAt(const void* memory, std::size_t most) {
    MEMORY_BASIC_INFORMATION region{};
    if (!memory || !VirtualQuery(memory, &region, sizeof region)) return {};
    const auto* end = static_cast<const std::uint8_t*>(region.BaseAddress) + region.RegionSize;
    const auto room = static_cast<std::size_t>(end - static_cast<const std::uint8_t*>(memory));
    return bytesAt(memory, std::min(room, most));
}

// The host's transfer buffer while it is looked at.
class StripBuffer {
public:
    explicit StripBuffer(const TW_MEMORY& memory) {
        const bool byHandle = (memory.Flags & TWMF_HANDLE) != 0;
        handle_ = byHandle && GlobalSize(memory.TheMem) > 0 ? memory.TheMem : nullptr;
        bytes_ = static_cast<const std::uint8_t*>(handle_ ? GlobalLock(handle_) : memory.TheMem);
        size_ = handle_ ? std::min<std::size_t>(memory.Length, GlobalSize(handle_)) : memory.Length;
        if (!bytes_ || (byHandle && !handle_) || IsBadReadPtr(bytes_, size_)) size_ = 0;
    }
    ~StripBuffer() {
        if (handle_) GlobalUnlock(handle_);
    }
    StripBuffer(const StripBuffer&) = delete;
    StripBuffer& operator=(const StripBuffer&) = delete;

    const std::uint8_t* bytes() const { return bytes_; }
    std::size_t size() const { return size_; }

private:
    HGLOBAL handle_ = nullptr;
    const std::uint8_t* bytes_ = nullptr;
    std::size_t size_ = 0;
};

TW_IMAGEMEMXFER stripAt(TW_MEMREF data) {
    TW_IMAGEMEMXFER strip{};
    const Bytes record = bytesAt(data, sizeof strip);
    if (record.size() == sizeof strip) std::memcpy(&strip, record.data(), sizeof strip);
    return strip;
}

}  // namespace

struct CallRecorder::Before {
    Bytes strip;         // the host's buffer
    Bytes vendorRecord;  // as far as it can be read
};

CallRecorder::CallRecorder(const std::wstring& path, PixelPolicy policy) : file_(path, policy) {
    QueryPerformanceFrequency(&frequency_);
    QueryPerformanceCounter(&start_);
}

double CallRecorder::now() const {
    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    return static_cast<double>(counter.QuadPart - start_.QuadPart) * 1000 /
           static_cast<double>(frequency_.QuadPart);
}

TW_UINT16 CallRecorder::pass(const Triplet& triplet, TW_MEMREF data, const std::function<TW_UINT16()>& call) {
    if (triplet.is(DG_CONTROL, DAT_EVENT, MSG_PROCESSEVENT)) return passEvent(triplet, data, call);
    Operation operation;
    Before before;
    const bool begun = tried([&] {
        operation = begin(triplet, data);
        if (triplet.argumentType == DAT_IMAGEMEMXFER && triplet.group == DG_IMAGE) {
            const StripBuffer buffer(stripAt(data).Memory);
            before.strip.assign(buffer.bytes(), buffer.bytes() + buffer.size());
        }
        if (recording::isVendorRecord(triplet) && triplet.message != MSG_SET)
            before.vendorRecord = readableBytesAt(data, vendorRecordLimit);
        running_.push_back(operation.number);
    });
    const double started = now();
    const TW_UINT16 returnCode = call();
    const double ended = now();
    if (!begun) return returnCode;
    running_.pop_back();
    tried([&] {
        Answer answer = answerOf(triplet, data, returnCode, before);
        answer.milliseconds = ended - started;
        end(operation, answer);
    });
    return returnCode;
}

// A page for whose copy there is no memory ends the recording, not the scan.
bool CallRecorder::tried(const std::function<void()>& step) {
    try {
        step();
        return true;
    } catch (const std::exception&) {
        file_.abandon();
        return false;
    }
}

// Hosts pass every message of their windows on; only what the source answers to one matters.
TW_UINT16 CallRecorder::passEvent(const Triplet& triplet, TW_MEMREF data,
                                  const std::function<TW_UINT16()>& call) {
    const double started = now();
    const TW_UINT16 returnCode = call();
    const double ended = now();
    TW_EVENT event{};
    const Bytes record = bytesAt(data, sizeof event);
    if (record.size() == sizeof event) std::memcpy(&event, record.data(), sizeof event);
    constexpr TW_UINT16 lastNotice = MSG_CLOSEDSREQ + 2;  // there are four
    if (event.TWMessage < MSG_XFERREADY || event.TWMessage > lastNotice) {
        ++events_;
        return returnCode;
    }
    Operation operation;
    operation.number = ++number_;
    operation.state = state_;
    operation.triplet = triplet;
    operation.at = started;
    operation.events = std::exchange(events_, 0);
    file_.line(recording::questionLine(operation, operationNames(triplet, {})));
    Answer answer;
    answer.returnCode = returnCode;
    answer.data = recording::presentableAnswer(triplet, record);
    answer.milliseconds = ended - started;
    end(operation, answer);
    if (event.TWMessage == MSG_XFERREADY && state_ == 5) state_ = 6;
    return returnCode;
}

Operation CallRecorder::begin(const Triplet& triplet, TW_MEMREF data) {
    Operation operation;
    operation.number = ++number_;
    operation.state = state_;
    operation.triplet = triplet;
    operation.at = now();
    operation.events = std::exchange(events_, 0);
    operation.question = recording::questionOf(triplet, data);
    noteFileName(triplet, data);
    file_.line(recording::questionLine(operation, operationNames(triplet, operation.question.data)));
    return operation;
}

void CallRecorder::end(const Operation& operation, const Answer& answer) {
    file_.line(recording::answerLine(operation.number, answer));
    state_ = recording::stateAfter(state_, operation.triplet, answer.returnCode, answer.data);
}

void CallRecorder::noteFileName(const Triplet& triplet, TW_MEMREF data) {
    if (triplet.group != DG_CONTROL || triplet.argumentType != DAT_SETUPFILEXFER) return;
    const Bytes record = bytesAt(data, sizeof(TW_SETUPFILEXFER));
    const auto* name = reinterpret_cast<const char*>(record.data());
    if (!record.empty()) fileName_.assign(name, strnlen(name, sizeof(TW_STR255)));
}

Answer CallRecorder::answerOf(const Triplet& triplet, TW_MEMREF data, TW_UINT16 returnCode,
                              const Before& before) {
    Answer answer;
    answer.returnCode = returnCode;
    // What stands in the record after a failure is the host's own, but for a source that doesn't open: who it
    // is comes from the manager.
    const bool opens = triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_OPENDS);
    if (returnCode == TWRC_FAILURE && !opens) return answer;
    if (recording::sourceWrites(triplet)) {
        const Bytes record = bytesAt(data, recording::recordSize(triplet));
        answer.data = recording::presentableAnswer(triplet, record);
        if (triplet.group == DG_CONTROL && triplet.argumentType == DAT_CAPABILITY)
            answer.block = recording::containerOf(record);
        if (triplet.message == MSG_GET) noteFileName(triplet, data);
    }
    if (recording::isTransfer(triplet) && returnCode != TWRC_CANCEL) {
        if (triplet.argumentType == DAT_IMAGEMEMXFER) addStrip(data, before, answer);
        if (triplet.argumentType == DAT_IMAGENATIVEXFER) {
            TW_UINT32 handle = 0;
            if (const Bytes bytes = bytesAt(data, sizeof handle); !bytes.empty())
                std::memcpy(&handle, bytes.data(), sizeof handle);
            answer.block = recording::globalBlock(reinterpret_cast<HGLOBAL>(static_cast<UINT_PTR>(handle)));
            Bytes dib = std::move(answer.block.bytes);
            answer.block.bytes.clear();
            dib.resize(dibBytes(dib));
            addBitmap(dib, dibHeaderBytes(dib), answer);
        }
        if (triplet.argumentType == DAT_IMAGEFILEXFER) {
            const Bytes file = wholeFile(fileName_);
            answer.block.kind = file.empty() ? BlockKind::None : BlockKind::Present;
            addBitmap(file, fileHeaderBytes(file), answer);
        }
    }
    const Bytes after = bytesAt(data, before.vendorRecord.size());
    const auto first = std::mismatch(after.begin(), after.end(), before.vendorRecord.begin()).first;
    if (first != after.end()) {
        const auto last = std::mismatch(after.rbegin(), after.rend(), before.vendorRecord.rbegin()).first;
        answer.change = {static_cast<std::uint32_t>(first - after.begin()), {first, last.base()}};
    }
    return answer;
}

void CallRecorder::addStrip(TW_MEMREF data, const Before& before, Answer& answer) {
    const TW_IMAGEMEMXFER strip = stripAt(data);
    const StripBuffer buffer(strip.Memory);
    // What was written, whatever the source says of it: as far as it tells, and as far as bytes have changed.
    std::size_t written = std::min(buffer.size(), before.strip.size());
    const std::size_t told = std::min<std::size_t>(written, strip.BytesWritten);
    while (written > told && buffer.bytes()[written - 1] == before.strip[written - 1])
        --written;
    answer.pixels = file_.pixels(buffer.bytes(), written);
}

void CallRecorder::addBitmap(const Bytes& bitmap, std::size_t headerBytes, Answer& answer) {
    if (answer.block.kind != BlockKind::Present) return;
    const auto pixels = bitmap.begin() + static_cast<std::ptrdiff_t>(headerBytes);
    answer.block.bytes.assign(bitmap.begin(), pixels);
    answer.pixels = file_.pixels(bitmap.data() + headerBytes, bitmap.size() - headerBytes);
}

void CallRecorder::notice(TW_UINT16 message) {
    file_.line(recording::noticeLine(running_.empty() ? 0 : running_.back(), {message, now(), false}));
    if (message == MSG_XFERREADY && state_ <= 5) state_ = 6;
}

}  // namespace record
