// The diagnostic log and the settings that steer it. The log's rule, oddity included: the value
// "LogLevel" is both the lowest level written and the path of the file.
#include "core/log.h"

#include <gtest/gtest.h>

#include <process.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <thread>

#include "automation/server.h"
#include "core/settings.h"
#include "tests/support/environment.h"

namespace kel::tests {
namespace {

using core::GetSetting;
using core::LogSeparator;
using core::WriteLog;

const Text kDefaultPath = L"c:\\kelSDK.log";

std::vector<std::string> LinesOf(const Text& path) {
    const std::string bytes = FileBytes(path);
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < bytes.size();) {
        const std::size_t end = bytes.find("\r\n", start);
        EXPECT_NE(end, std::string::npos) << "every line is ended";
        if (end == std::string::npos) {
            break;
        }
        lines.push_back(bytes.substr(start, end - start));
        start = end + 2;
    }
    return lines;
}

// The message of a line that begins with date and time in the user's general format and the number
// of the thread.
std::string MessageOf(const std::string& line) {
    const std::string mark = " " + std::to_string(GetCurrentThreadId()) + " - ";
    const std::size_t at = line.find(mark);
    if (at == std::string::npos) {
        return "no thread in: " + line;
    }
    DATE date = 0;
    const Text stamp(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(at));
    EXPECT_EQ(VarDateFromStr(Bstr(stamp).get(), LOCALE_USER_DEFAULT, 0, &date), S_OK) << line;
    SYSTEMTIME now;
    DATE today = 0;
    GetLocalTime(&now);
    SystemTimeToVariantTime(&now, &today);
    EXPECT_NEAR(date, today, 0.01) << line;
    return line.substr(at + mark.size());
}

class Log : public testing::Test {
protected:
    std::vector<std::string> messages(const Text& path) {
        std::vector<std::string> result;
        for (const std::string& line : LinesOf(path)) {
            result.push_back(MessageOf(line));
        }
        return result;
    }

    TempFolder folder;
    CurrentDirectory directory{folder.path()};
    SettingsOverride settings;
};

using Messages = std::vector<std::string>;

TEST_F(Log, UsesTheLevelAsPathToo) {
    struct Case {
        const wchar_t* level;
        Messages written;
    };
    const Case cases[] = {
        {L"0", {"-1", "0", "1", "2", "8", "9", "10"}},
        {L"2", {"-1", "0", "2", "8", "9", "10"}},
        {L"9", {"-1", "0", "9", "10"}},
        {L"10", {"10"}},
        {L"-5", {"-1", "0", "1", "2", "8", "9", "10"}},
        {L"2.5", {"-1", "0", "2", "8", "9", "10"}},
    };
    settings.set(L"Log", L"1");
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.level));
        settings.set(L"LogLevel", one.level);
        for (const int level : {-1, 0, 1, 2, 8, 9, 10}) {
            WriteLog(std::to_wstring(level), static_cast<short>(level));
        }
        EXPECT_EQ(messages(folder / one.level), one.written);
    }
}

