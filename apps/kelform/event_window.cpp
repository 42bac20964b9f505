// The list of events as they come.
#include "apps/kelform/event_window.h"

#include <array>

#include "apps/kelform/resource.h"

namespace kel::form {
namespace {

// Events shown; older ones go.
constexpr int kMost = 500;

constexpr std::array kFieldEvents{L"?",
                                  L"Refresh",
                                  L"Clear",
                                  L"Deleted",
                                  L"ReadValid",
                                  L"Connected",
                                  L"Disconnected",
                                  L"CommonValueChanged",
                                  L"SessionChanged",
                                  L"KeyFieldChanged"};
constexpr std::array kSessionEvents{
    L"?", L"Connection", L"ConnectionFailed", L"Disconnect", L"PropertyValue"};

template <std::size_t count, typename Event>
const wchar_t* NameOf(const std::array<const wchar_t*, count>& names, Event number) {
    const auto event = static_cast<DISPID>(number);
    const auto index = static_cast<std::size_t>(event);
    return names[event > 0 && index < count ? index : 0];
}

}  // namespace

EventWindow::EventWindow(const binding::KeyField& field, const Connection& connection) {
    Create(L"Events", {480, 300}, WS_OVERLAPPEDWINDOW, nullptr);
    const std::wstring& keyId = field.keyId();
    fieldEvents_ = binding::Listen(
        field.callback(),
        [this, keyId](binding::FieldEvent event, const binding::Arguments& arguments) {
            Add(keyId, NameOf(kFieldEvents, event), arguments);
        });
    sessionEvents_ =
        binding::Listen(connection.session().raw(),
                        [this](binding::SessionEvent event, const binding::Arguments& arguments) {
                            Add(kSession, NameOf(kSessionEvents, event), arguments);
                        });
}

void EventWindow::Build() {
    const HWND list = Window::Add(WC_LISTVIEWW,
                                  L"",
                                  LVS_REPORT | LVS_SINGLESEL | LVS_NOSORTHEADER | WS_TABSTOP,
                                  IDC_EVENT_LIST,
                                  {0, 0, 480, 300},
                                  kStretchRight | kStretchDown);
    ListView_SetExtendedListViewStyle(list, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
    struct Column {
        const wchar_t* heading;
        int width;
    };
    constexpr Column kColumns[] = {
        {L"No.", 50}, {L"Time", 90}, {L"Source", 70}, {L"Event", 130}, {L"Arguments", 120}};
    int index = 0;
    for (const Column& column : kColumns) {
        LVCOLUMNW header{};
        header.mask = LVCF_TEXT | LVCF_WIDTH;
        header.pszText = const_cast<wchar_t*>(column.heading);
        header.cx = Scaled(column.width);
        ListView_InsertColumn(list, index++, &header);
    }
}

void EventWindow::Add(const std::wstring& source,
                      const wchar_t* event,
                      const binding::Arguments& arguments) {
    const HWND list = item(IDC_EVENT_LIST);
    if (list == nullptr) {
        return;
    }
    SYSTEMTIME now{};
    GetLocalTime(&now);
    wchar_t time[32] = {};
    wsprintfW(time, L"%02u:%02u:%02u.%03u", now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
    std::wstring texts[] = {std::to_wstring(++number_), time, source, event, {}};
    for (UINT index = 0; index < arguments.count(); ++index) {
        texts[4] += (index == 0 ? L"" : L", ") + arguments.text(index);
    }
    if (count() >= kMost) {
        ListView_DeleteItem(list, 0);
    }
    LVITEMW line{};
    line.iItem = count();
    const int row = ListView_InsertItem(list, &line);
    for (int column = 0; column < static_cast<int>(ARRAYSIZE(texts)); ++column) {
        ListView_SetItemText(list, row, column, texts[column].data());
    }
    ListView_EnsureVisible(list, row, FALSE);
}

int EventWindow::count() const {
    return ListView_GetItemCount(item(IDC_EVENT_LIST));
}

// It stays for the next time.
bool EventWindow::MayClose() {
    ShowWindow(handle(), SW_HIDE);
    return false;
}

}  // namespace kel::form
