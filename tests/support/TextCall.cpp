#include "TextCall.h"

#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <tuple>
#include <type_traits>

namespace {

// A number. What has no text, like a window or a record, is null.
template <class Type>
struct Argument {
    Type value{};

    void read(std::istream& words) {
        if constexpr (std::is_arithmetic_v<Type>) words >> value;
    }
    Type pass() { return value; }
    void show(std::ostream&) const {}
};

// What is behind an output has to stay.
template <class Value>
struct Output {
    Value values[2] = {777, 555};

    void read(std::istream& words) { words >> values[0]; }
    Value* pass() { return values; }
    void show(std::ostream& text) const {
        text << " " << values[0] << (values[1] == 555 ? "" : " and wrote past it");
    }
};
template <>
struct Argument<short*> : Output<short> {};
template <>
struct Argument<unsigned short*> : Output<unsigned short> {};
template <>
struct Argument<int*> : Output<int> {};
template <>
struct Argument<double*> : Output<double> {};

// Memory that a source or the module writes a text to.
struct TextBuffer {
    char text[40] = "before";

    void read(std::istream&) {}
    char* pass() { return text; }
    void show(std::ostream& out) const { out << " " << text; }
};
template <>
struct Argument<char*> : TextBuffer {};
template <>
struct Argument<void*> : TextBuffer {};

template <>
struct Argument<SmImageLayout> {
    SmImageLayout area{};

    void read(std::istream& words) { words >> area.Left >> area.Top >> area.Right >> area.Bottom; }
    SmImageLayout pass() { return area; }
    void show(std::ostream&) const {}
};

template <class Result, class... Types>
std::string call(Result(WINAPI* function)(Types...), std::istream& words) {
    std::tuple<Argument<Types>...> all;
    std::ostringstream result, outputs;
    outputs << std::setprecision(9);
    const auto callWith = [&](auto&... arguments) {
        (arguments.read(words), ...);
        if constexpr (std::is_void_v<Result>)
            function(arguments.pass()...);
        else
            result << "result " << function(arguments.pass()...) << "; ";
        (arguments.show(outputs), ...);
    };
    std::apply(callWith, all);
    return result.str() + (outputs.str().empty() ? "" : "value" + outputs.str());
}

}  // namespace

std::string callByText(const Module& module, const std::string& text) {
    std::istringstream words(text);
    std::string name;
    words >> name;
#define SM_FUNCTION(function, ordinal, bytes) \
    if (name == #function) return call(module.function, words);
#include "ModuleFunctions.inc"
#undef SM_FUNCTION
    throw std::invalid_argument("no function: " + name);
}