TEST_F(Log, StaysSilentUnlessItCanAndMayWrite) {
    const Text unwritable = folder / L"no such folder\\5";
    const std::string unasked = FileBytes(kDefaultPath);
    WriteLog(L"unasked", 1);
    settings.set(L"Log", L"0");
    settings.set(L"LogLevel", L"1");
    WriteLog(L"switched off", 9);
    EXPECT_FALSE(FileExists(folder / L"1"));
    EXPECT_EQ(FileBytes(kDefaultPath), unasked);
    settings.set(L"Log", L"1");
    for (const Text& level :
         {Text(L"c:\\kelSDK.log"), Text(L""), Text(L"high"), Text(L"99999"), unwritable}) {
        SCOPED_TRACE(Narrow(level));
        settings.set(L"LogLevel", level);
        const std::string before = FileBytes(kDefaultPath);
        WriteLog(L"nowhere to go", 9);
        EXPECT_EQ(FileBytes(kDefaultPath), before);
        EXPECT_FALSE(FileExists(folder / L"high"));
    }
    settings.set(L"LogLevel", L"3");
    CreateDirectoryW((folder / L"3").c_str(), nullptr);
    WriteLog(L"a folder is in the way", 9);
    RemoveDirectoryW((folder / L"3").c_str());
    WriteLog(L"and now it is not", 9);
    WriteLog(L"Gr\u00FC\u00DFe", 9);
    WriteLog(Text(100000, L'x'), 9);
    LogSeparator();
    EXPECT_EQ(messages(folder / L"3"),
              (Messages{"and now it is not",
                        Narrow(L"Gr\u00FC\u00DFe"),
                        std::string(100000, 'x'),
                        std::string(50, '=')}))
        << "settings and file are looked at anew every time";
}

constexpr int kThreads = 4;
constexpr int kLines = 50;

// Line `number` of one writer; longer from line to line, and different for every writer.
std::string LineOf(const std::string& writer, int number) {
    return writer + " " + std::string(static_cast<std::size_t>(100 + number), writer.back());
}

