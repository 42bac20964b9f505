// The diagnostic log and the settings that steer it. The log's rule, oddity included: the value
// "LogLevel" is both the lowest level written and the path of the file.
#include "core/log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

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
std::string MessageOf(const std::string& line, DWORD thread = GetCurrentThreadId()) {
    const std::string mark = " " + std::to_string(thread) + " - ";
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

TEST_F(Log, WritesNothingUnlessAskedTo) {
    const std::string before = FileBytes(kDefaultPath);
    WriteLog(L"unasked", 1);
    settings.set(L"Log", L"0");
    WriteLog(L"switched off", 1);
    settings.set(L"LogLevel", L"1");
    WriteLog(L"off in spite of a level", 9);
    EXPECT_EQ(FileBytes(kDefaultPath), before);
    EXPECT_FALSE(FileExists(folder / L"1"));
}

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

TEST_F(Log, GoesToTheDefaultFileWithoutALevel) {
    const bool existed = FileExists(kDefaultPath);
    const std::string before = FileBytes(kDefaultPath);
    settings.set(L"Log", L"anything but 0");
    WriteLog(L"one", 1);
    WriteLog(L"two", -3);
    const std::string added = FileBytes(kDefaultPath).substr(before.size());
    EXPECT_NE(added.find(" - one\r\n"), std::string::npos) << added;
    EXPECT_NE(added.find(" - two\r\n"), std::string::npos) << added;
    if (!existed) {
        DeleteFileW(kDefaultPath.c_str());
    }
}

TEST_F(Log, StaysSilentWhenItCannotWrite) {
    const Text unwritable = folder / L"no such folder\\5";
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
    EXPECT_EQ(messages(folder / L"3"), (Messages{"and now it is not"}))
        << "settings and file are looked at anew every time";
}

TEST_F(Log, WritesTextsWhole) {
    using namespace std::string_view_literals;
    settings.set(L"Log", L"1");
    settings.set(L"LogLevel", L"1");
    const std::string equals(50, '=');
    WriteLog(L"", 1);
    WriteLog(L"Grüße", 1);
    WriteLog(L"a\0b"sv, 1);
    WriteLog(Text(100000, L'x'), 1);
    LogSeparator();
    EXPECT_EQ(
        messages(folder / L"1"),
        (Messages{"", Narrow(L"Grüße"), std::string("a\0b"sv), std::string(100000, 'x'), equals}));
}

TEST_F(Log, KeepsLinesWholeWhenThreadsWriteAtOnce) {
    constexpr int kThreads = 4;
    constexpr int kLines = 50;
    settings.set(L"Log", L"1");
    settings.set(L"LogLevel", L"1");
    std::vector<std::thread> threads;
    std::vector<DWORD> ids(kThreads);
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([i, &ids] {
            ids[static_cast<std::size_t>(i)] = GetCurrentThreadId();
            for (int line = 0; line < kLines; ++line) {
                WriteLog(Text(static_cast<std::size_t>(100 + line), static_cast<wchar_t>(L'a' + i)),
                         5);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<int> counts(kThreads);
    for (const std::string& line : LinesOf(folder / L"1")) {
        const auto thread = static_cast<std::size_t>(line.back() - 'a');
        ASSERT_LT(thread, ids.size()) << line;
        EXPECT_EQ(MessageOf(line, ids[thread]),
                  std::string(static_cast<std::size_t>(100 + counts[thread]++), line.back()));
    }
    EXPECT_EQ(counts, std::vector<int>(kThreads, kLines));
}

TEST_F(Log, ReadsSettingsFreshAndOnlyAsText) {
    EXPECT_EQ(GetSetting(L"Log", L"fallback"), L"fallback");
    settings.set(L"Log", L"");
    EXPECT_EQ(GetSetting(L"Log", L"fallback"), L"");
    settings.set(L"Log", L"Grüße");
    EXPECT_EQ(GetSetting(L"Log", L"fallback"), L"Grüße");
    settings.set(L"Log", Text(5000, L'x'));
    EXPECT_EQ(GetSetting(L"Log", L"fallback"), Text(5000, L'x'));
    settings.remove(L"Log");
    EXPECT_EQ(GetSetting(L"Log", L""), L"");
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
