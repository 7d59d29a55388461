#pragma once

#include <string>

namespace host {

#ifdef __GNUC__
[[gnu::format(printf, 1, 2)]]
#endif
std::string
format(const char* pattern, ...);

// What Windows says about an error; about its last one.
std::string errorText(unsigned long error);
std::string lastErrorText();

// For words of ASCII letters, in whatever case they are written.
std::string lowered(std::string text);
bool sameWord(const std::string& one, const std::string& other);

// "1 page", "2 pages".
std::string counted(int count, const char* singular);

// "a, b, c"
template <class Container>
std::string joined(const Container& words) {
    std::string text;
    for (const auto& word : words) {
        if (!text.empty()) text += ", ";
        text += word;
    }
    return text;
}

}  // namespace host
