#include "smview/AreaSelection.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace smview {

namespace {

constexpr int smallestDrag = 4;

// A position between two edges, as the same part of the way between two others.
double along(double position, double from, double to, double otherFrom, double otherTo) {
    return to == from ? otherFrom : otherFrom + (position - from) * (otherTo - otherFrom) / (to - from);
}

LONG pixelAt(double position, double from, double to, LONG otherFrom, LONG otherTo) {
    return std::lround(along(std::clamp(position, from, to), from, to, otherFrom, otherTo));
}

}  // namespace

RECT fitted(SIZE picture, SIZE view) {
    if (picture.cx <= 0 || picture.cy <= 0 || view.cx <= 0 || view.cy <= 0) return {};
    const double scale =
        std::min(static_cast<double>(view.cx) / picture.cx, static_cast<double>(view.cy) / picture.cy);
    const LONG width = std::max(1L, std::lround(picture.cx * scale));
    const LONG height = std::max(1L, std::lround(picture.cy * scale));
    const LONG left = (view.cx - width) / 2, top = (view.cy - height) / 2;
    return {left, top, left + width, top + height};
}

std::optional<host::Area> dragged(POINT from, POINT to, const RECT& shown, const host::Area& whole) {
    const LONG left = std::clamp(std::min(from.x, to.x), shown.left, shown.right);
    const LONG right = std::clamp(std::max(from.x, to.x), shown.left, shown.right);
    const LONG top = std::clamp(std::min(from.y, to.y), shown.top, shown.bottom);
    const LONG bottom = std::clamp(std::max(from.y, to.y), shown.top, shown.bottom);
    if (right - left < smallestDrag || bottom - top < smallestDrag) return std::nullopt;
    const auto across = [&](LONG x) { return along(x, shown.left, shown.right, whole.left, whole.right); };
    const auto down = [&](LONG y) { return along(y, shown.top, shown.bottom, whole.top, whole.bottom); };
    return host::Area{across(left), down(top), across(right), down(bottom)};
}

RECT placed(const host::Area& area, const RECT& shown, const host::Area& whole) {
    const auto across = [&](double x) {
        return pixelAt(x, whole.left, whole.right, shown.left, shown.right);
    };
    const auto down = [&](double y) { return pixelAt(y, whole.top, whole.bottom, shown.top, shown.bottom); };
    return {across(area.left), down(area.top), across(area.right), down(area.bottom)};
}

}  // namespace smview
