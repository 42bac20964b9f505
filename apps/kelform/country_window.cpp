// The main window: reading, leaving, and what its title and status line say.
#include "apps/kelform/country_window.h"

#include <algorithm>

#include "apps/atlas/iso_codes.h"
#include "apps/kelform/messages.h"
#include "apps/kelform/resource.h"

namespace kel::form {
namespace {

constexpr const wchar_t* kCountry = L"Country";

// Parts of the status line.
enum Part : WPARAM { kMessage, kLock, kPosition };

}  // namespace

CountryWindow::CountryWindow(Connection& connection)
    : connection_(connection),
      field_(connection.base(),
             kSession,
             kCountry,
             atlas::kCountries,
             {.toRecord = binding::ToRecord, .fromRecord = binding::FromRecord}),
      list_(connection),
      follower_(field_),
      events_(field_, connection) {
    const HMENU menu = LoadMenuW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDR_MENU));
    Create(L"Countries", {730, 560}, WS_OVERLAPPEDWINDOW, nullptr, menu);
    subscription_ = binding::Listen(
        field_.callback(),
        [this](binding::FieldEvent event, const binding::Arguments&) { Hear(event); });
    ShowState();
}

CountryWindow::~CountryWindow() {
    subscription_.end();
    Close();
}

void CountryWindow::Hear(binding::FieldEvent event) {
    if (event == binding::FieldEvent::kDisconnected) {
        Say(L"Disconnected.");
    }
    ShowState();
}

bool CountryWindow::isDirty() const {
    return field_.isChanged() ||
           std::any_of(values_.begin(), values_.end(), [](const auto& control) {
               return control->isEdited();
           });
}

bool CountryWindow::StoreAll() {
    for (const auto& control : values_) {
        if (!control->Finish()) {
            SetFocus(control->window());
            Say(control->error());
            MessageBeep(MB_ICONWARNING);
            return false;
        }
    }
    return true;
}

bool CountryWindow::MayLeave() {
    if (!connection_.isConnected() || !isDirty() || isReadOnly_) {
        return true;
    }
    const std::wstring question =
        L"Save the changes to " + (field_.id().empty() ? L"the new country" : field_.id()) + L"?";
    switch (
        MessageBoxW(handle(), question.c_str(), L"Countries", MB_YESNOCANCEL | MB_ICONQUESTION)) {
        case IDYES:
            return Save();
        case IDNO:
            field_.undo();
            return true;
        default:
            return false;
    }
}

bool CountryWindow::Read(const std::wstring& id) {
    // The code of a new country is typed like one to be looked up.
    const bool namesNew = field_.isNew() && field_.id().empty();
    if (!namesNew && !MayLeave()) {
        return false;
    }
    const bool wantsLock = SendMessageW(item(IDC_LOCK), BM_GETCHECK, 0, 0) == BST_CHECKED;
    const auto answer = field_.read(id, wantsLock);
    std::wstring holder;
    const bool isLocked = answer == binding::ReadAnswer::kLocked;
    if (isLocked) {
        std::wstring list;
        std::wstring messages;
        connection_.tools().Execute(L"LIST-READU", list, messages);
        holder = HolderIn(messages, field_.fileName(), id);
        field_.read(id, false);
    }
    SetReadOnly(isLocked);
    list_.Find(id);
    Say(ReadInWords(answer, id, field_.hasLock(), holder));
    ShowState();
    return true;
}

void CountryWindow::Select(const std::wstring& sentence) {
    if (!MayLeave()) {
        return;
    }
    if (!list_.Run(sentence)) {
        Say(list_.complaint().empty() ? L"Nothing was found." : list_.complaint());
        ShowState();
        return;
    }
    const auto first = list_.First();
    Read(*first);
    Say(list_.size() == 1 ? L"One country was found."
                          : std::to_wstring(list_.size()) + L" countries were found.");
}

