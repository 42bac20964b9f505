// What the command line asks for.
#pragma once

#include <map>
#include <optional>
#include <vector>

#include "automation/text.h"

namespace kel::kelsh {

using automation::Text;
using automation::TextView;

// Names of connection properties are looked up in any case.
struct AnyCaseLess {
    bool operator()(const Text& left, const Text& right) const {
        return automation::Lower(left) < automation::Lower(right);
    }
};
using Properties = std::map<Text, Text, AnyCaseLess>;

struct Options {
    enum class Task { kShell, kHelp, kVersion, kBackEnds, kProperties };

    Task task = Task::kShell;
    Text topic;                  // of --help
    Text session = L"Main";      // its name
    std::optional<short> os;     // number of the back-end
    Properties properties;       // as --set gave them
    bool connect = true;         // before the first command
    bool stopAtFailure = false;  // instead of going on and telling at the end
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
