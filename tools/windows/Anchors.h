#pragma once

#include <windows.h>

#include <vector>

namespace gui {

// Edges of the dialog that a control's edges keep their distance to. A control with both of a direction
// grows.
enum Edge : unsigned { Left = 1, Top = 2, Right = 4, Bottom = 8, Whole = 15 };

struct Anchor {
    int control;
    unsigned edges;
};

// Where a rectangle goes when the client area around it grows from one size to another.
RECT anchored(const RECT& placed, unsigned edges, SIZE from, SIZE to);

// Keeps the controls of a resizable dialog in their places; made when they stand as the template says. It
// gets no smaller than it was then.
class AnchoredControls {
public:
    AnchoredControls(HWND dialog, const std::vector<Anchor>& anchors);

    // On WM_SIZE and WM_GETMINMAXINFO.
    void arrange() const;
    void limit(MINMAXINFO& limits) const { limits.ptMinTrackSize = {smallest_.cx, smallest_.cy}; }

private:
    struct Placed {
        HWND control;
        unsigned edges;
        RECT at;
    };
    HWND dialog_;
    SIZE client_;
    SIZE smallest_;
    std::vector<Placed> controls_;
};

}  // namespace gui
