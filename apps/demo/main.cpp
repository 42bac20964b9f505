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
// The sources are meant to be copied from. apps/binding calls the component and hears its events,
// controls.h is what a bound control does with them; the steps_*.cpp put them to use. Only public
// interfaces are used.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>

#include "apps/command_line/command_line.h"
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

long Count(const Text& text) {
    const auto number = WholeNumber(text);
    if (!number || *number < 0) {
        throw std::runtime_error(ToUtf8(text) + " is no count");
    }
    return *number;
}

int ShowAll(const std::vector<Text>& words) {
    const Text folder = words.size() == 2 ? FullPath(words.front()) : ListsFolder();
    if (!std::filesystem::is_directory(folder)) {
        PrintError(L"demo: there is no folder " + folder +
                   L" with the lists of the package iso-codes");
        return kFailed;
    }
    return Demonstrate(folder, FullPath(words.back()));
}

// The arguments after the program's name.
int Run(const std::vector<Text>& arguments) {
    constexpr int kAny = 1 << 20;
    // What each task takes, its account first.
    std::vector<std::string> words;
    CLI::App program;
    const auto task = [&](const char* name, int least, int most) {
        return program.add_option(name, words)->expected(least, most);
    };
    program.set_help_flag();
    program.require_option(1);
    task("lists-and-account", 1, 2);
    const CLI::Option* const read = task("--read", 2, kAny);
    const CLI::Option* const hold = task("--hold", 2, 2);
    const CLI::Option* const writer = task("--writer", 2, 3);
    const CLI::Option* const check = task("--check", 1, 3);
    try {
        command_line::Parse(program, arguments);
    } catch (const CLI::ParseError&) {
        PrintError(kUsage);
        return kFailed;
    }
    const std::vector<Text> given = command_line::Wide(words);
    const Text account = FullPath(given.front());
    const Text name = given.size() == 3 ? given[2] : L"W";
    if (read->count() > 0) {
        return ReadCountries(account, {given.begin() + 1, given.end()});
    }
    if (hold->count() > 0) {
        return HoldCountry(account, given[1]);
    }
    if (writer->count() > 0) {
        return RunWriter(account, Count(given[1]), name);
    }
    if (check->count() > 0) {
        return CheckWriter(account, given.size() > 1 ? Count(given[1]) : 0, name);
    }
    return ShowAll(given);
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
    } catch (const Error& error) {
        PrintError(L"demo: " + error.source() + L": " + error.description() + L" (" +
                   std::to_wstring(error.number()) + L")");
    } catch (const std::exception& error) {
        PrintError(L"demo: " + FromUtf8(error.what()));
    }
    return kFailed;
}
