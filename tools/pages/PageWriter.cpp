#include "pages/PageWriter.h"

#include <sstream>

#include "pages/JpegWriter.h"
#ifdef PAGES_WITH_ZLIB
#include "pages/PdfWriter.h"
#include "pages/PngWriter.h"
#include "pages/TiffWriter.h"
#endif

namespace pages {

namespace {

std::string lowered(std::string text) {
    for (char& character : text)
        if (character >= 'A' && character <= 'Z') character = static_cast<char>(character + ('a' - 'A'));
    return text;
}

bool hasWord(const char* list, const std::string& wanted) {
    std::istringstream words(list);
    for (std::string word; words >> word;)
        if (word == wanted) return true;
    return false;
}

}  // namespace

const std::vector<FormatTraits>& fileFormats() {
    static const std::vector<FormatTraits> formats = {
        {FileFormat::Bmp, "bmp", ".bmp .dib", false},
#ifdef PAGES_WITH_ZLIB
        {FileFormat::Png, "png", ".png", false},         {FileFormat::Tiff, "tiff", ".tif .tiff", true},
#endif
        {FileFormat::Jpeg, "jpeg", ".jpg .jpeg", false},
#ifdef PAGES_WITH_ZLIB
        {FileFormat::Pdf, "pdf", ".pdf", true},
#endif
    };
    return formats;
}

const FormatTraits* findFormatByExtension(const std::string& extension) {
    for (const FormatTraits& traits : fileFormats())
        if (hasWord(traits.extensions, lowered(extension))) return &traits;
    return nullptr;
}

const FormatTraits* findFormatByName(const std::string& name) {
    return findFormatByExtension("." + name);
}

std::unique_ptr<PageWriter> makePageWriter(FileFormat format, const std::wstring& path,
                                           const WriterSettings& settings) {
    switch (format) {
#ifdef PAGES_WITH_ZLIB
        case FileFormat::Png:
            return std::make_unique<PngWriter>(path);
        case FileFormat::Tiff:
            return std::make_unique<TiffWriter>(path);
        case FileFormat::Pdf:
            return std::make_unique<PdfWriter>(path, settings);
#endif
        case FileFormat::Jpeg:
            return std::make_unique<JpegWriter>(path, settings.quality);
        default:
            throw WriteError{0, "this build doesn't write that format."};
    }
}

}  // namespace pages
