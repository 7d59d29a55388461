#include "source/ScanChoices.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "settings/PaperSizes.h"

namespace vscan {

namespace {

std::string modeText(int pixelType) {
    switch (pixelType) {
        case TWPT_BW:
            return "Black and white";
        case TWPT_GRAY:
            return "Gray";
        case TWPT_PALETTE:
            return "Palette color";
        default:
            return "Color";
    }
}

// Like a number on a ruler: 8.5, 11.69.
std::string shortNumber(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", value);
    return text;
}

// In whole millimetres where the size has them, else in inches.
std::string sizeText(double width, double height) {
    constexpr double inch = 25.4;
    const auto whole = [](double length) { return std::fabs(length - std::round(length)) < 0.02; };
    if (whole(width * inch) && whole(height * inch))
        return shortNumber(std::round(width * inch)) + " x " + shortNumber(std::round(height * inch)) + " mm";
    return shortNumber(width) + " x " + shortNumber(height) + " in";
}

std::vector<int> capabilitiesOf(ListChoice which) {
    switch (which) {
        case ListChoice::Mode:
            return {ICAP_PIXELTYPE};
        case ListChoice::Resolution:
            return {ICAP_XRESOLUTION, ICAP_YRESOLUTION};
        default:
            return {ICAP_SUPPORTEDSIZES};
    }
}

int capabilityOf(ScaleChoice which) {
    return which == ScaleChoice::Brightness ? ICAP_BRIGHTNESS : ICAP_CONTRAST;
}

}  // namespace

std::vector<ScanChoices::Entry> ScanChoices::modes() const {
    const CapabilityTable& table = parameters_.capabilities();
    std::vector<Entry> entries;
    for (const double type : table.known(ICAP_PIXELTYPE)->choices)
        entries.push_back({modeText(static_cast<int>(type)), type, type == table.value(ICAP_PIXELTYPE)});
    return entries;
}

std::vector<ScanChoices::Entry> ScanChoices::resolutions() const {
    const CapabilityTable& table = parameters_.capabilities();
    const Capability& range = *table.known(ICAP_XRESOLUTION);
    const double x = table.value(ICAP_XRESOLUTION), y = table.value(ICAP_YRESOLUTION);
    std::vector<double> values{50, 75, 100, 150, 200, 300, 400, 600, 1200, 2400};
    values.erase(std::remove_if(values.begin(), values.end(),
                                [&](double value) { return value < range.minimum || value > range.maximum; }),
                 values.end());
    if (x == y && std::find(values.begin(), values.end(), x) == values.end())
        values.insert(std::upper_bound(values.begin(), values.end(), x), x);
    std::vector<Entry> entries;
    for (const double value : values)
        entries.push_back({shortNumber(value) + " dpi", value, x == y && x == value});
    if (x != y) entries.push_back({shortNumber(x) + " x " + shortNumber(y) + " dpi", std::nullopt, true});
    return entries;
}

std::vector<ScanChoices::Entry> ScanChoices::papers() const {
    const CapabilityTable& table = parameters_.capabilities();
    const Area area = parameters_.request(1).area;
    const double bedWidth = table.value(ICAP_PHYSICALWIDTH), bedHeight = table.value(ICAP_PHYSICALHEIGHT);
    const bool whole = area.left == 0 && area.top == 0 && area.right == bedWidth && area.bottom == bedHeight;
    const double code = table.value(ICAP_SUPPORTEDSIZES);
    const std::vector<double>& offered = table.known(ICAP_SUPPORTEDSIZES)->choices;
    std::vector<Entry> entries;
    for (const NamedPaper& paper : namedPapers())
        if (std::find(offered.begin(), offered.end(), paper.code) != offered.end())
            entries.push_back({paper.name + (", " + sizeText(paper.size.width, paper.size.height)),
                               paper.code, paper.code == code});
    if (std::find(offered.begin(), offered.end(), TWSS_NONE) != offered.end())
        entries.push_back({"Whole scan area", TWSS_NONE, code == TWSS_NONE && whole});
    if (code == TWSS_NONE && !whole)
        entries.push_back(
            {"Area of " + sizeText(area.right - area.left, area.bottom - area.top), std::nullopt, true});
    return entries;
}

std::vector<ScanChoices::Entry> ScanChoices::entries(ListChoice which) const {
    switch (which) {
        case ListChoice::Mode:
            return modes();
        case ListChoice::Resolution:
            return resolutions();
        default:
            return papers();
    }
}

bool ScanChoices::changeable(const std::vector<int>& ids) const {
    return std::all_of(ids.begin(), ids.end(),
                       [&](int id) { return parameters_.capabilities().known(id)->settable; });
}

ListOffer ScanChoices::offer(ListChoice which) const {
    ListOffer offer;
    for (const Entry& entry : entries(which)) {
        if (entry.chosen) offer.chosen = static_cast<int>(offer.texts.size());
        offer.texts.push_back(entry.text);
    }
    offer.changeable = changeable(capabilitiesOf(which));
    return offer;
}

ScaleOffer ScanChoices::offer(ScaleChoice which) const {
    const Capability& capability = *parameters_.capabilities().known(capabilityOf(which));
    return {static_cast<int>(capability.minimum), static_cast<int>(capability.maximum),
            static_cast<int>(std::lround(capability.current)), changeable({capability.id})};
}

void ScanChoices::choose(ListChoice which, int place) {
    const std::vector<Entry> offered = entries(which);
    if (place < 0 || place >= static_cast<int>(offered.size())) return;
    const Entry& entry = offered[static_cast<std::size_t>(place)];
    // Choosing again what is chosen would give a mode its usual bit depth, whatever the host had set.
    if (entry.chosen || !entry.value) return;
    for (const int id : capabilitiesOf(which))
        parameters_.choose(id, *entry.value);
}

void ScanChoices::choose(ScaleChoice which, int value) {
    parameters_.choose(capabilityOf(which), value);
}

std::string ScanChoices::summary() const {
    const PageRequest page = parameters_.request(1);
    const int width = pixelWidth(page), height = pixelHeight(page);
    const double megabytes = static_cast<double>(packedRowBytes(page.kind, width)) * height / 1e6;
    char text[96];
    std::snprintf(text, sizeof text, "%d x %d pixels, %d bit, %.*f MB", width, height,
                  bitsPerPixel(page.kind), megabytes < 0.1 ? 2 : 1, megabytes);
    return text;
}

}  // namespace vscan
