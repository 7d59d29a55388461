#pragma once

#include <string>

namespace host {

// How the program around this library names itself and what its user can set, for texts. Each program defines
// its own `wording`.
struct Wording {
    const char* program;    // to the manager, the user and Windows
    const char* option;     // what stands before the name of an option
    const char* set;        // what stands before the name of one of the source's switches
    const char* oneShot;    // the option of the one-shot scan
    const char* seeOffers;  // a sentence: where the user learns what the source offers
};
extern const Wording wording;

inline std::string optionName(const char* name) {
    return std::string(wording.option) + name;
}

}  // namespace host
