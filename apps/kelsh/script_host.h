// Running VBScript and JScript files with the session at hand and its events delivered.
#pragma once

#include <vector>

#include "apps/kelsh/connection.h"
#include "apps/kelsh/terminal.h"

namespace kel::kelsh {

struct ScriptResult {
    bool good = false;  // it ran to its end (or its Quit) and no event procedure failed
    bool quit = false;  // it called Quit, with ...
    int exitCode = 0;   // ... this
};

// Runs a script with the objects kel (the root object), session, tools and WScript; Echo, Quit,
// ConnectObject and Arguments can be called without WScript too. Procedures named after an event
// source hear its events: session_Connection, or NAME_Refresh for the key field NAME. Errors are
// told with file and line.
ScriptResult RunScriptFile(const Text& path,
                           const std::vector<Text>& arguments,
                           Connection& connection,
                           Terminal& terminal);

}  // namespace kel::kelsh
