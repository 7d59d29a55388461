#include "smview/ScanForm.h"

#include <algorithm>
#include <cmath>

#include "common/Failure.h"
#include "common/Text.h"
#include "smview/Resources.h"
#include "windows/Controls.h"
#include "windows/WideText.h"

namespace smview {

using host::Failure;
using host::FailureCode;
using host::format;

namespace {

constexpr double millimetresPerInch = 25.4;

// A control, the setting that its text is for, and the row of the source's answers that it begins with.
struct Field {
    int control;
    const char* setting;
    const char* row;
};
constexpr Field fields[] = {
    {IDC_MODE, "mode", "mode"},
    {IDC_RESOLUTION, "resolution", "x-resolution"},
    {IDC_PAPER, "paper", "paper"},
    {IDC_BRIGHTNESS, "brightness", "brightness"},
    {IDC_CONTRAST, "contrast", "contrast"},
    {IDC_HIGHLIGHT, "highlight", "highlight"},
    {IDC_SHADOW, "shadow", "shadow"},
    {IDC_GAMMA, "gamma", "gamma"},
    {IDC_THRESHOLD, "threshold", "threshold"},
    {IDC_PAGES, "pages", nullptr},
};
constexpr int areaControls[] = {IDC_LEFT, IDC_TOP, IDC_WIDTH, IDC_HEIGHT};
constexpr int usualResolutions[] = {75, 100, 150, 200, 300, 400, 600, 1200};

const host::CapsRow* rowOf(const std::vector<host::CapsRow>& caps, const char* name) {
    const auto found =
        std::find_if(caps.begin(), caps.end(), [&](const host::CapsRow& row) { return row.name == name; });
    return found == caps.end() ? nullptr : &*found;
}

template <class Value>
const Value* valueOf(const host::CapsRow& row, const char* field) {
    for (const host::CapsField& each : row.fields)
        if (each.name == field) return std::get_if<Value>(&each.value);
    return nullptr;
}

std::string currentText(const host::CapsRow& row) {
    if (const auto* const text = valueOf<std::string>(row, "current")) return *text;
    const auto* const number = valueOf<double>(row, "current");
    return number != nullptr ? format("%g", *number) : std::string();
}

std::vector<std::string> choicesOf(const host::CapsRow& row) {
    if (const auto* const words = valueOf<std::vector<std::string>>(row, "choices")) return *words;
    std::vector<std::string> list;
    if (const auto* const numbers = valueOf<std::vector<double>>(row, "choices"))
        for (const double number : *numbers)
            list.push_back(format("%g", number));
    const auto* const lowest = valueOf<double>(row, "min");
    const auto* const highest = valueOf<double>(row, "max");
    if (list.empty() && lowest != nullptr && highest != nullptr)
        for (const int usual : usualResolutions)
            if (usual >= *lowest && usual <= *highest) list.push_back(std::to_string(usual));
    return list;
}

}  // namespace

std::string ScanForm::text(int control) const {
    return gui::utf8(gui::textOf(GetDlgItem(dialog_, control)));
}

void ScanForm::setText(int control, const std::string& text) const {
    SetDlgItemTextW(dialog_, control, gui::fromUtf8(text).c_str());
}

void ScanForm::fillList(int control, const std::vector<std::string>& words, const std::string& chosen) const {
    const HWND list = GetDlgItem(dialog_, control);
    SendMessageW(list, CB_RESETCONTENT, 0, 0);
    for (const std::string& word : words)
        SendMessageW(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(gui::fromUtf8(word).c_str()));
    const auto at = std::find(words.begin(), words.end(), chosen);
    SendMessageW(list, CB_SETCURSEL, at == words.end() ? -1 : at - words.begin(), 0);
}

void ScanForm::fill(const std::vector<host::CapsRow>& caps) {
    missing_.clear();
    for (const Field& field : fields) {
        if (field.row == nullptr) continue;
        const host::CapsRow* const row = rowOf(caps, field.row);
        const std::string current = row != nullptr ? currentText(*row) : std::string();
        const bool isList =
            field.control == IDC_MODE || field.control == IDC_PAPER || field.control == IDC_RESOLUTION;
        if (isList)
            fillList(field.control, row != nullptr ? choicesOf(*row) : std::vector<std::string>(), current);
        if (!isList || field.control == IDC_RESOLUTION) setText(field.control, current);
        // What a source doesn't tell of, it mostly doesn't take.
        if (row == nullptr || row->fields.empty()) missing_.push_back(field.control);
    }
    glass_.reset();
    if (const host::CapsRow* const row = rowOf(caps, "max-area")) {
        const auto* const width = valueOf<double>(*row, "width");
        const auto* const height = valueOf<double>(*row, "height");
        if (width != nullptr && height != nullptr && *width > 0 && *height > 0)
            glass_ = host::Area{0, 0, *width, *height};
    }
    const auto isOn = [&](const char* name) {
        const host::CapsRow* const row = rowOf(caps, name);
        const bool* const on = row != nullptr ? valueOf<bool>(*row, "current") : nullptr;
        return on != nullptr && *on;
    };
    if (!isOn("feeder-available")) missing_.push_back(IDC_FEEDER);
    CheckDlgButton(dialog_, IDC_FEEDER, isOn("feeder") ? BST_CHECKED : BST_UNCHECKED);
    if (text(IDC_PAGES).empty()) setText(IDC_PAGES, "1");
    showArea(std::nullopt);
    enable();
}

void ScanForm::enable() const {
    for (const int control : missing_)
        EnableWindow(GetDlgItem(dialog_, control), FALSE);
}

void ScanForm::showArea(const std::optional<host::Area>& area) {
    const host::Area shown = area.value_or(host::Area{});
    const double values[] = {shown.left, shown.top, shown.right - shown.left, shown.bottom - shown.top};
    for (size_t i = 0; i < std::size(areaControls); ++i)
        setText(areaControls[i], area ? format("%.1f", values[i] * millimetresPerInch) : "");
}

std::optional<host::Area> ScanForm::area() const {
    double values[std::size(areaControls)];
    size_t given = 0;
    for (size_t i = 0; i < std::size(areaControls); ++i) {
        const std::string value = text(areaControls[i]);
        char* end = nullptr;
        values[i] = std::strtod(value.c_str(), &end) / millimetresPerInch;
        if (value.empty()) continue;
        if (*end != '\0' || !std::isfinite(values[i]) || values[i] < 0)
            throw Failure{FailureCode::Usage, "\"" + value + "\" is no number of millimetres for an area."};
        ++given;
    }
    if (given == 0) return std::nullopt;
    if (given != std::size(areaControls) || values[2] <= 0 || values[3] <= 0)
        throw Failure{FailureCode::Usage,
                      "An area needs left, top, and a width and height above 0; or nothing."};
    return host::Area{values[0], values[1], values[0] + values[2], values[1] + values[3]};
}

host::ScanRequest ScanForm::request() const {
    host::ScanRequest request;
    request.area = area();
    for (const Field& field : fields) {
        const std::string value = text(field.control);
        // An area stands for the paper.
        const bool excluded = field.control == IDC_PAPER && request.area;
        if (value.empty() || excluded || !IsWindowEnabled(GetDlgItem(dialog_, field.control))) continue;
        host::setRequestValue(request, field.setting, value);
    }
    if (IsWindowEnabled(GetDlgItem(dialog_, IDC_FEEDER)))
        request.feeder = IsDlgButtonChecked(dialog_, IDC_FEEDER) == BST_CHECKED;
    request.ui = IsDlgButtonChecked(dialog_, IDC_OWN_WINDOW) == BST_CHECKED;
    return request;
}

}  // namespace smview
