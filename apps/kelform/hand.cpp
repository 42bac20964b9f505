// Keys and clicks as a person makes them.
#include "apps/kelform/hand.h"

#include <utility>

#include "apps/kelform/ui.h"

namespace kel::form {
namespace {

int theAnswer = 0;
std::function<void(HWND)> theLook;

BOOL CALLBACK AnswerBox(HWND window, LPARAM) {
    wchar_t name[16] = {};
    GetClassNameW(window, name, ARRAYSIZE(name));
    if (std::wstring(name) != L"#32770" || !IsWindowVisible(window)) {
        return TRUE;
    }
    if (theLook) {
        theLook(window);
    }
    PostMessageW(window, WM_COMMAND, static_cast<WPARAM>(theAnswer), 0);
    return FALSE;
}

void CALLBACK LookForBox(HWND, UINT, UINT_PTR timer, DWORD) {
    if (EnumThreadWindows(GetCurrentThreadId(), AnswerBox, 0) == FALSE) {
        KillTimer(nullptr, timer);
    }
}

// What GetKeyState tells about a key from now on.
void Hold(int key, bool down) {
    BYTE state[256] = {};
    GetKeyboardState(state);
    state[key] = down ? 0x80 : 0;
    SetKeyboardState(state);
}

}  // namespace

void Type(HWND control, const std::wstring& text) {
    SetFocus(control);
    Pump();
    SendMessageW(control, EM_SETSEL, 0, -1);
    for (const wchar_t unit : text) {
        PostMessageW(control, WM_CHAR, unit, 1);
        Pump();
    }
}

void Press(WPARAM key, int modifier) {
    if (modifier != 0) {
        Hold(modifier, true);
    }
    PostMessageW(GetFocus(), WM_KEYDOWN, key, 1);
    Pump();
    if (modifier != 0) {
        Hold(modifier, false);
    }
}

void Choose(HWND combo, int index) {
    SetFocus(combo);
    SendMessageW(combo, CB_SETCURSEL, static_cast<WPARAM>(index), 0);
    SendMessageW(GetParent(combo),
                 WM_COMMAND,
                 MAKEWPARAM(GetDlgCtrlID(combo), CBN_SELCHANGE),
                 reinterpret_cast<LPARAM>(combo));
    Pump();
}

void AnswerNext(int answer, std::function<void(HWND)> look) {
    constexpr UINT kEveryMs = 50;
    theAnswer = answer;
    theLook = std::move(look);
    SetTimer(nullptr, 0, kEveryMs, LookForBox);
}

}  // namespace kel::form
