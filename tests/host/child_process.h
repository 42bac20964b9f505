// Runs one disabled test of this very program in another process, to be killed at any moment.
#pragma once

#include <cstdint>
#include <string>

namespace kel::test {

class ChildProcess {
public:
    // `test` is a full test name; the child finds `argument` with ChildArgument().
    ChildProcess(const std::string& test, const std::string& argument);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();  // kills it

    void Kill();  // without any chance to clean up; returns when it is gone
    bool IsRunning() const;

private:
    mutable std::intptr_t process_ = 0;  // 0 when it is gone
};

std::string ChildArgument();

}  // namespace kel::test
