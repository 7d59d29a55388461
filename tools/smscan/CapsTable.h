#pragma once

#include <string>
#include <variant>
#include <vector>

namespace smscan {

// One fact about a source: a number, a text, or a list of words.
using CapsValue = std::variant<double, std::string, std::vector<std::string>>;

// One line of --caps. The first field is the present value; the others ("min", "max", "choices") are what the
// source offers. A row without fields says in `problem` why.
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

std::string capsAsTable(const std::string& source, const std::vector<CapsRow>& rows);
std::string capsAsJson(const std::string& source, const std::vector<CapsRow>& rows);

}  // namespace smscan
