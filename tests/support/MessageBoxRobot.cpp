#include "MessageBoxRobot.h"

namespace {

MessageBoxRobot* current = nullptr;

std::string textOf(HWND window) {
    char text[256] = "";
    GetWindowTextA(window, text, sizeof text);
    return text;
}

std::string classOf(HWND window) {
    char name[64] = "";
    GetClassNameA(window, name, sizeof name);
    return name;
}

struct Children {
    std::string text;
    std::string buttons;
};

BOOL CALLBACK onChild(HWND child, LPARAM found) {
    auto& children = *reinterpret_cast<Children*>(found);
    if (classOf(child) == "Static") children.text += textOf(child);
    if (classOf(child) == "Button" && IsWindowVisible(child))
        children.buttons +=
            (children.buttons.empty() ? "button " : ", button ") + std::to_string(GetDlgCtrlID(child));
    return TRUE;
}

}  // namespace

// The box runs a message loop of its own, in which the timer's messages arrive.
MessageBoxRobot::MessageBoxRobot(int answer) : answer_(answer), timer_(SetTimer(nullptr, 0, 10, onTimer)) {
    current = this;
}

MessageBoxRobot::~MessageBoxRobot() {
    KillTimer(nullptr, timer_);
    current = nullptr;
}

void CALLBACK MessageBoxRobot::onTimer(HWND, UINT, UINT_PTR, DWORD) {
    if (current != nullptr)
        EnumThreadWindows(GetCurrentThreadId(), onWindow, reinterpret_cast<LPARAM>(current));
}

BOOL CALLBACK MessageBoxRobot::onWindow(HWND window, LPARAM robot) {
    if (classOf(window) != "#32770" || !IsWindowVisible(window)) return TRUE;
    reinterpret_cast<MessageBoxRobot*>(robot)->answer(window);
    return FALSE;
}

void MessageBoxRobot::answer(HWND box) {
    Children children;
    EnumChildWindows(box, onChild, reinterpret_cast<LPARAM>(&children));
    boxes_.push_back("[" + textOf(box) + "] " + children.text + " (" + children.buttons + ")");
    SendMessageA(box, WM_COMMAND, static_cast<WPARAM>(answer_), 0);
}
