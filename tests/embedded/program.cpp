#include "tests/embedded/program.h"

#include <array>
#include <stdexcept>

#include "automation/server.h"

namespace kel::tests {
namespace {

constexpr UINT kKilled = 9;

// Beside the test programs, where the build puts the product.
Text DemoPath() {
    const Text program = automation::ModulePath();
    const Text tests = program.substr(0, program.find_last_of(L'\\'));
    return tests.substr(0, tests.find_last_of(L'\\') + 1) + L"bin\\demo.exe";
}

}  // namespace

Program::Program(const std::vector<Text>& arguments) {
    Text commandLine = L"\"" + DemoPath() + L"\"";
    for (const Text& argument : arguments) {
        commandLine += L" \"" + argument + L"\"";
    }
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    HANDLE childInput = nullptr;
    HANDLE childOutput = nullptr;
    CreatePipe(&childInput, &input_, &inherited, 0);
    CreatePipe(&output_, &childOutput, &inherited, 0);
    SetHandleInformation(input_, HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(output_, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = childInput;
    startup.hStdOutput = childOutput;
    startup.hStdError = childOutput;
    PROCESS_INFORMATION started{};
    const BOOL good = CreateProcessW(nullptr,
                                     commandLine.data(),
                                     nullptr,
                                     nullptr,
                                     TRUE,
                                     0,
                                     nullptr,
                                     nullptr,
                                     &startup,
                                     &started);
    CloseHandle(childInput);
    CloseHandle(childOutput);
    if (!good) {
        CloseHandle(input_);
        CloseHandle(output_);
        throw std::runtime_error("the demonstration program could not be started");
    }
    CloseHandle(started.hThread);
    process_ = started.hProcess;
}

Program::~Program() {
    kill();
    CloseHandle(process_);
    CloseHandle(input_);
    CloseHandle(output_);
}

std::optional<std::string> Program::readLine() {
    for (;;) {
        const std::size_t end = pending_.find('\n');
        if (end != std::string::npos) {
            const std::string line = pending_.substr(0, end);
            pending_.erase(0, end + 1);
            return line;
        }
        std::array<char, 4096> buffer{};
        DWORD read = 0;
        if (!ReadFile(output_, buffer.data(), buffer.size(), &read, nullptr) || read == 0) {
            return std::nullopt;
        }
        pending_.append(buffer.data(), read);
    }
}

void Program::kill() {
    TerminateProcess(process_, kKilled);
    WaitForSingleObject(process_, INFINITE);
}

DWORD Program::wait() {
    DWORD code = 0;
    WaitForSingleObject(process_, INFINITE);
    GetExitCodeProcess(process_, &code);
    return code;
}

}  // namespace kel::tests
