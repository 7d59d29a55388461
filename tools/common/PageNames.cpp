#include "common/PageNames.h"

#include <windows.h>

#include "common/Failure.h"
#include "common/Text.h"
#include "common/TextEncoding.h"
#include "common/Wording.h"

namespace host {

namespace {

[[noreturn]] void refusePattern(const std::string& pattern) {
    throw Failure{
        FailureCode::Usage,
        format("%soutput \"%s\": only one %%d or %%0Nd for the page's number, and %%%% for a per cent "
               "sign, may stand there.",
               wording.option, pattern.c_str())};
}

}  // namespace

size_t extensionStart(const std::string& path) {
    const size_t dot = path.rfind('.');
    const size_t slash = path.find_last_of("/\\");
    const bool inName =
        dot != std::string::npos && (slash == std::string::npos || dot > slash + 1) && dot > 0;
    return inName ? dot : path.size();
}

PageNames::PageNames(const std::string& pattern, bool manyFiles) {
    std::string* part = &before_;
    for (size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != '%') {
            *part += pattern[i];
            continue;
        }
        if (++i < pattern.size() && pattern[i] == '%') {
            *part += '%';
            continue;
        }
        size_t digits = i;
        while (digits < pattern.size() && pattern[digits] >= '0' && pattern[digits] <= '9')
            ++digits;
        if (digits >= pattern.size() || pattern[digits] != 'd' || digits - i > 2 || numbered_)
            refusePattern(pattern);
        if (digits > i) {
            if (pattern[i] != '0') refusePattern(pattern);
            width_ = std::stoi(pattern.substr(i, digits - i));
        }
        numbered_ = true;
        part = &after_;
        i = digits;
    }
    if (before_.empty() && after_.empty() && !numbered_) refusePattern(pattern);
    if (!numbered_ && manyFiles) {
        const size_t extension = extensionStart(before_);
        after_ = before_.substr(extension);
        before_ = before_.substr(0, extension) + "-";
        width_ = 3;
        numbered_ = true;
        numberedByItself_ = true;
    }
}

std::string PageNames::pathOf(int page) const {
    return numbered_ ? before_ + format("%0*d", width_, page) + after_ : before_;
}

std::set<int> PageNames::numbersInUse() const {
    std::set<int> numbers;
    // With the number in a folder's name the files are in as many folders.
    if (!numbered_ || after_.find_first_of("/\\") != std::string::npos) return numbers;
    const size_t slash = before_.find_last_of("/\\:");
    const size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
    const std::wstring start = wide(before_.substr(nameStart)), end = wide(after_);
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW(wide(before_.substr(0, nameStart) + "*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return numbers;
    do {
        const std::wstring name = found.cFileName;
        constexpr size_t mostDigits = 9;
        const size_t digits = name.size() - start.size() - end.size();
        if (name.size() <= start.size() + end.size() || digits > mostDigits) continue;
        const std::wstring number = name.substr(start.size(), digits);
        const bool matches = lstrcmpiW(name.substr(0, start.size()).c_str(), start.c_str()) == 0 &&
                             lstrcmpiW(name.substr(start.size() + digits).c_str(), end.c_str()) == 0 &&
                             number.find_first_not_of(L"0123456789") == std::wstring::npos;
        if (matches) numbers.insert(std::stoi(number));
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return numbers;
}

}  // namespace host