void CountryWindow::SetReadOnly(bool value) {
    isReadOnly_ = value;
    for (const auto& control : values_) {
        wchar_t className[16] = {};
        GetClassNameW(control->window(), className, ARRAYSIZE(className));
        if (binding::SameName(className, L"Edit")) {
            SendMessageW(control->window(), EM_SETREADONLY, value ? TRUE : FALSE, 0);
        } else {
            EnableWindow(control->window(), !value || control.get() == rows_);
        }
    }
    rows_->setReadOnly(value);
}

void CountryWindow::Say(const std::wstring& text) {
    // One line; what the database says may have several.
    const std::wstring line = text.substr(0, text.find(L'\r'));
    SendMessageW(item(IDC_STATUS), SB_SETTEXTW, kMessage, reinterpret_cast<LPARAM>(line.c_str()));
}

std::wstring CountryWindow::status() const {
    std::wstring text(512, L'\0');
    SendMessageW(item(IDC_STATUS), SB_GETTEXTW, kMessage, reinterpret_cast<LPARAM>(text.data()));
    text.resize(std::wcslen(text.c_str()));
    return text;
}

// Title, lock and position, and which commands make sense now.
void CountryWindow::ShowState() {
    if (handle() == nullptr) {
        return;
    }
    if (!connection_.isConnected()) {
        SetWindowTextW(handle(), L"Countries \u2013 not connected");
        return;
    }
    const bool dirty = isDirty();
    const std::wstring id = field_.id();
    const std::wstring name = TextOf(item(IDC_NAME));
    std::wstring title = dirty ? L"*" : L"";
    if (!id.empty() || !name.empty()) {
        title += name + (id.empty() ? L" (no code yet)" : L" (" + id + L")") + L" \u2013 ";
    }
    title += L"Countries";
    if (TextOf(handle()) != title) {
        SetWindowTextW(handle(), title.c_str());
    }
    const wchar_t* const lock = isReadOnly_        ? L"Read only"
                                : field_.hasLock() ? L"Locked for you"
                                                   : L"Not locked";
    const HWND line = item(IDC_STATUS);
    SendMessageW(line, SB_SETTEXTW, kLock, reinterpret_cast<LPARAM>(lock));
    SendMessageW(line, SB_SETTEXTW, kPosition, reinterpret_cast<LPARAM>(list_.Position().c_str()));

    const struct {
        int id;
        bool makesSense;
    } commands[] = {
        {ID_SAVE, dirty && !isReadOnly_},
        {ID_UNDO, dirty},
        {ID_DELETE, field_.isRead() && !isReadOnly_},
        {ID_RELEASE, field_.hasLock()},
        {ID_ROW_INSERT, !isReadOnly_},
        {ID_ROW_EDIT, !isReadOnly_ && rows_->rowCount() > 0},
        {ID_ROW_REMOVE, !isReadOnly_ && rows_->rowCount() > 0},
    };
    for (const auto& command : commands) {
        EnableMenuItem(GetMenu(handle()),
                       static_cast<UINT>(command.id),
                       command.makesSense ? MF_ENABLED : MF_GRAYED);
        const HWND button = item(command.id);
        if (button != nullptr && (IsWindowEnabled(button) != FALSE) != command.makesSense) {
            if (GetFocus() == button) {
                SetFocus(item(IDC_KEY));  // a disabled button would keep the keyboard
            }
            EnableWindow(button, command.makesSense);
        }
    }
}

void CountryWindow::Arranged() {
    const HWND line = item(IDC_STATUS);
    SendMessageW(line, WM_SIZE, 0, 0);
    RECT client{};
    GetClientRect(line, &client);
    const int right = client.right;
    int edges[] = {right - Scaled(250), right - Scaled(120), -1};
    SendMessageW(line, SB_SETPARTS, ARRAYSIZE(edges), reinterpret_cast<LPARAM>(edges));
}

}  // namespace kel::form
