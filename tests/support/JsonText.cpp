#include "JsonText.h"

#include <cstdlib>
#include <stdexcept>

namespace {

class JsonReader {
public:
    explicit JsonReader(const std::string& text) : position_(text.c_str()) {}

    Lines read() {
        value("");
        if (next() != '\0') fail();
        return lines_;
    }

private:
    [[noreturn]] void fail() const { throw std::invalid_argument(position_); }

    char next() {
        while (*position_ == ' ' || *position_ == '\n')
            ++position_;
        return *position_;
    }

    bool take(char character) {
        if (next() != character) return false;
        ++position_;
        return true;
    }

    void require(char character) {
        if (!take(character)) fail();
    }

    std::string quoted() {
        require('"');
        std::string text;
        for (; *position_ != '"'; ++position_) {
            if (static_cast<unsigned char>(*position_) < ' ') fail();
            if (*position_ == '\\' && *++position_ != '"' && *position_ != '\\') fail();
            text += *position_;
        }
        ++position_;
        return text;
    }

    void value(const std::string& way) {
        const char first = next();
        if (first == '{' || first == '[') {
            list(way, first == '{', first == '{' ? '}' : ']');
        } else if (first == '"') {
            lines_.push_back(way + "=\"" + quoted() + "\"");
        } else {
            char* end = nullptr;
            std::strtod(position_, &end);
            if (end == position_) fail();
            lines_.push_back(way + "=" + std::string(position_, static_cast<const char*>(end)));
            position_ = end;
        }
    }

    void list(const std::string& way, bool named, char end) {
        ++position_;
        if (take(end)) return;
        int count = 0;
        do {
            const std::string name = named ? quoted() : std::to_string(count++);
            if (named) require(':');
            value(way.empty() ? name : way + "." + name);
        } while (take(','));
        require(end);
    }

    const char* position_;
    Lines lines_;
};

}  // namespace

Lines flattenedJson(const std::string& text) {
    return JsonReader(text).read();
}
