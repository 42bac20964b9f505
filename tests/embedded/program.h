// The demonstration program as a second process that may be ended at any moment.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/support/values.h"

namespace kel::tests {

// The demonstration program with some arguments; its standard input and output are pipes held here.
class Program {
public:
    explicit Program(const std::vector<Text>& arguments);
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program();  // kills it

    // The next line of its output; empty at the end.
    std::optional<std::string> readLine();
    // Ends it without any chance to clean up; returns when it is gone.
    void kill();
    // Waits for its end; its exit code.
    DWORD wait();

private:
    HANDLE process_ = nullptr;
    HANDLE input_ = nullptr;
    HANDLE output_ = nullptr;
    std::string pending_;
};

}  // namespace kel::tests
