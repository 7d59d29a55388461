#include "common/PageReceiver.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>

#include "common/Conditions.h"
#include "common/DibWriter.h"
#include "common/PagePuller.h"
#include "common/Text.h"
#include "common/Wording.h"

namespace host {

namespace {

// The module reads the path as a wsprintf format.
std::string escapedForModule(const std::string& path) {
    std::string text;
    for (const char character : path)
        text += character == '%' ? "%%" : std::string(1, character);
    return text;
}

}  // namespace

PageReceiver::PageReceiver(const ModuleLibrary& module, const ScanRequest& request, PageOutput& output,
                           HostWindow& window, ScanListener& listener)
    : module_(module), request_(request), output_(output), window_(window), listener_(listener) {
    window.on(SM_MESSAGE_XFERSTART, [this](WPARAM, LPARAM info) {
        guarded([&] { onStart(*reinterpret_cast<TXferImageInfo*>(info)); });
    });
    window.on(SM_MESSAGE_XFERDATA, [this](WPARAM, LPARAM strip) {
        guarded([&] { onStrip(*reinterpret_cast<const TXferStripInfo*>(strip)); });
    });
    window.on(SM_MESSAGE_XFEREND, [this](WPARAM result, LPARAM info) {
        guarded([&] { onEnd(static_cast<int>(result), *reinterpret_cast<const TXferImageInfo*>(info)); });
    });
    window.on(SM_MESSAGE_CLOSEDSREQ, [this](WPARAM, LPARAM) { window_.finish(); });
}

template <class Step>
void PageReceiver::guarded(Step step) {
    try {
        step();
    } catch (const Failure& failure) {
        giveUp(failure);
    } catch (const std::exception&) {
        giveUp(outOfMemory());
    }
}

void PageReceiver::giveUp(const Failure& failure) {
    listener_.progressOver();
    dropPage();
    const int page = pages_ + 1;
    window_.keepFailure(
        {failure.code, format("Page %d: %s", page, failure.text.c_str()), failure.condition, page});
    expectCancel_ = true;
    module_.smCancelAllXfer();
    window_.finish();
}

void PageReceiver::onStart(TXferImageInfo& info) {
    const bool enough = request_.pages != allPages && pages_ >= request_.pages;
    expectCancel_ = window_.cancelRequested() || enough || window_.failure();
    if (expectCancel_) {
        module_.smCancelAllXfer();
        return;
    }
    noteArea(info);
    start(info);
}

void PageReceiver::start(TXferImageInfo& info) {
    if (request_.mechanism == Mechanism::Block) {
        pullPages(info);
        expectCancel_ = true;
        module_.smCancelAllXfer();
        return;
    }
    listener_.pageStarts(pages_ + 1, info.ImageWidth, info.ImageLength);
    file_.emplace(output_.nextBmp());
    if (info.XferMech == SM_MECH_NATIVE) {
        dib_ = nullptr;
        info.Target.Dib = &dib_;
    } else if (info.XferMech == SM_MECH_FILE) {
        const std::string name = escapedForModule(file_->ansiName());
        if (name.size() >= SM_FILE_NAME_SIZE)
            throw Failure{FailureCode::CannotWrite,
                          format("The path \"%s\" is too long for a source that writes the file itself (255 "
                                 "characters). Choose a shorter %soutput.",
                                 file_->name().c_str(), wording.option)};
        std::memcpy(info.Target.FileName, name.c_str(), name.size() + 1);
    } else {
        const PageImage image = planImage(module_, info);
        writer_.emplace(file_->name(), image.format, info.ImageLength, image.layout);
        listener_.pageBegins(image, info.ImageLength);
        listener_.progress(pages_ + 1, 0, info.ImageLength);
    }
}

void PageReceiver::onStrip(const TXferStripInfo& strip) {
    if (window_.cancelRequested()) module_.smCancelAllXfer();
    if (!writer_ || window_.cancelRequested()) return;
    const SmBufferDescriptor& buffer = *strip.Buffer;
    const size_t bytes = std::min(buffer.BufferSize, strip.BytesWritten);
    const Strip delivered = {static_cast<const uint8_t*>(buffer.BufferPointer),
                             bytes,
                             strip.BytesPerRow,
                             strip.Columns,
                             strip.Rows,
                             strip.XOffset,
                             strip.YOffset};
    writer_->add(delivered);
    listener_.stripComes(writer_->usable(delivered), writer_->plane());
    const int height = writer_->announcedHeight();
    const int done = writer_->plane() * height + writer_->rows();
    listener_.progress(pages_ + 1, done, height < 0 ? height : height * writer_->planes());
}

void PageReceiver::onEnd(int result, const TXferImageInfo& info) {
    listener_.progressOver();
    const bool cancelled = expectCancel_ || window_.cancelRequested();
    if (result == SM_XFEREND_DONE && file_) {
        finishPage(info);
        return;
    }
    dropPage();
    if (cancelled) {
        module_.smCancelAllXfer();
        if (!request_.ui || window_.cancelRequested()) window_.finish();
        return;
    }
    failTransfer(result);
}

void PageReceiver::failTransfer(int result) const {
    if (result == SM_XFEREND_CANCELLED_BY_SOURCE)
        throw Failure{FailureCode::Cancelled, "cancelled at the source."};
    throw Failure{failureCodeOf(result), conditionSentence(result), result};
}

void PageReceiver::finishPage(const TXferImageInfo& info) {
    BmpFacts facts{};
    if (writer_) {
        facts = finishStrips();
    } else {
        facts = info.XferMech == SM_MECH_NATIVE ? finishDib(info) : readBmpFacts(file_->name());
        compareLines(facts.height, info.ImageLength, facts.height >= info.ImageLength);
    }
    reportPage(facts, resolutionOf(module_, info));
}

BmpFacts PageReceiver::finishStrips() {
    if (writer_->rows() == 0)
        throw Failure{FailureCode::SourceError,
                      "the source says that the page is done, but delivered nothing of it."};
    compareLines(writer_->rows(), writer_->announcedHeight(), writer_->complete());
    const BmpFacts facts = writer_->finish();
    writer_.reset();
    return facts;
}

void PageReceiver::compareLines(int lines, int announced, bool complete) {
    if (!complete)
        incomplete_ += format("Page %d ended early, at line %d of %d; it is kept as far as it came. ",
                              pages_ + 1, lines, announced);
    else if (announced >= 0 && lines > announced)
        listener_.note(format("page %d has %d lines, though the source announced %d; all are kept.",
                              pages_ + 1, lines, announced));
}

BmpFacts PageReceiver::finishDib(const TXferImageInfo& info) {
    struct DibOwner {
        HGLOBAL handle;
        const void* bits;
        ~DibOwner() {
            GlobalUnlock(handle);
            GlobalFree(handle);
        }
    };
    if (!dib_) throw Failure{FailureCode::SourceError, "the source failed and gave no reason."};
    const DibOwner dib{dib_, GlobalLock(dib_)};
    dib_ = nullptr;
    const DotsPerInch dots = resolutionOf(module_, info);
    return writeDib(file_->name(), dib.bits, GlobalSize(dib.handle), dots.x, dots.y);
}

void PageReceiver::reportPage(const BmpFacts& facts, const DotsPerInch& dots) {
    const ScannedPage page = output_.add(*file_, facts, dots);
    ++pages_;
    file_.reset();
    window_.touch();
    listener_.pageDone(page);
    if (pages_ == request_.pages) window_.finish();
}

void PageReceiver::dropPage() {
    writer_.reset();
    file_.reset();
    if (dib_) GlobalFree(dib_);
    dib_ = nullptr;
}

void PageReceiver::noteArea(const TXferImageInfo& info) {
    if (areaNoted_ || !request_.area || request_.ui) return;
    areaNoted_ = true;
    const DotsPerInch dots = resolutionOf(module_, info);
    const Area& area = *request_.area;
    const long width = std::lround((area.right - area.left) * dots.x);
    const long height = std::lround((area.bottom - area.top) * dots.y);
    // Sources round to bytes, to steps of their motor, and so on.
    constexpr long tolerance = 16;
    const bool widthDiffers = std::labs(width - info.ImageWidth) > tolerance;
    const bool heightDiffers = info.ImageLength >= 0 && std::labs(height - info.ImageLength) > tolerance;
    if (widthDiffers || heightDiffers)
        listener_.note(format("%sarea asks for %ld x %ld pixels, the source made it %d x %d.", wording.option,
                              width, height, info.ImageWidth, info.ImageLength));
}

void PageReceiver::pullPages(const TXferImageInfo& info) {
    int width = info.ImageWidth;
    int height = info.ImageLength;
    const DotsPerInch dots = resolutionOf(module_, info);
    while (width != 0 && (request_.pages == allPages || pages_ < request_.pages) &&
           !window_.cancelRequested()) {
        file_.emplace(output_.nextBmp());
        PageImage image = planImage(module_, info);
        image.format.width = width;
        const int page = pages_ + 1;
        listener_.pageStarts(page, width, height);
        const auto writer =
            pullPage(module_, window_, image, info.BitsPerPixel, height, file_->name(), [&](int rows) {
                window_.touch();
                listener_.progress(page, rows, height);
            });
        listener_.progressOver();
        if (window_.cancelRequested()) break;
        compareLines(writer->rows(), writer->announcedHeight(), writer->complete());
        reportPage(writer->finish(), dots);
        module_.smGetImageDim(&width, &height);
    }
    dropPage();
}

}  // namespace host
