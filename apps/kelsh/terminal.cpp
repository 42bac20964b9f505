// Consoles by the platform's functions, pipes and files as bytes.
#include "apps/kelsh/terminal.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kel::kelsh {

using binding::FromUtf8;
using binding::ToUtf8;

namespace {

bool IsConsole(HANDLE handle) {
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != 0;
}

}  // namespace

Terminal::Terminal()
    : input_(GetStdHandle(STD_INPUT_HANDLE)),
      output_(GetStdHandle(STD_OUTPUT_HANDLE)),
      errors_(GetStdHandle(STD_ERROR_HANDLE)),
      inputIsConsole_(IsConsole(input_)),
      outputIsConsole_(IsConsole(output_)),
      errorsAreConsole_(IsConsole(errors_)) {}

std::optional<Text> Terminal::Ask(TextView prompt) {
    if (inputIsConsole_) {
        Write(output_, outputIsConsole_, prompt);
        return ReadConsoleLine();
    }
    return ReadPipeLine();
}

std::optional<Text> Terminal::ReadLine(TextView prompt) {
    std::optional<Text> line = Ask(prompt);
    if (line && !line->empty()) {
        history_.push_back(*line);
    }
    return line;
}

std::optional<Text> Terminal::ReadConsoleLine() {
    Text line;
    std::array<wchar_t, 1024> buffer{};
    for (;;) {
        DWORD read = 0;
        if (!ReadConsoleW(input_, buffer.data(), buffer.size(), &read, nullptr) || read == 0) {
            return std::nullopt;
        }
        line.append(buffer.data(), read);
        if (line.starts_with(L'\x1A')) {  // Ctrl+Z, the end of input
            return std::nullopt;
        }
        if (line.ends_with(L'\n')) {
            line.erase(line.find_last_not_of(L"\r\n") + 1);
            return line;
        }
    }
}

std::optional<Text> Terminal::ReadPipeLine() {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    std::size_t end = 0;
    while ((end = pending_.find('\n')) == std::string::npos && !ended_) {
        std::array<char, 4096> buffer{};
        DWORD read = 0;
        ended_ = !ReadFile(input_, buffer.data(), buffer.size(), &read, nullptr) || read == 0;
        pending_.append(buffer.data(), read);
    }
    if (pending_.empty()) {
        return std::nullopt;
    }
    std::string line = pending_.substr(0, end);
    pending_.erase(0, end == std::string::npos ? end : end + 1);
    if (std::exchange(atStart_, false) && line.starts_with(kByteOrderMark)) {
        line.erase(0, kByteOrderMark.size());
    }
    if (line.ends_with('\r')) {
        line.pop_back();
    }
    return FromUtf8(line);
}

void Terminal::Write(HANDLE handle, bool isConsole, TextView text) {
    constexpr std::size_t kOnce = 8000;  // the console takes no more than 64 KB at a time
    DWORD written = 0;
    if (!isConsole) {
        const std::string bytes = ToUtf8(text);
        WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
        return;
    }
    for (std::size_t at = 0; at < text.size(); at += kOnce) {
        const TextView part = text.substr(at, kOnce);
        WriteConsoleW(handle, part.data(), static_cast<DWORD>(part.size()), &written, nullptr);
    }
}

void Terminal::PrintBytes(std::string_view bytes) {
    DWORD written = 0;
    WriteFile(output_, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void Terminal::Print(TextView text) {
    Write(output_, outputIsConsole_, Text(text) + L"\n");
}

Terminal::Page Terminal::PageSize() const {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!pages_ || !inputIsConsole_ || !GetConsoleScreenBufferInfo(output_, &info)) {
        return {};
    }
    // One row is for the question.
    const int rows = info.srWindow.Bottom - info.srWindow.Top;
    const int columns = info.srWindow.Right - info.srWindow.Left + 1;
    return {static_cast<std::size_t>(std::max(rows, 0)),
            static_cast<std::size_t>(std::max(columns, 1))};
}

void Terminal::PrintPaged(TextView text) {
    const Page page = PageSize();
    if (page.rows == 0) {
        Print(text);
        return;
    }
    std::size_t shown = 0;
    for (;;) {
        const std::size_t end = text.find(L'\n');
        const TextView line = text.substr(0, end);
        const std::size_t rows = 1 + (line.empty() ? 0 : line.size() - 1) / page.columns;
        if (shown != 0 && shown + rows > page.rows) {
            const auto answer = Ask(L"-- Enter: next page, q: enough -- ");
            if (!answer || *answer == L"q" || *answer == L"Q") {
                return;
            }
            shown = 0;
        }
        Print(line);
        shown += rows;
        if (end == TextView::npos) {
            return;
        }
        text.remove_prefix(end + 1);
    }
}

void Terminal::Complain(TextView text) {
    ShowProgress({});
    Write(errors_, errorsAreConsole_, Text(text) + L"\n");
}

void Terminal::ShowProgress(TextView text) {
    if (!errorsAreConsole_ || (text.empty() && progressWidth_ == 0)) {
        return;
    }
    Text line = L"\r" + Text(text);
    line.resize(std::max(line.size(), progressWidth_ + 1), L' ');
    Write(errors_, true, line + (text.empty() ? L"\r" : L""));
    progressWidth_ = text.size();
}

}  // namespace kel::kelsh
