// Reading values out of texts.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vscan {

// Without blanks at both ends.
std::string trimmed(const std::string& text);
// Without regard to case.
bool sameText(const std::string& a, const std::string& b);
// The parts between the commas, trimmed; none for an empty text.
std::vector<std::string> listItems(const std::string& text);
// A whole number, decimal or 0x..., within the bounds; the whole text must be the number.
std::optional<int> wholeNumber(const std::string& text, long minimum, long maximum);
// A decimal number within the bounds.
std::optional<double> decimalNumber(const std::string& text, double minimum, double maximum);
// As short as it goes: "8.5", "17".
std::string showNumber(double value);

}  // namespace vscan
