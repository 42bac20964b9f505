// A program's command line, read by the command line library. Included by one source of a program
// only, since the library is long to compile.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <string>
#include <vector>

#include "apps/binding/text.h"

namespace kel::command_line {

// Reads the arguments behind the program's name. The library knows narrow text only, so they pass
// through it as UTF-8, whatever the system's own character set.
//   throws  CLI::ParseError, whose what() is in UTF-8
inline void Parse(CLI::App& program, const std::vector<std::wstring>& arguments) {
    std::vector<std::string> lastFirst;
    for (auto argument = arguments.rbegin(); argument != arguments.rend(); ++argument) {
        lastFirst.push_back(binding::ToUtf8(*argument));
    }
    program.allow_windows_style_options(false);  // a path may begin with a slash
    program.parse(std::move(lastFirst));
}

inline std::vector<std::wstring> Wide(const std::vector<std::string>& texts) {
    std::vector<std::wstring> wide;
    for (const std::string& text : texts) {
        wide.push_back(binding::FromUtf8(text));
    }
    return wide;
}

}  // namespace kel::command_line
