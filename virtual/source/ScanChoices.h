// What a person can choose at the scanner, as texts in lists and marks on scales: the side of the
// capabilities that the source's window shows. Knows no window.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "capabilities/ScanParameters.h"

namespace vscan {

enum class ListChoice { Mode, Resolution, Paper };
enum class ScaleChoice { Brightness, Contrast };

struct ListOffer {
    std::vector<std::string> texts;
    int chosen = 0;
    bool changeable = true;
};

struct ScaleOffer {
    int minimum = 0;
    int maximum = 0;
    int value = 0;
    bool changeable = true;
};

class ScanChoices {
public:
    explicit ScanChoices(ScanParameters& parameters) : parameters_(parameters) {}

    // What the host left to choose from. What it chose itself and no list holds, such as an area of its own,
    // is an entry too, as long as it is the chosen one.
    ListOffer offer(ListChoice which) const;
    ScaleOffer offer(ScaleChoice which) const;
    void choose(ListChoice which, int place);
    void choose(ScaleChoice which, int value);

    // What a scan would bring: "1240 x 1754 pixels, 24 bit, 6.5 MB".
    std::string summary() const;

private:
    struct Entry {
        std::string text;
        std::optional<double> value;  // none: what the host chose, and stays as it is
        bool chosen;
    };
    std::vector<Entry> entries(ListChoice which) const;
    std::vector<Entry> modes() const;
    std::vector<Entry> resolutions() const;
    std::vector<Entry> papers() const;
    bool changeable(const std::vector<int>& ids) const;

    ScanParameters& parameters_;
};

}  // namespace vscan
