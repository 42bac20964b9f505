// What the form is put through, step by step, and what must come of it.
#include "apps/kelform/selftest.h"

#include <cstdio>
#include <filesystem>

#include "apps/atlas/child_process.h"
#include "apps/kelform/camera.h"
#include "apps/kelform/connect_window.h"
#include "apps/kelform/country_window.h"
#include "apps/kelform/hand.h"
#include "apps/kelform/messages.h"
#include "apps/kelform/resource.h"

namespace kel::form {
namespace {

class Checks {
public:
    void Same(const wchar_t* what, const std::wstring& actual, const std::wstring& expected) {
        Note(actual == expected, what, L"\"" + actual + L"\", expected \"" + expected + L"\"");
    }
    void Holds(const wchar_t* what, bool holds, const std::wstring& detail = {}) {
        Note(holds, what, detail);
    }
    int Finish() const {
        PrintLine(std::to_wstring(passed_) + L" passed, " + std::to_wstring(failed_) + L" failed");
        return failed_ == 0 ? 0 : 1;
    }

private:
    void Note(bool good, const wchar_t* what, const std::wstring& detail) {
        ++(good ? passed_ : failed_);
        PrintLine((good ? L"ok    " : L"FAIL  ") + std::wstring(what) +
                  (good ? L"" : L": " + detail));
    }

