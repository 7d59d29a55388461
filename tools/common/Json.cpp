#include "common/Json.h"

#include <cmath>

#include "common/Text.h"

namespace host {

namespace {

// Whole numbers without ".0", as whoever reads them would write them.
Json toJson(double number) {
    if (std::floor(number) == number && std::fabs(number) < 1e15) return static_cast<int64_t>(number);
    constexpr double digits = 1e4;  // a source's numbers, in 1/65536, have no more
    return std::round(number * digits) / digits;
}

Json toJson(bool on) {
    return on;
}

Json toJson(const std::string& text) {
    return text;
}

template <class Item>
Json toJson(const std::vector<Item>& items) {
    Json list = Json::array();
    for (const Item& item : items)
        list.push_back(toJson(item));
    return list;
}

}  // namespace

Json sourceJson(int number, const std::string& name, bool isDefault) {
    return {{"number", number}, {"source", name}, {"default", isDefault}};
}

Json capsJson(const std::string& source, const std::vector<CapsRow>& rows) {
    Json capabilities = Json::object();
    for (const CapsRow& row : rows) {
        Json& fields = capabilities[row.name] = Json::object();
        for (const CapsField& field : row.fields)
            fields[field.name] = std::visit([](const auto& value) { return toJson(value); }, field.value);
        if (row.fields.empty())
            fields["problem"] = row.problem;
        else if (!row.unit.empty())
            fields["unit"] = row.unit;
    }
    return {{"source", source}, {"capabilities", std::move(capabilities)}};
}

Json pageJson(const ScannedPage& page) {
    return {{"file", page.path},           {"width", page.facts.width},
            {"height", page.facts.height}, {"bitsPerPixel", page.facts.bits},
            {"xResolution", page.dots.x},  {"yResolution", page.dots.y}};
}

std::string jsonLine(const Json& json) {
    constexpr int oneLine = -1;
    return json.dump(oneLine, ' ', false, Json::error_handler_t::replace);
}

}  // namespace host
