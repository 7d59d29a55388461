#include "TextCall.h"

#include <array>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <tuple>
#include <type_traits>

namespace {

// A number or an area, an output, or memory that a text is written to. What else there is, like a window, has
// no text and is null.
template <class Type>
struct Argument {
    using Value = std::remove_pointer_t<Type>;
    static constexpr bool isText = std::is_same_v<Type, char*> || std::is_same_v<Type, void*>;
    static constexpr bool isOutput =
        std::is_pointer_v<Type> && std::is_arithmetic_v<Value> && !std::is_const_v<Value> && !isText;
    using Memory = std::conditional_t<isText, std::array<char, 40>, std::array<Value, 2>>;
    std::conditional_t<isText || isOutput, Memory, Type> held{};

    void read(std::istream& words) {
        if constexpr (isText) held = {"before"};
        if constexpr (isOutput) words >> (held = {777, 555})[0];
        if constexpr (std::is_arithmetic_v<Type>) words >> held;
        if constexpr (std::is_same_v<Type, SmImageLayout>)
            words >> held.Left >> held.Top >> held.Right >> held.Bottom;
    }
    Type pass() {
        if constexpr (isText || isOutput)
            return held.data();
        else
            return held;
    }
    void show(std::ostream& text) const {
        if constexpr (isText) text << " " << held.data();
        // What is behind an output has to stay.
        if constexpr (isOutput) text << " " << held[0] << (held[1] == 555 ? "" : " and wrote past it");
    }
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
