// A program that shows what the component does, step by step, and checks itself while doing so.
//
//   demo [ISO_CODES_FOLDER] ACCOUNT        the demonstration: fills the account with Debian's lists
//                                          of countries, currencies and languages, then works with
//                                          them; finds the lists by itself where it was installed
//   demo --read ACCOUNT ID ...             prints countries
//   demo --hold ACCOUNT ID                 locks a country until standard input ends
//   demo --writer ACCOUNT COUNT [NAME]     writes COUNT records; may be ended at any moment
//   demo --check ACCOUNT [AT-LEAST [NAME]] checks what the writer left
//
// ACCOUNT is the file of an embedded database; the first use makes it. Paths may be written with
// slashes. Exit code: 0 when everything was as expected, 1 when something was not, 2 when a record
// is locked by somebody else.
//
// The sources are meant to be copied from. client.h and dict_item.h call the component, listener.h
// hears its events, controls.h is what a bound control does with them; the steps_*.cpp put them to
// use. Only public interfaces are used.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>

#include "apps/demo/data.h"
#include "apps/demo/report.h"
#include "apps/demo/steps.h"
#include "apps/demo/sub_commands.h"

namespace kel::demo {
namespace {

constexpr const wchar_t* kUsage =
    L"usage: demo [ISO_CODES_FOLDER] ACCOUNT\n"
    L"       demo --read ACCOUNT ID ...\n"
    L"       demo --hold ACCOUNT ID\n"
    L"       demo --writer ACCOUNT COUNT [NAME]\n"
    L"       demo --check ACCOUNT [AT-LEAST [NAME]]";

// COM for the life of this object; everything that came from it must be gone before.
class Apartment {
public:
    Apartment() { automation::Check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
    ~Apartment() { CoUninitialize(); }
};

// The path in full. One that begins with a slash lies on the current drive or, where a Unix system
// shows its own root as a drive, on drive Z.
Text FullPath(const Text& path) {
    std::error_code ignored;
    const auto known = [&](const std::filesystem::path& full) {
        return std::filesystem::exists(full, ignored) ||
               std::filesystem::exists(full.parent_path(), ignored);
    };
    const auto full = std::filesystem::absolute(path, ignored).make_preferred();
    const auto onRoot = std::filesystem::path(L"Z:" + path).make_preferred();
    return path.starts_with(L'/') && !known(full) && known(onRoot) ? onRoot.wstring()
                                                                   : full.wstring();
}

long Number(const Text& text) {
    wchar_t* end = nullptr;
    const long number = std::wcstol(text.c_str(), &end, 10);
    if (text.empty() || *end != L'\0' || number < 0) {
        throw std::runtime_error(ToUtf8(text) + " is no count");
    }
    return number;
}

// The arguments after the program's name.
int Run(const std::vector<Text>& arguments) {
    const std::size_t count = arguments.size();
    const Text command = count > 0 ? arguments[0] : Text();
    const Text account = count > 1 ? FullPath(arguments[1]) : Text();
    if (command == L"--read" && count >= 3) {
        return ReadCountries(account, {arguments.begin() + 2, arguments.end()});
    }
    if (command == L"--hold" && count == 3) {
        return HoldCountry(account, arguments[2]);
    }
    if (command == L"--writer" && (count == 3 || count == 4)) {
        return RunWriter(account, Number(arguments[2]), count == 4 ? arguments[3] : L"W");
    }
    if (command == L"--check" && count >= 2 && count <= 4) {
        return CheckWriter(
            account, count >= 3 ? Number(arguments[2]) : 0, count == 4 ? arguments[3] : L"W");
    }
    if ((count == 1 || count == 2) && !command.starts_with(L"--")) {
        const Text folder = count == 2 ? FullPath(command) : ListsFolder();
        if (!std::filesystem::is_directory(folder)) {
            PrintError(L"demo: there is no folder " + folder +
                       L" with the lists of the package iso-codes");
            return kFailed;
        }
        return Demonstrate(folder, FullPath(arguments.back()));
    }
    PrintError(kUsage);
    return kFailed;
}

}  // namespace
}  // namespace kel::demo

int wmain(int count, wchar_t** arguments) {
    using namespace kel::demo;
    // No DLL comes from the current directory or the search path.
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    // Output is UTF-8 with plain line ends, to a console as well as to a file.
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    try {
        const Apartment apartment;
        return Run({arguments + 1, arguments + count});
    } catch (const kel::automation::Error& error) {
        PrintError(L"demo: " + error.source() + L": " + error.description() + L" (" +
                   std::to_wstring(error.number()) + L")");
    } catch (const std::exception& error) {
        PrintError(L"demo: " + FromUtf8(error.what()));
    }
    return kFailed;
}
