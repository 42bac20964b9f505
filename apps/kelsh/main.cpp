// kelsh: a console shell over the component's public automation interfaces. "kelsh --help" teaches
// it.
#include <windows.h>

#include <exception>

#include "apps/kelsh/help.h"
#include "apps/kelsh/shell.h"
#include "apps/kelsh/text.h"

namespace kel::kelsh {

void PrintBackEnds(Terminal& terminal) {
    for (const binding::BackEnd& one : binding::BackEnds()) {
        terminal.Print(std::to_wstring(one.number) + L"  " + one.description + L" (" + one.version +
                       L")");
    }
}

bool PrintProperties(Terminal& terminal, short number) {
    try {
        for (const binding::PropertyInfo& one :
             binding::PropertiesOf(*binding::CreateBackEnd(number))) {
            terminal.Print(one.name + (one.isObject ? L" (object)" : L"") +
                           (one.fallback.empty() ? Text() : L" [" + one.fallback + L"]") + L": " +
                           one.description);
        }
        return true;
    } catch (const binding::Error& error) {
        terminal.Complain(L"kelsh: back-end " + std::to_wstring(number) + L": " +
                          error.description());
        return false;
    }
}

namespace {

int Run(const Options& options, Terminal& terminal) {
    if (options.task == Options::Task::kHelp) {
        const Text text = HelpOn(options.topic);
        if (text.empty()) {
            throw UsageError{L"there is no help on " + options.topic};
        }
        terminal.Print(text);
        return Shell::kGood;
    }
    const binding::Apartment apartment;
    switch (options.task) {
        case Options::Task::kVersion:
            terminal.Print(L"kelSDK " + binding::Base().Version());
            return Shell::kGood;
        case Options::Task::kBackEnds:
            PrintBackEnds(terminal);
            return Shell::kGood;
        case Options::Task::kProperties:
            return PrintProperties(terminal, *options.os) ? Shell::kGood : Shell::kFailed;
        default:
            return Shell(options, terminal).Run();
    }
}

}  // namespace
}  // namespace kel::kelsh

int wmain(int count, wchar_t** arguments) {
    using namespace kel::kelsh;
    // DLLs come from this program's and the system's folders, never from the current one.
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    Terminal terminal;
    try {
        return Run(ParseOptions({arguments + 1, arguments + count}), terminal);
    } catch (const UsageError& error) {
        terminal.Complain(L"kelsh: " + error.text + L"\nkelsh --help tells how it is used");
        return Shell::kUsage;
    } catch (const kel::binding::Error& error) {
        terminal.Complain(L"kelsh: " + error.description() + L" (" +
                          std::to_wstring(error.number()) + L", " + error.source() + L")");
    } catch (const std::exception& error) {
        terminal.Complain(L"kelsh: " + kel::kelsh::FromUtf8(error.what()));
    }
    return Shell::kFailed;
}
