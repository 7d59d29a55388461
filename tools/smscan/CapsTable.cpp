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

std::string plainText(const CapsValue& value) {
    if (const double* number = std::get_if<double>(&value)) return numberText(*number);
    if (const std::string* text = std::get_if<std::string>(&value)) return *text;
    return joined(std::get<std::vector<std::string>>(value));
}

std::string quoted(const std::string& text) {
    std::string result = "\"";
    // JSON escapes UTF-16, so the result is ASCII whatever the source's name holds.
    for (const wchar_t character : host::wide(text)) {
        if (character == L'"' || character == L'\\') result += '\\';
        if (character < 0x20 || character > 0x7e)
            result += format("\\u%04x", static_cast<unsigned>(character));
        else
            result += static_cast<char>(character);
    }
    return result + '"';
}

std::string jsonText(const CapsValue& value) {
    if (const double* number = std::get_if<double>(&value)) return numberText(*number);
    if (const std::string* text = std::get_if<std::string>(&value)) return quoted(*text);
    std::vector<std::string> words;
    for (const std::string& word : std::get<std::vector<std::string>>(value))
        words.push_back(quoted(word));
    return "[" + joined(words) + "]";
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
        text += plainText(field.value);
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
            line += plainText(row.fields[0].value) + " x " + plainText(row.fields[1].value) + " " + row.unit;
        else
            line += format("%-20s %s", (plainText(row.fields[0].value) + " " + row.unit).c_str(),
                           offered(row).c_str());
        text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
}

std::string capsAsJson(const std::string& source, const std::vector<CapsRow>& rows) {
    std::string text = "{\n  \"source\": " + quoted(source) + ",\n  \"capabilities\": {";
    const char* separator = "\n";
    for (const CapsRow& row : rows) {
        std::vector<std::string> fields;
        for (const CapsField& field : row.fields)
            fields.push_back(quoted(field.name) + ": " + jsonText(field.value));
        if (row.fields.empty())
            fields.push_back("\"problem\": " + quoted(row.problem));
        else if (!row.unit.empty())
            fields.push_back("\"unit\": " + quoted(row.unit));
        text += separator + format("    %s: {%s}", quoted(row.name).c_str(), joined(fields).c_str());
        separator = ",\n";
    }
    return text + "\n  }\n}\n";
}

}  // namespace smscan
