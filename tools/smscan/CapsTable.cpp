#include "smscan/CapsTable.h"

#include <cmath>

#include "common/Text.h"
#include "common/TextEncoding.h"

namespace smscan {

using host::CapsField;
using host::CapsRow;
using host::CapsValue;
using host::format;
using host::joined;

namespace {

std::string numberText(double number) {
    return std::floor(number) == number ? format("%.0f", number) : format("%.6g", number);
}

std::string plainText(double number) {
    return numberText(number);
}

std::string plainText(bool on) {
    return on ? "on" : "off";
}

std::string plainText(const std::string& text) {
    return text;
}

std::string plainText(const std::vector<std::string>& words) {
    return joined(words);
}

std::string plainText(const std::vector<double>& numbers) {
    std::vector<std::string> words;
    for (const double number : numbers)
        words.push_back(numberText(number));
    return joined(words);
}

std::string valueText(const CapsValue& value) {
    return std::visit([](const auto& known) { return plainText(known); }, value);
}

// "50 to 1200", "bw, gray, color": what the source offers beside the present value.
std::string offered(const CapsRow& row) {
    std::string text;
    for (size_t i = 1; i < row.fields.size(); ++i) {
        const CapsField& field = row.fields[i];
        if (field.name == "max")
            text += " to ";
        else if (i > 1)
            text += ", ";
        if (field.name != "min" && field.name != "max" && field.name != "choices") text += field.name + " ";
        text += valueText(field.value);
    }
    return text;
}

}  // namespace

std::string capsAsTable(const std::string& source, const std::vector<CapsRow>& rows) {
    std::string text = source + "\n";
    for (const CapsRow& row : rows) {
        std::string line = format("  %-18s ", row.name.c_str());
        if (row.fields.empty())
            line += "-  " + row.problem;
        else if (row.fields[0].name == "width")
            line += valueText(row.fields[0].value) + " x " + valueText(row.fields[1].value) + " " + row.unit;
        else
            line += format("%-20s %s", (valueText(row.fields[0].value) + " " + row.unit).c_str(),
                           offered(row).c_str());
        text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
}

}  // namespace smscan
