// Running this program a second time, as somebody else at the database.
#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/binding/record_text.h"

namespace kel::atlas {

using namespace binding;  // NOLINT(google-build-using-namespace): the kit below

// The path of this program.
Text ProgramPath();

struct HandleCloser {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, HandleCloser>;

// This program with other arguments; its standard input and output are pipes held here.
class ChildProcess {
public:
    //   throws  std::runtime_error when it cannot be started
    explicit ChildProcess(const std::vector<Text>& arguments);

    // The next line of its output; empty at the end.
    std::optional<Text> ReadLine();
    // Ends its standard input: a process that waits for this goes on.
    void CloseInput() { input_.reset(); }
    // Its exit code, once it has ended.
    int Wait();

private:
    Handle input_;
    Handle output_;
    Handle process_;
    std::string pending_;
};

struct ChildResult {
    int exitCode;
    std::vector<Text> lines;
};

// Runs it to its end, with an empty standard input.
ChildResult RunChild(const std::vector<Text>& arguments);

}  // namespace kel::atlas
