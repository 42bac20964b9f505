// A hand for tests: types, presses keys and buttons, answers questions.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

namespace kel::form {

// Types a text into a control, character by character, in the place of what is there.
void Type(HWND control, const std::wstring& text);
// Presses a key in the window that has the keyboard; `modifier` is held meanwhile.
void Press(WPARAM key, int modifier = 0);
// Chooses an entry of a combo box.
void Choose(HWND combo, int index);
// Answers the next message box of this thread with the button `answer`, after a look at it.
void AnswerNext(int answer, std::function<void(HWND box)> look = {});

}  // namespace kel::form
