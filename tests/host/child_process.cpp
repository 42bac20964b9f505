#include "tests/host/child_process.h"

#include <cstdlib>
#include <stdexcept>

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace kel::test {

namespace {
constexpr char kVariable[] = "KEL_TEST_CHILD";
}

std::string ChildArgument() {
    const char* value = std::getenv(kVariable);
    return value == nullptr ? std::string() : std::string(value);
}

ChildProcess::~ChildProcess() {
    Kill();
}

#if defined(_WIN32)

ChildProcess::ChildProcess(const std::string& test, const std::string& argument) {
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    std::string command = "\"" + std::string(program) + "\" --gtest_also_run_disabled_tests " +
                          "--gtest_brief=1 --gtest_filter=" + test;
    SetEnvironmentVariableA(kVariable, argument.c_str());
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION information{};
    if (CreateProcessA(program,
                       command.data(),
                       nullptr,
                       nullptr,
                       FALSE,
                       0,
                       nullptr,
                       nullptr,
                       &startup,
                       &information) == 0) {
        throw std::runtime_error("no child process");
    }
    CloseHandle(information.hThread);
    process_ = reinterpret_cast<std::intptr_t>(information.hProcess);
}

void ChildProcess::Kill() {
    if (process_ != 0) {
        const auto handle = reinterpret_cast<HANDLE>(process_);
        TerminateProcess(handle, 9);
        WaitForSingleObject(handle, INFINITE);
        CloseHandle(handle);
        process_ = 0;
    }
}

bool ChildProcess::IsRunning() const {
    return process_ != 0 &&
           WaitForSingleObject(reinterpret_cast<HANDLE>(process_), 0) == WAIT_TIMEOUT;
}

#else

ChildProcess::ChildProcess(const std::string& test, const std::string& argument) {
    const std::string filter = "--gtest_filter=" + test;
    const char* arguments[] = {
        "child", "--gtest_also_run_disabled_tests", "--gtest_brief=1", filter.c_str(), nullptr};
    setenv(kVariable, argument.c_str(), 1);
    const pid_t child = fork();
    if (child == 0) {
        execv("/proc/self/exe", const_cast<char* const*>(arguments));
        _exit(127);
    }
    if (child < 0) {
        throw std::runtime_error("no child process");
    }
    process_ = child;
}

void ChildProcess::Kill() {
    if (process_ != 0) {
        kill(static_cast<pid_t>(process_), SIGKILL);
        waitpid(static_cast<pid_t>(process_), nullptr, 0);
        process_ = 0;
    }
}

bool ChildProcess::IsRunning() const {
    if (process_ != 0 && waitpid(static_cast<pid_t>(process_), nullptr, WNOHANG) != 0) {
        process_ = 0;
    }
    return process_ != 0;
}

#endif

}  // namespace kel::test
