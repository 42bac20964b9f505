// An edit box over one cell of a list view in report style.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include <functional>
#include <string>
#include <utility>

namespace kel::binding {

// Where the user goes from an edited cell.
enum class CellExit { kStay, kNextColumn, kPreviousColumn, kNextRow, kPreviousRow };

class CellEditor {
public:
    // Stores the text of the cell; false keeps the box open.
    using Store = std::function<bool(int row, int column, const std::wstring& text)>;
    // Called after the box has closed.
    using Moved = std::function<void(int row, int column, CellExit exit)>;

    CellEditor(HWND list, Store store, Moved moved)
        : list_(list), store_(std::move(store)), moved_(std::move(moved)) {}
    CellEditor(const CellEditor&) = delete;
    CellEditor& operator=(const CellEditor&) = delete;
    ~CellEditor() { Close(); }

    // Opens the box over a cell, counted from 0, with the cell's text selected.
    void Open(int row, int column);
    bool isOpen() const { return edit_ != nullptr; }
    HWND window() const { return edit_; }
    // Stores what was typed and closes; false when it was refused.
    bool Commit(CellExit exit);
    // Closes and forgets what was typed.
    void Close();

private:
    static LRESULT CALLBACK
    WindowProc(HWND, UINT, WPARAM, LPARAM, UINT_PTR id, DWORD_PTR self) noexcept;
    // Whether the key belongs to the box.
    bool Key(WPARAM key);
    std::wstring Text() const;

    HWND list_;
    Store store_;
    Moved moved_;
    HWND edit_ = nullptr;
    int row_ = 0;
    int column_ = 0;
    std::wstring before_;
    bool isCommitting_ = false;
};

}  // namespace kel::binding
