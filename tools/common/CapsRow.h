#pragma once

#include <string>
#include <variant>
#include <vector>

namespace host {

// One fact about a source: a number, a switch, a text, or a list of words or numbers.
using CapsValue = std::variant<double, bool, std::string, std::vector<std::string>, std::vector<double>>;

// One thing that a source tells of itself. The first field is the present value; the others ("min", "max",
// "choices") are what the source offers. A row without fields says in `problem` why.
struct CapsField {
    std::string name;
    CapsValue value;
};

struct CapsRow {
    std::string name;
    std::vector<CapsField> fields;
    std::string problem;
    std::string unit;
};

}  // namespace host
