// The utilities of the tools object: occurrences, fields, waiting, the internal date and time.
#include "client/utilities.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <vector>

#include "client/tools.h"
#include "tests/support/dispatch.h"
#include "tests/support/errors.h"

namespace kel::tests {
namespace {

const ErrorFields kOverflowError{automation::kOverflow, L"kelSDK", L"Overflow"};

TEST(Index, FindsOverlappingOccurrences) {
    struct Case {
        Text text;
        Text part;
        short occurrence;
        long position;
    };
    const Case cases[] = {
        {L"abcabc", L"bc", 1, 2},
        {L"abcabc", L"bc", 2, 5},
        {L"abcabc", L"bc", 3, 0},
        {L"aaa", L"aa", 2, 2},
        {L"aaa", L"aa", 3, 0},
        {L"abc", L"x", 1, 0},
        {L"abc", L"B", 1, 0},
        {L"abc", L"abcd", 1, 0},
        {L"abc", L"b", 0, 0},
        {L"abc", L"b", -1, 0},
        {L"abc", L"b", -32768, 0},
        {L"", L"a", 1, 0},
        {L"", L"", 1, 0},
        {L"abc", L"", 1, 1},
        {L"abc", L"", 3, 3},
        {L"abc", L"", 4, 0},
        {Text(L"a\0b\0c", 5), Text(L"\0", 1), 2, 4},
        {L"\xD83D\xDE00\xD83D\xDE01", L"\xD83D", 2, 3},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        EXPECT_EQ(client::Index(one.text, one.part, one.occurrence), one.position);
    }
}

TEST(Index, KeepsPositionsInSixteenBitsWhileItSeeks) {
    constexpr std::size_t kLast = 32767;
    struct Case {
        std::size_t filler;  // in front of two matches
        short occurrence;
        long position;  // -1: overflow
    };
    const Case cases[] = {
        {kLast - 2, 2, 32767},
        {kLast - 1, 1, 32767},
        {kLast - 1, 2, -1},
        {40000, 1, 40001},
        {40000, 2, -1},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        const Text text = Text(one.filler, L'x') + L"aa";
        long position = 0;
        const ErrorFields error =
            ThrownBy([&] { position = client::Index(text, L"a", one.occurrence); });
        EXPECT_EQ(error, one.position < 0 ? kOverflowError : ErrorFields());
        EXPECT_EQ(position, std::max(one.position, 0L));
    }
    const Text all(40000, L'a');
    EXPECT_EQ(client::Index(all, L"a", 32767), 32767);
    EXPECT_EQ(client::Index(all, L"b", 32767), 0);
}

TEST(Field, BeginsOneCharacterBehindTheDelimitersBeginning) {
    struct Case {
        Text text;
        Text delimiter;
        short number;
        Text field;
    };
    const Case cases[] = {
        {L"a]b]c", L"]", 1, L"a"},
        {L"a]b]c", L"]", 2, L"b"},
        {L"a]b]c", L"]", 3, L"c"},
        {L"a]b]c", L"]", 4, L""},
        {L"a]b]c", L"]", 0, L""},
        {L"a]b]c", L"]", -5, L""},
        {L"a]]c", L"]", 2, L""},
        {L"a]]c", L"]", 3, L"c"},
        {L"abc", L"]", 1, L"abc"},
        {L"abc", L"]", 2, L""},
        {L"]a", L"]", 1, L""},
        {L"a]", L"]", 2, L""},
        {L"a--b--c", L"--", 1, L"a"},
        {L"a--b--c", L"--", 2, L"-b"},
        {L"a--b--c", L"--", 3, L"-c"},
        {L"aXbxc", L"x", 1, L"aXb"},
        {L"", L"]", 1, L""},
        {L"abc", L"", 1, L""},
        {L"a\xFE\xFD"
         L"b",
         L"\xFE",
         2,
         L"\xFD"
         L"b"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        EXPECT_EQ(client::Field(one.text, one.delimiter, one.number), one.field);
    }
}

TEST(Field, KeepsItsPositionsInSixteenBits) {
    constexpr std::size_t kLast = 32767;
    struct Case {
        std::size_t filler;  // in front of "]rest"
        short number;
        long length;  // -1: overflow
    };
    const Case cases[] = {
        {kLast - 1, 1, kLast - 1},
        {kLast - 2, 2, 4},
        {kLast - 1, 2, -1},
        {kLast, 1, -1},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        Text field;
        const ErrorFields error = ThrownBy(
            [&] { field = client::Field(Text(one.filler, L'x') + L"]rest", L"]", one.number); });
        EXPECT_EQ(error, one.length < 0 ? kOverflowError : ErrorFields());
        EXPECT_EQ(field.size(), static_cast<std::size_t>(std::max(one.length, 0L)));
    }
    const Text longText(100000, L'x');
    EXPECT_EQ(client::Field(longText, L"]", 1), longText) << "no position to keep";
}

// A clock that goes on only while the wait lets messages through, and starts anew at midnight.
struct FakeDay {
    static inline double seconds;
    static inline double step;
    static inline int yields;

    static float clock() { return static_cast<float>(seconds); }
    static void yield() {
        constexpr double kDay = 86400;
        ++yields;
        seconds = std::fmod(seconds + step, kDay);
    }
};

TEST(Wait, EndsAtTheRoundedSecond) {
    struct Case {
        double start;
        double step;
        short seconds;
        int yields;
    };
    const Case cases[] = {
        {100.0, 0.25, 1, 4},
        {100.25, 0.25, 1, 3},    // 101.25: until 101
        {100.5, 0.25, 1, 6},     // 101.5: ties go to even, until 102
        {101.5, 0.25, 1, 2},     // 102.5: until 102
        {100.75, 0.25, 1, 5},    // 101.75: until 102
        {100.0, 3.0, 10, 4},     // the clock passes the target
        {86398.0, 0.5, 1, 2},    // the last second of the day
        {86399.0, 0.5, 1, 1},    // 86400 is no crossing, and the target 0 has long been reached
        {86399.0, 0.5, 5, 10},   // 86404: until 4 after midnight
        {86399.5, 0.25, 1, 2},   // 86400.5: as soon as midnight has passed
        {86399.5, 0.25, 2, 10},  // 86401.5: until 2
        {80000.0, 100.0, 32767, 328},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        FakeDay::seconds = one.start;
        FakeDay::step = one.step;
        FakeDay::yields = 0;
        client::Wait(one.seconds, {FakeDay::clock, FakeDay::yield});
        EXPECT_EQ(FakeDay::yields, one.yields);
    }
}

int ticks;

void CALLBACK CountTick(HWND, UINT, UINT_PTR, DWORD) {
    ++ticks;
}

TEST(Wait, KeepsTheClientsWindowsAlive) {
    ticks = 0;
    const UINT_PTR timer = SetTimer(nullptr, 0, 20, CountTick);
    const ComPtr<_kelTools> tools = automation::Make<client::Tools>();
    const Dispatch late(tools.get());
    const ULONGLONG began = GetTickCount64();
    const Outcome waited = late.call(L"RQM");  // one second when left out
    const ULONGLONG lasted = GetTickCount64() - began;
    KillTimer(nullptr, timer);
    EXPECT_TRUE(waited.ok());
    EXPECT_EQ(waited.text(), L"Empty");
    EXPECT_GE(ticks, 3);
    // To the rounded second: half a second off either way.
    EXPECT_GE(lasted, 450U);
    EXPECT_LT(lasted, 10000U);
}

TEST(Wait, LeavesAQuitMessageToTheClient) {
    const ComPtr<_kelTools> tools = automation::Make<client::Tools>();
    constexpr int kExitCode = 42;
    PostQuitMessage(kExitCode);
    Variant result = Value(5);
    EXPECT_EQ(tools->RQM(-3, result.inOut()), S_OK);
    EXPECT_EQ(V_VT(&result.get()), VT_EMPTY);
    MSG message{};
    ASSERT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
    EXPECT_EQ(message.wParam, static_cast<WPARAM>(kExitCode));
}

long DayNumber() {
    using std::chrono::sys_days;
    SYSTEMTIME now;
    GetLocalTime(&now);
    const sys_days today = std::chrono::year(now.wYear) / now.wMonth / now.wDay;
    const sys_days zero = std::chrono::year(1967) / 12 / 31;
    return static_cast<long>((today - zero).count());
}

TEST(InternalDate, CountsDaysFromTheLastOf1967) {
    const ComPtr<_kelTools> tools = automation::Make<client::Tools>();
    const long before = DayNumber();
    long date = 0;
    EXPECT_EQ(tools->mvDate(&date), S_OK);
    EXPECT_GE(date, before);
    EXPECT_LE(date, DayNumber());
    EXPECT_GT(date, 19000) << "which was 7 January 2020";
    EXPECT_EQ(tools->mvDate(nullptr), E_POINTER);
    EXPECT_EQ(tools->mvTime(nullptr), E_POINTER);
    SetErrorInfo(0, nullptr);
}

TEST(InternalTime, CountsSecondsFromMidnight) {
    const auto seconds = [] {
        SYSTEMTIME now;
        GetLocalTime(&now);
        return ((now.wHour * 60) + now.wMinute) * 60 + now.wSecond;
    };
    const ComPtr<_kelTools> tools = automation::Make<client::Tools>();
    const long before = seconds();
    long time = -1;
    EXPECT_EQ(tools->mvTime(&time), S_OK);
    const long after = seconds();
    if (before <= after) {  // not across midnight
        EXPECT_GE(time, before);
        EXPECT_LE(time, after + 1);
    }
}

TEST(Utilities, TravelThroughTheToolsObject) {
    const ComPtr<_kelTools> tools = automation::Make<client::Tools>();
    const Dispatch late(tools.get());
    EXPECT_EQ(late.call(L"mvIndex", {L"abcabc", L"bc", 2}).text(), L"5");
    EXPECT_EQ(late.call(L"mvField", {L"a]b]c", L"]", 2}).text(), L"b");
    const Text distant = Text(32766, L'x') + L"aa";
    EXPECT_EQ(late.call(L"mvIndex", {distant, L"a", 2}).error, kOverflowError);
    EXPECT_EQ(late.call(L"mvIndex", {L"a", L"a", 40000}).code, DISP_E_OVERFLOW);
    Bstr field(L"former");
    EXPECT_EQ(tools->mvField(nullptr, nullptr, 1, field.put()), S_OK);
    EXPECT_EQ(field.view(), L"");
}

}  // namespace
}  // namespace kel::tests
