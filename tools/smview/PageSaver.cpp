#include "smview/PageSaver.h"

#include <commdlg.h>

#include <iterator>
#include <memory>

#include "common/Failure.h"
#include "common/PageFiles.h"
#include "common/Text.h"
#include "pages/BmpReader.h"
#include "pages/PageWriter.h"
#include "windows/WideText.h"

namespace smview {

using host::Failure;
using host::FailureCode;

namespace {

// "PNG (*.png)", "*.png": pairs, each ended by a zero, as the dialog takes them.
std::wstring filters() {
    std::wstring text;
    for (const pages::FormatTraits& format : pages::fileFormats()) {
        std::wstring patterns;
        for (const wchar_t letter : gui::fromUtf8(format.extensions))
            patterns += letter == L'.' ? L"*." : letter == L' ' ? L";" : std::wstring(1, letter);
        text += gui::fromUtf8(format.name) + L" (" + patterns + L")" + L'\0' + patterns + L'\0';
    }
    return text;
}

// "page.png" and 2: "page-002.png".
std::wstring numbered(const std::wstring& path, size_t dot, size_t number) {
    wchar_t digits[16];
    std::swprintf(digits, std::size(digits), L"-%03u", static_cast<unsigned>(number));
    return path.substr(0, dot) + digits + path.substr(dot);
}

void saveFile(const PageList::Page* first, const PageList::Page* last, const std::wstring& path,
              pages::FileFormat format) {
    host::UnfinishedFile file(host::fullPath(gui::utf8(path)));
    const std::wstring unfinished = gui::fromUtf8(file.name());
    try {
        if (format == pages::FileFormat::Bmp) {
            if (!CopyFileW(first->path.c_str(), unfinished.c_str(), FALSE))
                host::failWrite(gui::utf8(path), host::lastErrorText());
        } else {
            const std::unique_ptr<pages::PageWriter> writer = pages::makePageWriter(format, unfinished, {});
            for (const PageList::Page* page = first; page != last; ++page)
                pages::copyPage(page->path, page->dots.x, page->dots.y, *writer);
            writer->close();
        }
    } catch (const pages::WriteError& error) {
        host::failWrite(gui::utf8(path),
                        error.windowsError != 0 ? host::errorText(error.windowsError) : error.text);
    }
    file.keep(true);  // the person has said so
}

// As the dialog counts; 1 if this build doesn't write it.
DWORD indexOf(pages::FileFormat format) {
    const auto& formats = pages::fileFormats();
    for (DWORD i = 0; i < formats.size(); ++i)
        if (formats[i].format == format) return i + 1;
    return 1;
}

}  // namespace

std::wstring askForName(HWND owner, bool severalPages) {
    const std::wstring list = filters();
    wchar_t path[MAX_PATH] = L"page";
    OPENFILENAMEW dialog = {};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = owner;
    dialog.lpstrFilter = list.c_str();
    dialog.lpstrFile = path;
    dialog.nMaxFile = static_cast<DWORD>(std::size(path));
    if (severalPages) dialog.nFilterIndex = indexOf(pages::FileFormat::Pdf);
    dialog.lpstrTitle = severalPages ? L"Save the pages as" : L"Save the page as";
    dialog.Flags = OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST | OFN_NOCHANGEDIR | OFN_HIDEREADONLY;
    if (!GetSaveFileNameW(&dialog)) return L"";
    std::wstring name = path;
    // The chosen format's own, unless the person has typed another.
    const auto& formats = pages::fileFormats();
    if (dialog.nFileExtension == 0 && dialog.nFilterIndex >= 1 && dialog.nFilterIndex <= formats.size()) {
        const std::string extensions = formats[dialog.nFilterIndex - 1].extensions;
        name += gui::fromUtf8(extensions.substr(0, extensions.find(' ')));
        // The dialog has asked about the name as it was typed.
        const std::wstring question = name + L" exists already. Replace it?";
        if (host::fileExists(gui::utf8(name)) &&
            MessageBoxW(owner, question.c_str(), L"Save as", MB_YESNO | MB_ICONWARNING) != IDYES)
            return L"";
    }
    return name;
}

std::string savePages(const std::vector<PageList::Page>& pages, const std::wstring& path) {
    const size_t dot = path.find_last_of(L".\\/");
    const bool hasExtension = dot != std::wstring::npos && path[dot] == L'.';
    const pages::FormatTraits* const format =
        hasExtension ? pages::findFormatByExtension(gui::utf8(path.substr(dot))) : nullptr;
    if (format == nullptr) {
        std::string known;
        for (const pages::FormatTraits& each : pages::fileFormats())
            known += std::string(" ") + each.extensions;
        throw Failure{FailureCode::Usage, "The name must end in one of" + known + "."};
    }
    const PageList::Page* const first = pages.data();
    if (pages.size() == 1 || format->manyPages) {
        saveFile(first, first + pages.size(), path, format->format);
        return "Saved as " + gui::utf8(path);
    }
    // Nobody was asked about names with a number.
    for (size_t i = 0; i < pages.size(); ++i)
        if (const std::string name = gui::utf8(numbered(path, dot, i + 1)); host::fileExists(name))
            host::failWrite(name, "the file is there already. Choose another name.");
    for (size_t i = 0; i < pages.size(); ++i)
        saveFile(first + i, first + i + 1, numbered(path, dot, i + 1), format->format);
    return host::format("%u files saved, the first as ", static_cast<unsigned>(pages.size())) +
           gui::utf8(numbered(path, dot, 1));
}

}  // namespace smview
