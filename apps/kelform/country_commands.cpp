// What can be done in the country window.
#include "apps/kelform/country_window.h"
#include "apps/kelform/messages.h"
#include "apps/kelform/resource.h"

namespace kel::form {

LRESULT CountryWindow::Handle(UINT message, WPARAM first, LPARAM second) {
    if (message == WM_COMMAND && HIWORD(first) <= 1) {  // a button, the menu, an accelerator
        Command(LOWORD(first));
        return 0;
    }
    if (message == WM_DESTROY) {
        PostQuitMessage(0);
    }
    return Window::Handle(message, first, second);
}

void CountryWindow::Command(int id) {
    if (isBusy_) {
        return;  // a question is open
    }
    isBusy_ = true;
    try {
        switch (id) {
            case ID_NEW:
                New();
                break;
            case ID_SAVE:
                Save();
                break;
            case ID_DELETE:
                Delete();
                break;
            case ID_RELEASE:
                Release();
                break;
            case ID_UNDO:
                Undo();
                break;
            case ID_FIRST:
                Go(list_.First(), L"The list is empty.");
                break;
            case ID_PREVIOUS:
                Go(list_.Previous(), L"This is the first one.");
                break;
            case ID_NEXT:
                Go(list_.Next(), L"This is the last one.");
                break;
            case ID_LAST:
                Go(list_.Last(), L"The list is empty.");
                break;
            case ID_FIND:
                FindTyped();
                break;
            case ID_GO_FIND:
                SetFocus(item(IDC_FIND_TEXT));
                break;
            case ID_GO_KEY:
                SetFocus(item(IDC_KEY));
                break;
            case ID_ROW_INSERT:
                SetFocus(item(IDC_ROWS));
                rows_->InsertRow();
                break;
            case ID_ROW_EDIT:
                SetFocus(item(IDC_ROWS));
                rows_->Edit(rows_->selectedRow() < 0 ? 0 : rows_->selectedRow(), 0);
                break;
            case ID_ROW_REMOVE:
                rows_->RemoveRow();
                break;
            case ID_FOLLOWER:
                Toggle(follower_, 0);
                break;
            case ID_EVENTS:
                Toggle(events_, Scaled(430));
                break;
            case ID_CONNECTION:
                if (MayLeave() && connectionAsked_) {
                    connectionAsked_();
                }
                break;
            case ID_QUIT:
                PostMessageW(handle(), WM_CLOSE, 0, 0);
                break;
            case IDOK:
                EnterPressed();
                break;
            default:
                break;
        }
    } catch (...) {
        Say(CurrentFailureInWords());
        MessageBeep(MB_ICONWARNING);
    }
    isBusy_ = false;
    ShowState();
}

// Enter does what the control under the keyboard is there for.
void CountryWindow::EnterPressed() {
    const HWND focus = GetFocus();
    if (focus == item(IDC_FIND_TEXT)) {
        FindTyped();
    } else if (focus == item(IDC_KEY)) {
        key_->Store();
    } else if (focus == item(IDC_ROWS)) {
        rows_->Edit(rows_->selectedRow(), 0);
    } else {
        SetFocus(GetNextDlgTabItem(handle(), focus, FALSE));
    }
}

void CountryWindow::Go(const std::optional<std::wstring>& id, const wchar_t* otherwise) {
    if (!id) {
        Say(otherwise);
    } else if (!Read(*id)) {
        list_.Find(field_.id());
    }
}

void CountryWindow::New() {
    if (!MayLeave()) {
        return;
    }
    field_.clear();
    SetReadOnly(false);
    list_.Find({});
    Say(ReadInWords(binding::ReadAnswer::kNew, {}, false, {}));
    SetFocus(item(IDC_KEY));
}

bool CountryWindow::Save() {
    if (!StoreAll()) {
        return false;
    }
    if (!field_.write()) {
        Say(L"A new country needs a code before it can be saved.");
        SetFocus(item(IDC_KEY));
        return false;
    }
    Say(field_.id() + L" is saved.");
    return true;
}

void CountryWindow::Delete() {
    const std::wstring id = field_.id();
    const std::wstring question = L"Delete " + TextOf(item(IDC_NAME)) + L" (" + id + L")?";
    if (MessageBoxW(handle(),
                    question.c_str(),
                    L"Countries",
                    MB_OKCANCEL | MB_ICONWARNING | MB_DEFBUTTON2) == IDOK) {
        field_.remove();
        Say(id + L" is deleted.");
    }
}

void CountryWindow::Undo() {
    const std::wstring id = field_.id();
    field_.undo();
    Say(id.empty() ? L"The entries are dropped." : id + L" is as it was.");
}

void CountryWindow::Release() {
    field_.release();
    Say(field_.id() + L" is free for others.");
}

void CountryWindow::FindTyped() {
    Select(SentenceFor(TextOf(item(IDC_FIND_TEXT))));
}

void CountryWindow::Toggle(Window& window, int below) {
    if (window.handle() != nullptr && IsWindowVisible(window.handle())) {
        ShowWindow(window.handle(), SW_HIDE);
    } else {
        window.OpenBeside(handle(), below);
    }
}

}  // namespace kel::form
