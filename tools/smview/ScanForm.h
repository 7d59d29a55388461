#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "common/CapsRow.h"
#include "common/ScanRequest.h"

namespace smview {

// The settings in the dialog's controls.
class ScanForm {
public:
    explicit ScanForm(HWND dialog) : dialog_(dialog) {}

    // Shows what a source has and offers.
    void fill(const std::vector<host::CapsRow>& caps);

    // Controls for what the source doesn't have stay disabled; the others can be used.
    void enable() const;

    // What is asked for. Throws Failure that names the field.
    host::ScanRequest request() const;

    // In millimetres; empty without an area.
    void showArea(const std::optional<host::Area>& area);
    std::optional<host::Area> area() const;

    // The whole glass, where the source tells its size.
    std::optional<host::Area> glass() const { return glass_; }

private:
    std::string text(int control) const;
    void setText(int control, const std::string& text) const;
    void fillList(int control, const std::vector<std::string>& words, const std::string& chosen) const;

    HWND dialog_;
    std::vector<int> missing_;  // controls
    std::optional<host::Area> glass_;
};

}  // namespace smview
