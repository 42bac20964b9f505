// This program started again with pipes for its standard streams.
#include "apps/atlas/child_process.h"

#include <array>
#include <stdexcept>

#include "apps/binding/record_text.h"

namespace kel::atlas {
namespace {

// An argument as the usual rules of command lines read it back. The arguments of this program hold
// no quotation marks; a backslash counts only before one, so one at the end is doubled.
Text Quoted(const Text& argument) {
    const bool endsInBackslash = !argument.empty() && argument.back() == L'\\';
    return L'"' + argument + (endsInBackslash ? L"\\\"" : L"\"");
}

struct Pipe {
    Handle read;
    Handle write;
};

enum class ChildEnd { kRead, kWrite };

// A pipe of which the child inherits one end.
Pipe MakePipe(ChildEnd childEnd) {
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    if (!CreatePipe(&read, &write, nullptr, 0)) {
        throw std::runtime_error("no pipe to a second process");
    }
    Pipe pipe{Handle(read), Handle(write)};
    SetHandleInformation(
        childEnd == ChildEnd::kRead ? read : write, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    return pipe;
}

}  // namespace

Text ProgramPath() {
    std::array<wchar_t, 32768> path{};  // the longest path there is
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    return Text(path.data(), length);
}

ChildProcess::ChildProcess(const std::vector<Text>& arguments) {
    Text commandLine = Quoted(ProgramPath());
    for (const Text& argument : arguments) {
        commandLine += L' ' + Quoted(argument);
    }

    Pipe input = MakePipe(ChildEnd::kRead);
    Pipe output = MakePipe(ChildEnd::kWrite);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input.read.get();
    startup.hStdOutput = output.write.get();
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(nullptr,
                        commandLine.data(),
                        nullptr,
                        nullptr,
                        TRUE,
                        0,
                        nullptr,
                        nullptr,
                        &startup,
                        &started)) {
        throw std::runtime_error("the second process could not be started");
    }
    CloseHandle(started.hThread);
    process_.reset(started.hProcess);
    input_ = std::move(input.write);
    output_ = std::move(output.read);
    // The child's own ends close here, at the end of this scope: as long as this process held one,
    // it would never see the end of the child's output.
}

std::optional<Text> ChildProcess::ReadLine() {
    for (;;) {
        const std::size_t end = pending_.find('\n');
        if (end != std::string::npos) {
            const Text line = FromUtf8(std::string_view(pending_).substr(0, end));
            pending_.erase(0, end + 1);
            return line;
        }
        std::array<char, 4096> buffer{};
        DWORD read = 0;
        if (!ReadFile(output_.get(), buffer.data(), buffer.size(), &read, nullptr) || read == 0) {
            return std::nullopt;
        }
        pending_.append(buffer.data(), read);
    }
}

int ChildProcess::Wait() {
    DWORD exitCode = 0;
    WaitForSingleObject(process_.get(), INFINITE);
    GetExitCodeProcess(process_.get(), &exitCode);
    return static_cast<int>(exitCode);
}

ChildResult RunChild(const std::vector<Text>& arguments) {
    ChildProcess child(arguments);
    child.CloseInput();
    ChildResult result{};
    while (const std::optional<Text> line = child.ReadLine()) {
        result.lines.push_back(*line);
    }
    result.exitCode = child.Wait();
    return result;
}

}  // namespace kel::atlas
