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
