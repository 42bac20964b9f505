// A form over a multivalue database: windows bound to the fields of a record by the component.
//
// The sources are meant to be read and copied from. apps/binding ties window controls to
// dictionary items; connection.cpp answers what a back-end wants to know; country_*.cpp are the
// form. Only the component's published interfaces are used.
#include <windows.h>

#include <shellapi.h>

#include <cstdio>
#include <exception>

#include "apps/atlas/iso_codes.h"
#include "apps/binding/back_end.h"
#include "apps/kelform/connect_window.h"
#include "apps/kelform/country_window.h"
#include "apps/kelform/messages.h"
#include "apps/kelform/options.h"
#include "apps/kelform/selftest.h"

namespace kel::form {
namespace {

// Exit code beside 0 and 1: nothing could be shown.
constexpr int kNoScreen = 3;
constexpr const wchar_t* kEverything = L"SSELECT COUNTRIES";
constexpr const wchar_t* kReader = L"Reader";  // key field of the modes without windows

void RequireConnection(Connection& connection) {
    if (!connection.Connect()) {
        throw binding::Error(
            NotConnected, L"kelform", ConnectionFailureInWords(connection.failure()));
    }
}

int Print(Connection& connection, const std::wstring& id) {
    RequireConnection(connection);
    binding::KeyField field(connection.base(), kSession, kReader, atlas::kCountries);
    if (field.read(id, false) != binding::ReadAnswer::kFound) {
        PrintLine(id + L": no such country");
        return 1;
    }
    const binding::Tools tools = connection.tools();
    for (long amc = 1; amc <= atlas::kCountryMember; ++amc) {
        PrintLine(std::to_wstring(amc) + L" " + binding::Readable(tools.Extract(kReader, amc)));
    }
    return 0;
}

int Hold(Connection& connection, const std::wstring& id) {
    RequireConnection(connection);
    binding::KeyField field(connection.base(), kSession, kReader, atlas::kCountries);
    const bool isHeld = field.read(id, true) != binding::ReadAnswer::kLocked;
    PrintLine((isHeld ? L"held " : L"locked ") + id);
    while (isHeld && std::getchar() != EOF) {
    }
    return isHeld ? 0 : 2;
}

int RunForm(Connection& connection, const Options& options) {
    if (options.isDatabaseGiven) {
        RequireConnection(connection);
    } else if (!ConnectWindow(connection, nullptr).Ask()) {
        return 0;
    }
    connection.Prepare(options.lists);
    CountryWindow window(connection);
    window.onConnection([&] {
        if (ConnectWindow(connection, window.handle()).Ask()) {
            connection.Prepare(options.lists);
            window.Select(kEverything);
        }
    });
    window.Open();
    window.Select(kEverything);
    if (!options.key.empty()) {
        window.Read(options.key);
    }
    MSG message{};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        Dispatch(message);
    }
    return 0;
}

int Run(const Options& options) {
    if (options.isSelfTest) {
        return SelfTest(options);
    }
    Connection connection(binding::kEmbedded);
    connection.set(L"Database", options.database);
    connection.set(L"User", options.user);
    if (!options.print.empty()) {
        return Print(connection, options.print);
    }
    if (!options.hold.empty()) {
        return Hold(connection, options.hold);
    }
    return RunForm(connection, options);
}

}  // namespace
}  // namespace kel::form

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    using namespace kel::form;
    // No DLL comes from the current directory or the search path.
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    const INITCOMMONCONTROLSEX classes{
        sizeof classes, ICC_STANDARD_CLASSES | ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES};
    InitCommonControlsEx(&classes);
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    const std::vector<std::wstring> arguments(words + 1, words + count);
    LocalFree(words);
    std::wstring failure;
    Options options;
    try {
        const kel::binding::Apartment apartment;
        options = ParseOptions(arguments);
        return Run(options);
    } catch (const NoScreen& none) {
        PrintLine(kel::binding::FromUtf8(none.what()));
        return kNoScreen;
    } catch (const std::exception&) {
        failure = CurrentFailureInWords();
    }
    if (options.print.empty() && options.hold.empty() && !options.isSelfTest) {
        MessageBoxW(nullptr, failure.c_str(), L"Countries", MB_ICONERROR);
    } else {
        PrintLine(failure);
    }
    return 1;
}
