// The enumeration callback with which a host keeps its other windows quiet.
#include <doctest.h>

#include <vector>

#include "Module.h"

namespace {

class TestWindow {
public:
    explicit TestWindow(DWORD style = WS_OVERLAPPEDWINDOW, HWND parent = nullptr)
        : window_(CreateWindowA("STATIC", "", style, 0, 0, 10, 10, parent, nullptr, nullptr, nullptr)) {}
    ~TestWindow() { DestroyWindow(window_); }
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    HWND handle() const { return window_; }
    bool isEnabled() const { return IsWindowEnabled(window_) != FALSE; }

private:
    HWND window_;
};

LPARAM address(SmDisableWndsContext& context) {
    return reinterpret_cast<LPARAM>(&context);
}

}  // namespace

TEST_CASE("a counting pass sizes the array, a second pass fills it and disables") {
    const Module module;
    const TestWindow first, popup(WS_POPUP), child(WS_CHILD, first.handle()), disabled;
    EnableWindow(disabled.handle(), FALSE);
    const HWND all[] = {first.handle(), popup.handle(), child.handle(), disabled.handle()};

    SmDisableWndsContext context = {0x12345678, 0, nullptr};
    for (HWND window : all)
        CHECK(module.DisableWnds(window, address(context)) == TRUE);
    CHECK(context.Count == 2);
    CHECK(context.NextSlot == nullptr);
    CHECK(first.isEnabled());
    CHECK(popup.isEnabled());

    const HWND untouched = reinterpret_cast<HWND>(1);
    std::vector<HWND> slots(3, untouched);
    context.NextSlot = slots.data();
    for (HWND window : all)
        CHECK(module.DisableWnds(window, address(context)) == TRUE);
    CHECK(slots == std::vector<HWND>{first.handle(), popup.handle(), untouched});
    CHECK(context.NextSlot == slots.data() + 2);
    CHECK(context.Count == 2);
    CHECK(context.Reserved == 0x12345678);
    CHECK_FALSE(first.isEnabled());
    CHECK_FALSE(popup.isEnabled());
    CHECK(child.isEnabled());
}

TEST_CASE("it serves Windows' own enumeration") {
    const Module module;
    const TestWindow first, second, child(WS_CHILD, first.handle());
    SmDisableWndsContext context = {0, 0, nullptr};
    EnumThreadWindows(GetCurrentThreadId(), module.DisableWnds, address(context));
    REQUIRE(context.Count >= 2);
    std::vector<HWND> slots(context.Count);
    context.NextSlot = slots.data();
    EnumThreadWindows(GetCurrentThreadId(), module.DisableWnds, address(context));
    CHECK(context.NextSlot == slots.data() + slots.size());
    CHECK_FALSE(first.isEnabled());
    CHECK_FALSE(second.isEnabled());
    for (HWND window : slots)
        EnableWindow(window, TRUE);
}
