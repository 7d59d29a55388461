#pragma once

#include <cstddef>
#include <string_view>

namespace smtrace {

enum class Level { Trace, Warning, Fatal, Other };
constexpr size_t levelCount = 4;
constexpr const wchar_t* levelNames[levelCount] = {L"Trace", L"Warning", L"Fatal", L""};

// What a line means for the nesting of calls.
enum class Kind {
    Text,
    Call,       // "Coming <method>"
    Return,     // "Leaving <method>"
    Separator,  // four blanks: the module sends some before each call from the host
    Start,      // the banner of a module that has just been loaded
};

// A line as the module sends it: "Trace sm/session/Session.cpp 85: [SM] Coming TScanModule::OpenDS". All
// parts are views of the line itself.
struct TraceLine {
    Level level = Level::Other;
    Kind kind = Kind::Text;
    std::string_view place;   // "sm/session/Session.cpp 85"
    std::string_view text;    // what follows "[SM] "; the whole line if it has another form
    std::string_view method;  // of a call or a return
};

TraceLine parseLine(std::string_view raw);

}  // namespace smtrace
