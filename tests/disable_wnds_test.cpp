// The enumeration callback with which a host keeps its other windows quiet.
#include <doctest.h>

#include <vector>

#include "Module.h"

namespace {

HWND newWindow(DWORD style, HWND parent = nullptr) {
    return CreateWindowA("STATIC", "", style, 0, 0, 10, 10, parent, nullptr, nullptr, nullptr);
}

}  // namespace

TEST_CASE("a counting pass sizes the array, a second pass fills it and disables") {
    const Module module;
    const HWND first = newWindow(WS_OVERLAPPEDWINDOW), popup = newWindow(WS_POPUP);
    const HWND all[] = {first, popup, newWindow(WS_CHILD, first), newWindow(WS_POPUP | WS_DISABLED)};
    const HWND untouched = reinterpret_cast<HWND>(1);
    std::vector<HWND> slots(3, untouched);
    SmDisableWndsContext context = {0x12345678, 0, nullptr};
    for (const bool fills : {false, true}) {
        context.NextSlot = fills ? slots.data() : nullptr;
        for (HWND window : all)
            CHECK(module.DisableWnds(window, reinterpret_cast<LPARAM>(&context)) == TRUE);
        CHECK(context.Count == 2);
        CHECK(context.NextSlot == (fills ? slots.data() + 2 : nullptr));
        CHECK((IsWindowEnabled(first) == FALSE) == fills);
        CHECK((IsWindowEnabled(popup) == FALSE) == fills);
    }
    CHECK(slots == std::vector<HWND>{first, popup, untouched});
    CHECK(context.Reserved == 0x12345678);
    CHECK(IsWindowEnabled(all[2]));
    for (HWND window : all)
        DestroyWindow(window);
}
