// Windows, their controls and how these stretch; the message loop.
#include "apps/kelform/ui.h"

#include <algorithm>

#include "apps/kelform/resource.h"

namespace kel::form {
namespace {

constexpr const wchar_t* kClass = L"KelFormWindow";

HINSTANCE Module() {
    return GetModuleHandleW(nullptr);
}

template <typename Function>
Function SystemFunction(const char* name) {
    const auto address = GetProcAddress(GetModuleHandleW(L"user32.dll"), name);
    return reinterpret_cast<Function>(reinterpret_cast<void*>(address));
}

// Systems before Windows 10 have one resolution for all screens.
UINT DpiOf(HWND window) {
    static const auto forWindow = SystemFunction<UINT(WINAPI*)(HWND)>("GetDpiForWindow");
    if (forWindow != nullptr) {
        if (const UINT dpi = forWindow(window)) {
            return dpi;
        }
    }
    const HDC screen = GetDC(nullptr);
    const int dpi = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    return static_cast<UINT>(dpi);
}

void RegisterOnce(WNDPROC procedure) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = procedure;
    windowClass.hInstance = Module();
    windowClass.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    windowClass.lpszClassName = kClass;
    RegisterClassExW(&windowClass);  // a second time it fails, and the first stays
}

HWND theMainWindow = nullptr;

// The accelerators' commands are the main window's, whichever window has the keyboard, but not
// while a dialog keeps the main window disabled.
bool IsAccelerator(MSG& message) {
    static const HACCEL table = LoadAcceleratorsW(Module(), MAKEINTRESOURCEW(IDR_KEYS));
    return IsWindow(theMainWindow) && IsWindowEnabled(theMainWindow) &&
           TranslateAcceleratorW(theMainWindow, table, &message) != 0;
}

}  // namespace

Window::~Window() {
    Close();
    if (font_ != nullptr) {
        DeleteObject(font_);
    }
}

void Window::Create(const std::wstring& title, SIZE size, DWORD style, HWND owner, HMENU menu) {
    RegisterOnce(WindowProc);
    design_ = size;
    CreateWindowExW(WS_EX_CONTROLPARENT,
                    kClass,
                    title.c_str(),
                    style | WS_CLIPCHILDREN,
                    CW_USEDEFAULT,
                    CW_USEDEFAULT,
                    size.cx,
                    size.cy,
                    owner,
                    menu,
                    Module(),
                    this);
    if (handle_ == nullptr) {
        throw NoScreen();
    }
    if (menu != nullptr) {
        theMainWindow = handle_;
    }
    dpi_ = DpiOf(handle_);
    MakeFont();
    RECT frame{0, 0, Scaled(size.cx), Scaled(size.cy)};
    AdjustWindowRectEx(&frame, style, menu != nullptr, WS_EX_CONTROLPARENT);
    SetWindowPos(handle_,
                 nullptr,
                 0,
                 0,
                 frame.right - frame.left,
                 frame.bottom - frame.top,
                 SWP_NOMOVE | SWP_NOZORDER);
    Build();
    Arrange();
}

void Window::Open() {
    ShowWindow(handle_, SW_SHOW);
    if (focus_ == nullptr) {
        focus_ = GetNextDlgTabItem(handle_, nullptr, FALSE);
    }
    SetFocus(focus_);
    UpdateWindow(handle_);
}

void Window::OpenBeside(HWND other, int below) {
    if (!isPlaced_) {
        isPlaced_ = true;
        RECT beside{};
        RECT own{};
        MONITORINFO monitor{};
        monitor.cbSize = sizeof monitor;
        GetWindowRect(other, &beside);
        GetWindowRect(handle_, &own);
        GetMonitorInfoW(MonitorFromWindow(other, MONITOR_DEFAULTTONEAREST), &monitor);
        const RECT& work = monitor.rcWork;
        SetWindowPos(handle_,
                     nullptr,
                     std::min(beside.right, work.right - (own.right - own.left)),
                     std::min(beside.top + below, work.bottom - (own.bottom - own.top)),
                     0,
                     0,
                     SWP_NOSIZE | SWP_NOZORDER);
    }
    Open();
}

void Window::Close() {
    if (handle_ != nullptr) {
        DestroyWindow(handle_);
    }
}

HWND Window::Add(const wchar_t* windowClass,
                 const std::wstring& text,
                 DWORD style,
                 int id,
                 Box box,
                 unsigned anchors,
                 DWORD extendedStyle) {
    const HWND window = CreateWindowExW(extendedStyle,
                                        windowClass,
                                        text.c_str(),
                                        style | WS_CHILD | WS_VISIBLE,
                                        0,
                                        0,
                                        10,
                                        10,
                                        handle_,
                                        reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                                        Module(),
                                        nullptr);
    SendMessageW(window, WM_SETFONT, reinterpret_cast<WPARAM>(font_), TRUE);
    placed_.push_back({window, box, anchors});
    return window;
}

