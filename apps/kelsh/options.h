// What the command line asks for.
#pragma once

#include <optional>
#include <vector>

#include "apps/binding/connector.h"

namespace kel::kelsh {

using binding::Text;
using binding::TextView;

struct Options {
    enum class Task { kShell, kHelp, kVersion, kBackEnds, kProperties };

    Task task = Task::kShell;
    Text topic;                      // of --help
    Text session = L"Main";          // its name
    std::optional<short> os;         // number of the back-end
    binding::Properties properties;  // as --set gave them
    bool connect = true;             // before the first command
    bool stopAtFailure = false;      // instead of going on and telling at the end
    bool pages = true;
    std::vector<Text> commands;   // of --command, in order
    Text file;                    // a file of commands or a script, with ...
    std::vector<Text> arguments;  // ... what follows it
};

// A command line that makes no sense; the text says why.
struct UsageError {
    Text text;
};

// The arguments behind the program's name. Throws UsageError.
Options ParseOptions(const std::vector<Text>& given);

}  // namespace kel::kelsh
