// The window that asks for a back-end's connection properties.
#include "apps/kelform/connect_window.h"

#include "apps/kelform/messages.h"
#include "apps/kelform/resource.h"

namespace kel::form {
namespace {

constexpr int kWidth = 600;
constexpr int kPerProperty = 48;
constexpr int kTop = 44;

SIZE SizeFor(std::size_t properties) {
    return {kWidth, kTop + static_cast<int>(properties) * kPerProperty + 96};
}

}  // namespace

ConnectWindow::ConnectWindow(Connection& connection, HWND owner) : connection_(connection) {
    Create(L"Connect",
           SizeFor(connection.properties().size()),
           WS_POPUP | WS_CAPTION | WS_SYSMENU,
           owner);
    // In the middle of its owner, or of the screen.
    RECT around{};
    RECT own{};
    if (owner == nullptr || GetWindowRect(owner, &around) == FALSE) {
        SystemParametersInfoW(SPI_GETWORKAREA, 0, &around, 0);
    }
    GetWindowRect(handle(), &own);
    SetWindowPos(handle(),
                 nullptr,
                 (around.left + around.right - (own.right - own.left)) / 2,
                 (around.top + around.bottom - (own.bottom - own.top)) / 2,
                 0,
                 0,
                 SWP_NOSIZE | SWP_NOZORDER);
}

void ConnectWindow::Build() {
    AddLabel(connection_.description(), {12, 14, kWidth - 24, 16});
    int y = kTop;
    int id = IDC_PROPERTY;
    for (const Property& property : connection_.properties()) {
        AddLabel(property.name, {12, y + 3, 90, 16});
        const HWND edit = AddEdit(id++, {106, y, kWidth - 118, 22});
        SetWindowTextW(edit, property.value.c_str());
        const HWND words = AddLabel(property.description, {108, y + 25, kWidth - 120, 16});
        EnableWindow(words, FALSE);  // an explanation is quieter than what it explains
        y += kPerProperty;
    }
    Add(L"STATIC", L"", SS_LEFT, IDC_MESSAGE, {12, y + 4, kWidth - 24, 34});
    AddButton(L"&Connect", IDOK, {kWidth - 196, y + 56, 88, 28}, kFixed, BS_DEFPUSHBUTTON);
    AddButton(L"Cancel", IDCANCEL, {kWidth - 100, y + 56, 88, 28});
}

LRESULT ConnectWindow::Handle(UINT message, WPARAM first, LPARAM second) {
    switch (message) {
        case WM_COMMAND:
            if (LOWORD(first) == IDOK) {
                Try();
            } else if (LOWORD(first) == IDCANCEL) {
                Close();
            }
            return 0;
        case DM_GETDEFID:
            return MAKELRESULT(IDOK, DC_HASDEFID);
        default:
            return Window::Handle(message, first, second);
    }
}

void ConnectWindow::Try() {
    int id = IDC_PROPERTY;
    for (Property& property : connection_.properties()) {
        property.value = TextOf(item(id++));
    }
    SetWindowTextW(item(IDC_MESSAGE), L"Connecting ...");
    UpdateWindow(handle());
    std::wstring failure;
    try {
        isDone_ = connection_.Connect();
        failure = ConnectionFailureInWords(connection_.failure());
    } catch (...) {
        failure = CurrentFailureInWords();
    }
    if (isDone_) {
        Close();
    } else {
        SetWindowTextW(item(IDC_MESSAGE), failure.c_str());
        MessageBeep(MB_ICONWARNING);
    }
}

bool ConnectWindow::Ask() {
    const HWND owner = GetWindow(handle(), GW_OWNER);
    if (owner != nullptr) {
        EnableWindow(owner, FALSE);
    }
    Open();
    MSG message{};
    while (handle() != nullptr && GetMessageW(&message, nullptr, 0, 0) > 0) {
        Dispatch(message);
        if (owner != nullptr && handle() == nullptr) {
            EnableWindow(owner, TRUE);
            SetActiveWindow(owner);
        }
    }
    return isDone_;
}

}  // namespace kel::form
