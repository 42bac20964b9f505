// Windows, and controls laid out in units of 1/96 inch that follow the screen's resolution.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace kel::form {

struct Box {
    int x, y, width, height;
};

// What a control does when its window grows beyond the size it was designed for.
enum Anchor : unsigned {
    kFixed = 0,
    kMoveRight = 1,
    kMoveDown = 2,
    kStretchRight = 4,
    kStretchDown = 8,
};

// Windows cannot be shown.
class NoScreen : public std::runtime_error {
public:
    NoScreen() : std::runtime_error("There is no screen to show windows on.") {}
};

class Window {
public:
    Window() = default;
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    virtual ~Window();

    HWND handle() const { return handle_; }
    HWND item(int id) const { return GetDlgItem(handle_, id); }
    void Open();
    void Close();
    // Opens the window for the first time to the right of another one, `below` it by that much if
    // the screen has the room; later where the user has left it.
    void OpenBeside(HWND other, int below);

    // A length in pixels of the screen the window is on.
    int Scaled(int length) const { return MulDiv(length, static_cast<int>(dpi_), 96); }

protected:
    // `size` is that of the client area. Calls Build() before anything is shown.
    void Create(
        const std::wstring& title, SIZE size, DWORD style, HWND owner, HMENU menu = nullptr);
    virtual void Build() = 0;
    virtual LRESULT Handle(UINT message, WPARAM first, LPARAM second);
    // After all controls have their places.
    virtual void Arranged() {}
    // Whether the window may close now.
    virtual bool MayClose() { return true; }

    HWND Add(const wchar_t* windowClass,
             const std::wstring& text,
             DWORD style,
             int id,
             Box box,
             unsigned anchors = kFixed,
             DWORD extendedStyle = 0);
    HWND AddLabel(const std::wstring& text, Box box, unsigned anchors = kFixed, int id = -1);
    HWND AddEdit(int id, Box box, unsigned anchors = kFixed, DWORD style = 0);
    HWND AddButton(const std::wstring& text,
                   int id,
                   Box box,
                   unsigned anchors = kFixed,
                   DWORD style = BS_PUSHBUTTON);

private:
    static LRESULT CALLBACK WindowProc(HWND window,
                                       UINT message,
                                       WPARAM first,
                                       LPARAM second) noexcept;
    void Arrange();
    void MakeFont();

    struct Placed {
        HWND window;
        Box box;
        unsigned anchors;
    };

    HWND handle_ = nullptr;
    UINT dpi_ = 96;
    SIZE design_{};
    HFONT font_ = nullptr;
    bool isPlaced_ = false;
    HWND focus_ = nullptr;  // where the keyboard was when the window was last active
    std::vector<Placed> placed_;
};

// Hands a message to accelerators, dialogs' keys and windows. Every loop of the program uses it.
void Dispatch(MSG& message);
// Handles every message that waits.
void Pump();

std::wstring TextOf(HWND window);

}  // namespace kel::form
