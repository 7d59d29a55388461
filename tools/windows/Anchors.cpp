#include "windows/Anchors.h"

namespace gui {

namespace {

SIZE clientSize(HWND window) {
    RECT client;
    GetClientRect(window, &client);
    return {client.right, client.bottom};
}

void follow(LONG& low, LONG& high, bool lowEdge, bool highEdge, LONG grown) {
    if (highEdge) high += grown;
    if (highEdge && !lowEdge) low += grown;
}

}  // namespace

RECT anchored(const RECT& placed, unsigned edges, SIZE from, SIZE to) {
    RECT moved = placed;
    follow(moved.left, moved.right, (edges & Left) != 0, (edges & Right) != 0, to.cx - from.cx);
    follow(moved.top, moved.bottom, (edges & Top) != 0, (edges & Bottom) != 0, to.cy - from.cy);
    return moved;
}

AnchoredControls::AnchoredControls(HWND dialog, const std::vector<Anchor>& anchors)
    : dialog_(dialog), client_(clientSize(dialog)) {
    RECT whole;
    GetWindowRect(dialog, &whole);
    smallest_ = {whole.right - whole.left, whole.bottom - whole.top};
    for (const Anchor& anchor : anchors) {
        Placed placed = {GetDlgItem(dialog, anchor.control), anchor.edges, {}};
        GetWindowRect(placed.control, &placed.at);
        MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&placed.at), 2);
        controls_.push_back(placed);
    }
}

void AnchoredControls::arrange() const {
    const SIZE now = clientSize(dialog_);
    // Minimized: there is nothing to arrange, and the sizes would be lost.
    if (now.cx == 0 || now.cy == 0) return;
    for (const Placed& placed : controls_) {
        const RECT at = anchored(placed.at, placed.edges, client_, now);
        // Without SWP_NOCOPYBITS a static text that has moved keeps its old picture.
        SetWindowPos(placed.control, nullptr, at.left, at.top, at.right - at.left, at.bottom - at.top,
                     SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS);
    }
}

}  // namespace gui