HWND Window::AddLabel(const std::wstring& text, Box box, unsigned anchors, int id) {
    return Add(L"STATIC", text, SS_LEFTNOWORDWRAP, id, box, anchors);
}

HWND Window::AddEdit(int id, Box box, unsigned anchors, DWORD style) {
    return Add(
        L"EDIT", L"", style | WS_TABSTOP | ES_AUTOHSCROLL, id, box, anchors, WS_EX_CLIENTEDGE);
}

HWND Window::AddButton(const std::wstring& text, int id, Box box, unsigned anchors, DWORD style) {
    return Add(L"BUTTON", text, style | WS_TABSTOP, id, box, anchors);
}

// The font that the user's system has for messages, at this window's resolution.
void Window::MakeFont() {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    const HDC screen = GetDC(nullptr);
    const int systemDpi = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    LOGFONTW font = metrics.lfMessageFont;
    font.lfHeight = MulDiv(font.lfHeight, static_cast<int>(dpi_), systemDpi);
    const HFONT before = font_;
    font_ = CreateFontIndirectW(&font);
    for (const Placed& placed : placed_) {
        SendMessageW(placed.window, WM_SETFONT, reinterpret_cast<WPARAM>(font_), TRUE);
    }
    if (before != nullptr) {
        DeleteObject(before);
    }
}

void Window::Arrange() {
    RECT client{};
    GetClientRect(handle_, &client);
    const int wider = client.right - Scaled(design_.cx);
    const int taller = client.bottom - Scaled(design_.cy);
    for (const Placed& placed : placed_) {
        const unsigned anchors = placed.anchors;
        MoveWindow(placed.window,
                   Scaled(placed.box.x) + ((anchors & kMoveRight) != 0 ? wider : 0),
                   Scaled(placed.box.y) + ((anchors & kMoveDown) != 0 ? taller : 0),
                   Scaled(placed.box.width) + ((anchors & kStretchRight) != 0 ? wider : 0),
                   Scaled(placed.box.height) + ((anchors & kStretchDown) != 0 ? taller : 0),
                   TRUE);
    }
    Arranged();
}

LRESULT Window::Handle(UINT message, WPARAM first, LPARAM second) {
    switch (message) {
        case WM_SIZE:
            if (first != SIZE_MINIMIZED) {
                Arrange();
            }
            return 0;
        case WM_GETMINMAXINFO: {
            RECT frame{0, 0, Scaled(design_.cx), Scaled(design_.cy)};
            AdjustWindowRectEx(&frame,
                               static_cast<DWORD>(GetWindowLongW(handle_, GWL_STYLE)),
                               GetMenu(handle_) != nullptr,
                               WS_EX_CONTROLPARENT);
            reinterpret_cast<MINMAXINFO*>(second)->ptMinTrackSize = {frame.right - frame.left,
                                                                     frame.bottom - frame.top};
            return 0;
        }
        case WM_DPICHANGED: {
            dpi_ = HIWORD(first);
            MakeFont();
            const RECT& wanted = *reinterpret_cast<const RECT*>(second);
            SetWindowPos(handle_,
                         nullptr,
                         wanted.left,
                         wanted.top,
                         wanted.right - wanted.left,
                         wanted.bottom - wanted.top,
                         SWP_NOZORDER | SWP_NOACTIVATE);
            Arrange();
            return 0;
        }
        case WM_ACTIVATE:
            if (LOWORD(first) == WA_INACTIVE) {
                const HWND focus = GetFocus();
                if (IsChild(handle_, focus)) {
                    focus_ = focus;
                }
                break;
            }
            return 0;
        case WM_SETFOCUS:
            if (IsWindow(focus_)) {
                SetFocus(focus_);
            }
            return 0;
        case WM_CLOSE:
            if (MayClose()) {
                Close();
            }
            return 0;
        default:
            break;
    }
    return DefWindowProcW(handle_, message, first, second);
}

LRESULT CALLBACK Window::WindowProc(HWND window,
                                    UINT message,
                                    WPARAM first,
                                    LPARAM second) noexcept {
    if (message == WM_NCCREATE) {
        auto* const created =
            static_cast<Window*>(reinterpret_cast<const CREATESTRUCTW*>(second)->lpCreateParams);
        created->handle_ = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(created));
    }
    auto* const self = reinterpret_cast<Window*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self == nullptr) {
        return DefWindowProcW(window, message, first, second);
    }
    const LRESULT result = self->Handle(message, first, second);
    if (message == WM_NCDESTROY) {
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        self->handle_ = nullptr;
        self->placed_.clear();
        self->focus_ = nullptr;
    }
    return result;
}

void Dispatch(MSG& message) {
    const HWND root = GetAncestor(message.hwnd, GA_ROOT);
    if (IsAccelerator(message) || (root != nullptr && IsDialogMessageW(root, &message))) {
        return;
    }
    TranslateMessage(&message);
    DispatchMessageW(&message);
}

void Pump() {
    MSG message{};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        Dispatch(message);
    }
}

std::wstring TextOf(HWND window) {
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(
        GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return text;
}

}  // namespace kel::form
