#pragma once

#include <windows.h>

#include <optional>

#include "common/ScanRequest.h"

namespace smview {

// Where a picture lies in a view when it is as large as fits, in the middle.
RECT fitted(SIZE picture, SIZE view);

// The area that two corners, dragged in the view, stand for: a part of `whole`, which the picture at `shown`
// shows. Nothing if it is smaller than a few pixels: a click, which takes an area away.
std::optional<host::Area> dragged(POINT from, POINT to, const RECT& shown, const host::Area& whole);

// Where an area lies in the view; cut to what is shown.
RECT placed(const host::Area& area, const RECT& shown, const host::Area& whole);

}  // namespace smview
