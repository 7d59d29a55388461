// Answers the real message boxes of this thread, as a user would by a click, and tells what they showed.
#pragma once

#include <windows.h>

#include "Lines.h"

class MessageBoxRobot {
public:
    // The button's identifier: IDYES, IDNO, IDOK.
    explicit MessageBoxRobot(int answer);
    ~MessageBoxRobot();
    MessageBoxRobot(const MessageBoxRobot&) = delete;
    MessageBoxRobot& operator=(const MessageBoxRobot&) = delete;

    // Of each box its caption, its text and its buttons, "[caption] text (button 6, button 7)", and the
    // windows of this thread that it disabled.
    const Lines& boxes() const { return boxes_; }

private:
    static void CALLBACK onTimer(HWND, UINT, UINT_PTR, DWORD);
    static BOOL CALLBACK onWindow(HWND window, LPARAM robot);
    void answer(HWND box);

    int answer_;
    UINT_PTR timer_;
    Lines boxes_;
};
