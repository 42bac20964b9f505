// An edit control laid over a cell for as long as somebody types there.
#include "apps/binding/cell_editor.h"

#include <array>

namespace kel::binding {

void CellEditor::Open(int row, int column) {
    Close();
    ListView_EnsureVisible(list_, row, FALSE);
    RECT cell{};
    ListView_GetSubItemRect(list_, row, column, LVIR_LABEL, &cell);
    if (column == 0) {
        // The first column's own rectangle would be the whole row's.
        cell.right = cell.left + ListView_GetColumnWidth(list_, 0);
    }
    std::array<wchar_t, 1024> text{};
    ListView_GetItemText(list_, row, column, text.data(), static_cast<int>(text.size()));
    before_ = text.data();
    row_ = row;
    column_ = column;
    edit_ = CreateWindowExW(0,
                            L"EDIT",
                            before_.c_str(),
                            WS_CHILD | WS_VISIBLE | WS_BORDER | ES_AUTOHSCROLL,
                            cell.left,
                            cell.top - 1,
                            cell.right - cell.left,
                            cell.bottom - cell.top + 2,
                            list_,
                            nullptr,
                            nullptr,
                            nullptr);
    if (edit_ == nullptr) {
        return;
    }
    SendMessageW(edit_, WM_SETFONT, static_cast<WPARAM>(SendMessageW(list_, WM_GETFONT, 0, 0)), 0);
    const auto id = reinterpret_cast<UINT_PTR>(this);
    SetWindowSubclass(edit_, WindowProc, id, id);
    SendMessageW(edit_, EM_SETSEL, 0, -1);
    SetFocus(edit_);
}

std::wstring CellEditor::Text() const {
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(edit_)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(
        GetWindowTextW(edit_, text.data(), static_cast<int>(text.size()))));
    return text;
}

bool CellEditor::Commit(CellExit exit) {
    if (edit_ == nullptr || isCommitting_) {
        return true;
    }
    isCommitting_ = true;  // closing the box takes the keyboard from it, which would commit again
    const std::wstring text = Text();
    const bool stored = text == before_ || store_(row_, column_, text);
    if (stored) {
        Close();
    }
    isCommitting_ = false;
    if (stored) {
        moved_(row_, column_, exit);
    }
    return stored;
}

void CellEditor::Close() {
    if (const HWND edit = std::exchange(edit_, nullptr)) {
        RemoveWindowSubclass(edit, WindowProc, reinterpret_cast<UINT_PTR>(this));
        const bool hadKeyboard = GetFocus() == edit;
        DestroyWindow(edit);
        if (hadKeyboard) {
            SetFocus(list_);
        }
    }
}

bool CellEditor::Key(WPARAM key) {
    const bool shift = GetKeyState(VK_SHIFT) < 0;
    switch (key) {
        case VK_ESCAPE:
            Close();
            return true;
        case VK_RETURN:
            Commit(CellExit::kStay);
            return true;
        case VK_TAB:
            Commit(shift ? CellExit::kPreviousColumn : CellExit::kNextColumn);
            return true;
        case VK_UP:
            Commit(CellExit::kPreviousRow);
            return true;
        case VK_DOWN:
            Commit(CellExit::kNextRow);
            return true;
        default:
            return false;
    }
}

LRESULT CALLBACK CellEditor::WindowProc(HWND window,
                                        UINT message,
                                        WPARAM first,
                                        LPARAM second,
                                        UINT_PTR /*id*/,
                                        DWORD_PTR self) noexcept {
    auto* const editor = reinterpret_cast<CellEditor*>(self);
    switch (message) {
        case WM_GETDLGCODE:  // Enter, Escape and Tab are the box's, not the dialog's
            return DefSubclassProc(window, message, first, second) | DLGC_WANTALLKEYS;
        case WM_KEYDOWN:
            if (editor->Key(first)) {
                return 0;
            }
            break;
        case WM_CHAR:
            if (first == VK_RETURN || first == VK_TAB || first == VK_ESCAPE) {
                return 0;  // their key-down was the whole of them; an edit control would beep
            }
            break;
        case WM_KILLFOCUS:
            if (!editor->Commit(CellExit::kStay)) {
                editor->Close();
            }
            return 0;
        default:
            break;
    }
    return DefSubclassProc(window, message, first, second);
}

}  // namespace kel::binding