    int passed_ = 0;
    int failed_ = 0;
};

// An account in the folder for temporary files, gone afterwards.
class ScratchAccount {
public:
    ScratchAccount()
        : path_(std::filesystem::temp_directory_path() /
                (L"kelform-" + std::to_wstring(GetCurrentProcessId()) + L".kel")) {}
    ScratchAccount(const ScratchAccount&) = delete;
    ScratchAccount& operator=(const ScratchAccount&) = delete;
    ~ScratchAccount() {
        std::error_code ignored;
        for (const wchar_t* end : {L"", L"-wal", L"-shm", L"-locks", L"-sessions"}) {
            std::filesystem::remove(path_.wstring() + end, ignored);
        }
    }
    std::wstring path() const { return path_.wstring(); }

private:
    const std::filesystem::path path_;
};

// Attribute `amc` of a country, as a second process reads it.
std::wstring Elsewhere(const std::wstring& account, const std::wstring& id, std::size_t amc) {
    const auto result = atlas::RunChild({L"--database", account, L"--print", id});
    const std::wstring number = std::to_wstring(amc) + L" ";
    return result.lines.size() >= amc && result.lines[amc - 1].starts_with(number)
               ? result.lines[amc - 1].substr(number.size())
               : L"(nothing)";
}

std::wstring Cell(HWND list, int row, int column) {
    wchar_t text[256] = {};
    ListView_GetItemText(list, row, column, text, ARRAYSIZE(text));
    return text;
}

// Looks at a window: takes its picture and sees whether its texts have room.
void Look(Checks& checks, const Camera& camera, HWND window, const wchar_t* name) {
    Pump();
    camera.Take(window, name);
    std::wstring cut;
    for (const std::wstring& text : CutTexts(window)) {
        cut += L" [" + text + L"]";
    }
    checks.Holds((L"every text has room: " + std::wstring(name)).c_str(), cut.empty(), cut);
}

void TryConnecting(Checks& checks, const Camera& camera, Connection& connection) {
    ConnectWindow window(connection, nullptr);
    window.Open();
    Look(checks, camera, window.handle(), L"connect");
    int id = IDC_PROPERTY;
    bool shown = !connection.properties().empty();
    for (const Property& property : connection.properties()) {
        shown =
            shown && TextOf(window.item(id++)) == property.value && !property.description.empty();
    }
    checks.Holds(L"the connection window has the back-end's properties", shown);
    const std::wstring path = connection.properties().front().value;
    Type(window.item(IDC_PROPERTY), L"");
    SetWindowTextW(window.item(IDC_PROPERTY), L"Q:\\no such folder\\account");
    window.Try();
    checks.Holds(L"a wrong path is explained and the window stays",
                 window.handle() != nullptr && !TextOf(window.item(IDC_MESSAGE)).empty() &&
                     TextOf(window.item(IDC_MESSAGE)).find(L"0x") == std::wstring::npos);
    Look(checks, camera, window.handle(), L"connect-refused");
    SetWindowTextW(window.item(IDC_PROPERTY), path.c_str());
    Press(VK_RETURN);
    checks.Holds(L"Enter connects and closes it",
                 window.handle() == nullptr && connection.isConnected());
}

void TryReading(Checks& checks, const Camera& camera, CountryWindow& window) {
    Type(window.item(IDC_KEY), L"ch");
    Press(VK_TAB);
    checks.Same(L"a code and Tab read the country", TextOf(window.item(IDC_NAME)), L"Switzerland");
    checks.Same(L"the status line says so", window.status(), L"CH found and locked for you.");
    checks.Same(
        L"the title names it", TextOf(window.handle()), L"Switzerland (CH) \u2013 Countries");
    checks.Holds(L"26 subdivisions are listed", window.rows().rowCount() == 26);
    checks.Same(L"letters that look like marks come back",
                Cell(window.item(IDC_ROWS), 25, 1),
                L"Z\u00FCrich");
    const struct {
        const wchar_t* what;
        int id;
        const wchar_t* expected;
    } fields[] = {
        {L"a converted field", IDC_AREA, L"41,285"},
        {L"a larger one", IDC_POPULATION, L"8,900,000"},
        {L"a field translated from another file", IDC_CURRENCY_NAME, L"Swiss Franc"},
        {L"a choice", IDC_CONTINENT, L"Europe"},
    };
    for (const auto& field : fields) {
        checks.Same(field.what, TextOf(window.item(field.id)), field.expected);
    }
    checks.Holds(L"a default is shown", !TextOf(window.item(IDC_CHECKED)).empty());
    checks.Holds(L"a check box",
                 SendMessageW(window.item(IDC_MEMBER), BM_GETCHECK, 0, 0) == BST_CHECKED);
    Look(checks, camera, window.handle(), L"country");
}

void TryTyping(Checks& checks,
               const Camera& camera,
               CountryWindow& window,
               const std::wstring& account) {
    const HWND name = window.item(IDC_NAME);
    Type(name, L"Helv");
    checks.Same(
        L"the follower follows every keystroke", TextOf(window.follower().item(IDC_NAME)), L"Helv");
    Type(window.follower().item(IDC_NAME), L"Helvetia");
    checks.Same(L"and is followed", TextOf(name), L"Helvetia");
    camera.Take(GetDesktopWindow(), L"all");
    checks.Same(
        L"the title marks the change", TextOf(window.handle()), L"*Helvetia (CH) \u2013 Countries");
    SetFocus(name);
    Press(VK_TAB);
    checks.Holds(L"Tab goes on to the official name", GetFocus() == window.item(IDC_OFFICIAL));

    Type(window.item(IDC_AREA), L"41,300");
    Press(VK_TAB);
    Type(window.item(IDC_CURRENCY), L"QQQ");
    Press(VK_TAB);
    checks.Same(L"the validation program refuses an unknown currency",
                window.status(),
                L"There is no currency with this code.");
    Look(checks, camera, window.handle(), L"country-refused");
    Look(checks, camera, window.follower().handle(), L"follower");
    Type(window.item(IDC_CURRENCY), L"EUR");
    Press(VK_TAB);
    checks.Same(L"and takes a known one", TextOf(window.item(IDC_CURRENCY_NAME)), L"Euro");
    Choose(window.item(IDC_CONTINENT), 0);

    Press('S', VK_CONTROL);
    checks.Same(L"Ctrl+S saves", window.status(), L"CH is saved.");
    checks.Same(L"a second process reads the name", Elsewhere(account, L"CH", 1), L"Helvetia");
    checks.Same(L"the number as stored", Elsewhere(account, L"CH", 12), L"41300");
    checks.Same(L"the choice as stored", Elsewhere(account, L"CH", 10), L"AF");
    checks.Holds(L"the default as stored", Elsewhere(account, L"CH", 14).size() == 5);
}

void TryRows(Checks& checks, const Camera& camera, CountryWindow& window) {
    binding::RowsControl& rows = window.rows();
    const HWND list = window.item(IDC_ROWS);
    ListView_SetItemState(list, 1, LVIS_SELECTED, LVIS_SELECTED);
    Press('I', VK_CONTROL);
    Type(rows.editWindow(), L"CH-AA");
    Press(VK_TAB);
    Type(rows.editWindow(), L"Neuenstadt");
    Look(checks, camera, window.handle(), L"country-rows");
    Press(VK_RETURN);
    checks.Holds(L"a row is inserted", rows.rowCount() == 27 && rows.editWindow() == nullptr);
    checks.Same(
        L"and holds what was typed", Cell(list, 1, 0) + Cell(list, 1, 1), L"CH-AANeuenstadt");
    checks.Same(L"the others moved down", Cell(list, 2, 2), L"Canton");
    checks.Same(
        L"the follower shows it", Cell(window.follower().item(IDC_ROWS), 1, 1), L"Neuenstadt");
    Press('R', VK_CONTROL);
    checks.Holds(L"a row is removed", rows.rowCount() == 26);
    rows.Edit(0, 1);
    Type(rows.editWindow(), L"Elsewhere");
    Press(VK_ESCAPE);
    checks.Holds(L"Escape leaves a cell as it was", Cell(list, 0, 1) != L"Elsewhere");
    Press('U', VK_CONTROL);
    checks.Same(L"Undo takes all back", window.status(), L"CH is as it was.");
}

void TryPaging(Checks& checks, CountryWindow& window) {
    Type(window.item(IDC_FIND_TEXT), L"land");
    Press(VK_RETURN);
    const std::wstring found = window.status();
    checks.Holds(
        L"Find runs a selection", found.find(L"countries were found") != std::wstring::npos, found);
    const std::wstring first = window.field().id();
    Press(VK_NEXT, VK_CONTROL);
    checks.Holds(L"Next goes on", window.field().id() > first, window.field().id());
    Press(VK_PRIOR, VK_CONTROL);
    checks.Same(L"Previous comes back", window.field().id(), first);
    Press(VK_END, VK_CONTROL);
    Press(VK_NEXT, VK_CONTROL);
    checks.Same(L"behind the last is none", window.status(), L"This is the last one.");
    Type(window.item(IDC_FIND_TEXT), L"WITH NONSENSE");
    Press(VK_RETURN);
    checks.Holds(L"a mistake in a selection is explained",
                 window.status().find(L"NONSENSE") != std::wstring::npos,
                 window.status());
}

void TryNewAndDelete(Checks& checks,
                     const Camera& camera,
                     CountryWindow& window,
                     const std::wstring& account) {
    Press('N', VK_CONTROL);
    Type(window.item(IDC_NAME), L"Utopia");
    Press('S', VK_CONTROL);
    checks.Same(L"a new country needs a code",
                window.status(),
                L"A new country needs a code before it can be saved.");
    Type(window.item(IDC_KEY), L"ZZ");
    Press(VK_TAB);
    checks.Same(L"a new code keeps what was typed", TextOf(window.item(IDC_NAME)), L"Utopia");
    Press('S', VK_CONTROL);
    checks.Same(L"it is stored", Elsewhere(account, L"ZZ", 1), L"Utopia");
    AnswerNext(IDOK, [&](HWND box) { camera.Take(box, L"delete"); });
    Press('D', VK_CONTROL);
    checks.Same(L"it is deleted", window.status(), L"ZZ is deleted.");
    checks.Same(L"for everybody", Elsewhere(account, L"ZZ", 1), L"(nothing)");
}

void TryLock(Checks& checks,
             const Camera& camera,
             CountryWindow& window,
             const std::wstring& account) {
    atlas::ChildProcess other({L"--database", account, L"--user", L"anna", L"--hold", L"AT"});
    checks.Same(L"another process locks AT", other.ReadLine().value_or(L""), L"held AT");
    window.Read(L"AT");
    checks.Holds(L"the form tells that it is locked, and by whom",
                 window.status().starts_with(L"AT is locked by") &&
                     window.status().find(L"anna") != std::wstring::npos,
                 window.status());
    checks.Same(L"and shows it nevertheless", TextOf(window.item(IDC_NAME)), L"Austria");
    checks.Holds(L"for reading only",
                 (GetWindowLongW(window.item(IDC_NAME), GWL_STYLE) & ES_READONLY) != 0);
    Look(checks, camera, window.handle(), L"country-locked");
    other.CloseInput();
    other.Wait();
    window.Read(L"AT");
    Press('L', VK_CONTROL);
    checks.Same(L"Release gives the lock up", window.status(), L"AT is free for others.");
}

}  // namespace

void PrintLine(const std::wstring& text) {
    const std::string line = binding::ToUtf8(text) + "\n";
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE),
              line.data(),
              static_cast<DWORD>(line.size()),
              &written,
              nullptr);
}

int SelfTest(const Options& options) {
    constexpr short kBackEnd = 1;
    Checks checks;
    const Camera camera(options.pictures);
    const ScratchAccount account;
    Connection connection(kBackEnd);
    connection.set(L"Database", account.path());
    TryConnecting(checks, camera, connection);
    if (connection.isConnected()) {
        connection.Prepare(options.lists);
        CountryWindow window(connection);
        window.Open();
        Press(VK_F7);
        Press(VK_F8);
        checks.Holds(L"F7 and F8 open the other windows",
                     IsWindowVisible(window.follower().handle()) &&
                         IsWindowVisible(window.events().handle()));
        TryReading(checks, camera, window);
        TryTyping(checks, camera, window, account.path());
        TryRows(checks, camera, window);
        TryPaging(checks, window);
        TryNewAndDelete(checks, camera, window, account.path());
        TryLock(checks, camera, window, account.path());
        checks.Holds(L"the third window has listed the events",
                     window.events().count() > 50,
                     std::to_wstring(window.events().count()));
        Look(checks, camera, window.events().handle(), L"events");
    }
    return checks.Finish();
}

}  // namespace kel::form
