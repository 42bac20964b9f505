// The edit control of a record's id.
#include "apps/binding/key_control.h"

#include <array>

namespace kel::binding {

KeyControl::KeyControl(KeyField& field, HWND window, std::wstring name, Reader reader)
    : FieldControl(field, window, std::move(name)), reader_(std::move(reader)) {}

void KeyControl::Show() {
    if (window() == nullptr) {
        return;
    }
    isShowing_ = true;
    SetWindowTextW(window(), field().letters().fromRecord(field().id()).c_str());
    SendMessageW(window(), EM_SETSEL, 0, -1);
    isShowing_ = false;
    isEdited_ = false;
}

bool KeyControl::Store() {
    if (!isEdited_) {
        return true;
    }
    isEdited_ = false;  // the reader may ask a question, and so take the keyboard away once more
    std::array<wchar_t, 512> id{};
    GetWindowTextW(window(), id.data(), static_cast<int>(id.size()));
    const bool isRead = reader_(field().letters().toRecord(id.data()));
    if (!isRead) {
        Show();
    }
    StateChanged();
    return isRead;
}

void KeyControl::Command(UINT code) {
    if (code == EN_CHANGE && !isShowing_) {
        isEdited_ = true;
        StateChanged();
    }
}

}  // namespace kel::binding