// What one process writes: its number and the thread's make the writer's name.
void WriteFromThreads() {
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back(
            [writer = std::to_string(GetCurrentProcessId()) + ":" + static_cast<char>('a' + i)] {
                for (int line = 0; line < kLines; ++line) {
                    const std::string message = LineOf(writer, line);
                    WriteLog(Text(message.begin(), message.end()), 5);
                }
            });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// Run as a process of its own, in the current directory of the next test.
TEST(LogProcess, DISABLED_Writes) {
    SettingsOverride settings;
    settings.set(L"Log", L"1");
    settings.set(L"LogLevel", L"1");
    WriteFromThreads();
}

TEST_F(Log, KeepsEveryLineWholeWhenThreadsAndProcessesWriteAtOnce) {
    constexpr int kProcesses = 3;
    const Text program = automation::ModulePath();
    std::vector<std::intptr_t> processes;
    for (int i = 0; i < kProcesses; ++i) {
        processes.push_back(_wspawnl(_P_NOWAIT,
                                     program.c_str(),
                                     L"core_test",
                                     L"--gtest_filter=LogProcess.*",
                                     L"--gtest_also_run_disabled_tests",
                                     nullptr));
        ASSERT_NE(processes.back(), -1);
    }
    settings.set(L"Log", L"1");
    settings.set(L"LogLevel", L"1");
    WriteFromThreads();
    for (const std::intptr_t process : processes) {
        int code = -1;
        _cwait(&code, process, 0);
        EXPECT_EQ(code, 0);
    }
    std::map<std::string, int> counts;
    for (const std::string& line : LinesOf(folder / L"1")) {
        const std::size_t at = line.find(" - ");
        ASSERT_NE(at, std::string::npos) << line;
        const std::string message = line.substr(at + 3);
        const std::string writer = message.substr(0, message.find(' '));
        EXPECT_EQ(message, LineOf(writer, counts[writer]++));
    }
    EXPECT_EQ(counts.size(), (kProcesses + 1) * kThreads);
    for (const auto& [writer, count] : counts) {
        EXPECT_EQ(count, kLines) << writer;
    }
}

// Names come from outside: they end no line, begin none and hide nothing.
TEST_F(Log, WritesEachMessageAsOneLine) {
    using namespace std::string_view_literals;
    settings.set(L"Log", L"1");
    settings.set(L"LogLevel", L"1");
    WriteLog(L"Cust\0omer"sv, 1);
    WriteLog(L"a\r\n11/21/2026 10:19:28 AM 1 - forged", 1);
    WriteLog(L"\t\x1B[2J\x7F\x85\x9F\u2028\u2029\xA0\xFE", 1);
    EXPECT_EQ(
        messages(folder / L"1"),
        (Messages{
            "Cust omer", "a  11/21/2026 10:19:28 AM 1 - forged", Narrow(L"  [2J     \xA0\xFE")}));
}

// Another program keeps the file to itself, or locks what it likes of it; or a writer was halted in
// the middle of its line. None of it holds anybody up for long, and each line is written or lost.
TEST_F(Log, IsNotHeldUpByOthers) {
    settings.set(L"Log", L"1");
    settings.set(L"LogLevel", L"1");
    const auto timed = [](const wchar_t* message, int lines) {
        const ULONGLONG begun = GetTickCount64();
        for (int i = 0; i < lines; ++i) {
            WriteLog(message, 1);
        }
        return GetTickCount64() - begun;
    };
    const auto open = [this](DWORD sharing) {
        return CreateFileW(
            (folder / L"1").c_str(), GENERIC_WRITE, sharing, nullptr, OPEN_ALWAYS, 0, nullptr);
    };
    constexpr ULONGLONG kNoTimeMs = 250;  // on a busy machine
    HANDLE other = open(0);
    EXPECT_LT(timed(L"lost", 5), kNoTimeMs);
    CloseHandle(other);
    EXPECT_EQ(messages(folder / L"1"), Messages{});

    other = open(FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    OVERLAPPED anywhere{};
    anywhere.OffsetHigh = MAXLONG;
    ASSERT_TRUE(LockFileEx(other, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &anywhere));
    EXPECT_LT(timed(L"behind a lock", 5), kNoTimeMs);
    CloseHandle(other);
    EXPECT_EQ(messages(folder / L"1"), Messages(5, "behind a lock"));
    DeleteFileW((folder / L"1").c_str());

    // A turn that does not end, ends, and does not end again: it is waited for once.
    std::atomic<int> step{0};
    const auto reach = [&](int wanted) {
        while (step < wanted) {
            Sleep(1);
        }
    };
    std::thread halted([&] {
        const HANDLE turn = CreateMutexW(nullptr, FALSE, L"Local\\kelSDK.log");
        for (int round = 0; round < 2; ++round) {
            WaitForSingleObject(turn, INFINITE);
            step = round * 3 + 1;
            reach(round * 3 + 2);
            ReleaseMutex(turn);
            step = round * 3 + 3;
        }
        CloseHandle(turn);
    });
    reach(1);
    const ULONGLONG first = timed(L"out of turn", 5);
    step = 2;
    reach(3);
    timed(L"free again", 1);
    reach(4);
    const ULONGLONG second = timed(L"once more", 5);
    step = 5;
    halted.join();
    EXPECT_GE(first, 200U);
    EXPECT_LT(first, 1000U);
    EXPECT_LT(second, kNoTimeMs);
    EXPECT_EQ(messages(folder / L"1"),
              (Messages{"out of turn",
                        "out of turn",
                        "out of turn",
                        "out of turn",
                        "out of turn",
                        "free again",
                        "once more",
                        "once more",
                        "once more",
                        "once more",
                        "once more"}));
}

TEST_F(Log, ReadsSettingsFreshAndOnlyAsText) {
    EXPECT_EQ(GetSetting(L"Log", L"fallback"), L"fallback");
    settings.set(L"Log", L"");
    EXPECT_EQ(GetSetting(L"Log", L"fallback"), L"");
    settings.set(L"Log", Text(5000, L'x'));
    EXPECT_EQ(GetSetting(L"Log", L"fallback"), Text(5000, L'x'));
    const DWORD number = 5;
    RegSetKeyValueW(HKEY_CURRENT_USER,
                    L"Software\\VB and VBA Program Settings\\kelSDK\\Settings",
                    L"Log",
                    REG_DWORD,
                    &number,
                    sizeof(number));
    EXPECT_EQ(GetSetting(L"Log", L"fallback"), L"fallback") << "a number is no setting";
}

}  // namespace
}  // namespace kel::tests
