#include "common/PageOutput.h"

#include <vector>

#include "common/Failure.h"
#include "common/ScanRequest.h"
#include "common/StdFile.h"
#include "common/Text.h"
#include "common/TextEncoding.h"
#include "common/Wording.h"
#include "pages/BmpReader.h"

namespace host {

namespace {

using pages::FileFormat;
using pages::FormatTraits;
using pages::WriteError;

[[noreturn]] void refuse(const std::string& text) {
    throw Failure{FailureCode::Usage, text};
}

std::string knownExtensions() {
    std::vector<std::string> words;
    for (const FormatTraits& traits : pages::fileFormats())
        words.push_back(traits.extensions);
    return joined(words);
}

const FormatTraits& chooseFormat(const OutputRequest& request) {
    if (request.format) return *request.format;
    const std::string extension = request.pattern.substr(extensionStart(request.pattern));
    // Without an extension, and on its way to another program, a page is a BMP file.
    if (extension.empty()) return *pages::findFormatByExtension(".bmp");
    const FormatTraits* const traits = pages::findFormatByExtension(extension);
    if (!traits)
        refuse(
            format("%soutput \"%s\": there is no file format \"%s\" here. There are %s; %sformat "
                   "writes one of them under any name.",
                   wording.option, request.pattern.c_str(), extension.c_str(), knownExtensions().c_str(),
                   wording.option));
    return *traits;
}

bool choosesOneFile(const OutputRequest& request, const FormatTraits& traits) {
    if (request.multipage && !traits.manyPages)
        refuse(format("%smultipage: a %s file holds one page. Choose tiff or pdf.", wording.option,
                      traits.name));
    // With a number in its name each page gets a file of its own.
    return request.multipage ||
           (traits.format == FileFormat::Pdf && !PageNames(request.pattern, false).numbered());
}

std::string temporaryFile() {
    wchar_t folder[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH + 1, folder);
    return utf8(folder) + format("smscan-%lu", GetCurrentProcessId());
}

void refuseFolder(const std::string& path) {
    const DWORD kind = GetFileAttributesW(wide(path).c_str());
    const bool isFolder = kind != INVALID_FILE_ATTRIBUTES && (kind & FILE_ATTRIBUTE_DIRECTORY);
    const bool endsAsFolder = path.back() == '/' || path.back() == '\\';
    if (isFolder || endsAsFolder) checkWritable(path, true);
}

// The page counts more than its resolution: where that can't be written, it is told as unknown.
bool putResolution(const UnfinishedFile& bmp, const DotsPerInch& dots) {
    if (dots.x <= 0 || dots.y <= 0) return true;
    try {
        pages::setBmpResolution(wide(bmp.name()), dots.x, dots.y);
        return true;
    } catch (const WriteError&) {
        return false;
    }
}

// Sources and their dialogs change the current folder, so the pattern is tied to the present one.
std::string absolutePattern(const std::string& pattern) {
    const bool isAbsolute = pattern[0] == '/' || pattern[0] == '\\' || pattern.find(':') == 1;
    if (isAbsolute) return fullPath(pattern);
    std::string folder;
    for (const char character : fullPath("."))
        folder += character == '%' ? "%%" : std::string(1, character);
    return fullPath(folder + "\\" + pattern);
}

void copyToStream(const UnfinishedFile& file, HANDLE stream) {
    const StdFile source = openFile(file.name(), L"rb");
    if (!source) failWrite(file.name(), lastErrorText());
    std::vector<char> buffer(1 << 16);
    size_t count = 0;
    while ((count = std::fread(buffer.data(), 1, buffer.size(), source.get())) > 0) {
        for (size_t done = 0; done < count;) {
            DWORD written = 0;
            const DWORD rest = static_cast<DWORD>(count - done);
            if (!WriteFile(stream, buffer.data() + done, rest, &written, nullptr) || written == 0)
                throw Failure{FailureCode::CannotWrite,
                              "Cannot write to the standard output: " + lastErrorText()};
            done += written;
        }
    }
}

}  // namespace

PageOutput::PageOutput(const OutputRequest& request, bool manyPages)
    : request_(request),
      format_(chooseFormat(request)),
      manyPages_(manyPages),
      multipage_(choosesOneFile(request, format_)),
      names_(request.pattern, manyPages && !multipage_ && !toStream()),
      files_(absolutePattern(request.pattern), manyPages && !multipage_ && !toStream()) {
    if (request.start && !names_.numbered())
        refuse(format("%sstart: there is no %%d for a number in %soutput \"%s\".", wording.option,
                      wording.option, request.pattern.c_str()));
    if (toStream() && manyPages && !multipage_)
        refuse(format("%soutput - takes one page, or all of them with %smultipage and %sformat tiff or pdf.",
                      wording.option, wording.option, wording.option));
}

PageOutput::~PageOutput() {
    try {
        finish();
    } catch (...) {
        // Whoever wanted to know has called finish().
    }
}

void PageOutput::prepare(int pages, ScanListener& listener) {
    if (toStream()) return;
    refuseFolder(PageNames(request_.pattern, false).pathOf(1));
    const std::set<int> inUse = request_.force ? std::set<int>() : names_.numbersInUse();
    firstNumber_ = request_.start.value_or(inUse.empty() ? 1 : *inUse.rbegin() + 1);
    // A later page would find its name taken.
    const auto taken = inUse.lower_bound(firstNumber_);
    const bool within =
        !multipage_ && taken != inUse.end() && (pages == allPages || *taken - firstNumber_ < pages);
    checkWritable(names_.pathOf(within ? *taken : firstNumber_), request_.force);
    if (names_.numberedByItself())
        listener.note(format("%soutput has no %%d, so pages are numbered: %s ...", wording.option,
                             names_.pathOf(firstNumber_).c_str()));
}

std::string PageOutput::nextPath() const {
    if (toStream()) return temporaryFile();
    return files_.pathOf(nextNumber());
}

std::string PageOutput::nextBmp() const {
    return bmpPathOf(nextPath());
}

std::string PageOutput::bmpPathOf(const std::string& path) const {
    return format_.format == FileFormat::Bmp ? path : path.substr(0, extensionStart(path)) + ".bmp";
}

ScannedPage PageOutput::add(UnfinishedFile& bmp, const BmpFacts& facts, const DotsPerInch& givenDots) {
    DotsPerInch dots = givenDots;
    const std::string path = toStream() ? "-" : names_.pathOf(nextNumber());
    try {
        if (format_.format == FileFormat::Bmp) {
            if (!putResolution(bmp, dots)) dots = {0, 0};
            deliver(bmp);
        } else if (multipage_) {
            addToCommonFile(bmp, dots);
        } else {
            addToOwnFile(bmp, dots);
        }
    } catch (const WriteError& error) {
        fail(error, bmp);
    }
    ++pages_;
    return {path, facts, dots, multipage_ && manyPages_ ? pages_ : 0};
}

void PageOutput::addToOwnFile(const UnfinishedFile& bmp, const DotsPerInch& dots) {
    UnfinishedFile file(nextPath());
    const auto writer = pages::makePageWriter(format_.format, wide(file.name()), request_.settings);
    pages::copyPage(wide(bmp.name()), dots.x, dots.y, *writer);
    writer->close();
    deliver(file);
}

void PageOutput::addToCommonFile(const UnfinishedFile& bmp, const DotsPerInch& dots) {
    if (!commonWriter_) {
        commonFile_.emplace(nextPath());
        commonWriter_ = pages::makePageWriter(format_.format, wide(commonFile_->name()), request_.settings);
    }
    try {
        pages::copyPage(wide(bmp.name()), dots.x, dots.y, *commonWriter_);
    } catch (const WriteError&) {
        commonWriter_->drop();
        throw;
    }
    if (!toStream()) commonFile_->keepAtForcedEnd(request_.force);
}

void PageOutput::finish() {
    if (!commonWriter_) return;
    const auto writer = std::move(commonWriter_);
    std::optional<WriteError> failure;
    try {
        writer->close();
    } catch (const WriteError& error) {
        failure = error;
    }
    // Each page completed the file, so those are there whatever failed later.
    if (pages_ > 0) deliver(*commonFile_);
    commonFile_.reset();
    if (failure) failWrite(names_.pathOf(firstNumber_), errorText(failure->windowsError));
}

void PageOutput::deliver(UnfinishedFile& file) {
    if (toStream())
        copyToStream(file, request_.stream);
    else
        file.keep(request_.force);
}

// What a format can't hold isn't lost.
void PageOutput::fail(const WriteError& error, UnfinishedFile& bmp) {
    const std::string path = names_.pathOf(nextNumber());
    if (error.windowsError != 0) failWrite(path, errorText(error.windowsError));
    if (toStream()) failWrite(path, error.text);
    bmp.keep(false);
    failWrite(path, error.text + " It is kept as \"" + bmpPathOf(path) + "\".");
}

}  // namespace host
