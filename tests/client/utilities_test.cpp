// The utilities of the tools object: occurrences, fields, waiting, the internal date and time.
#include "client/utilities.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

#include "client/tools.h"
#include "tests/support/dispatch.h"
#include "tests/support/environment.h"
#include "tests/support/errors.h"

namespace kel::tests {
namespace {

const ErrorFields kOverflowError{automation::kOverflow, L"kelSDK", L"Overflow"};

// Positions are kept in 16 bits while the search goes on.
constexpr std::size_t kLast = 32767;

Text Filled(std::size_t count, const wchar_t* rest) {
    return Text(count, L'x') + rest;
}

TEST(Index, FindsOverlappingOccurrences) {
    struct Case {
        Text text;
        Text part;
        short occurrence;
        long position;  // -1: overflow
    };
    const Case cases[] = {
        {L"abcabc", L"bc", 2, 5},
        {L"abcabc", L"bc", 3, 0},
        {L"aaa", L"aa", 2, 2},
        {L"aaa", L"aa", 3, 0},
        {L"abc", L"B", 1, 0},
        {L"abc", L"b", 0, 0},
        {L"abc", L"b", -1, 0},
        {L"", L"", 1, 0},
        {L"abc", L"", 3, 3},
        {L"abc", L"", 4, 0},
        {Text(L"a\0b\0c", 5), Text(L"\0", 1), 2, 4},
        {Filled(kLast - 2, L"aa"), L"a", 2, 32767},
        {Filled(kLast - 1, L"aa"), L"a", 1, 32767},
        {Filled(kLast - 1, L"aa"), L"a", 2, -1},
        {Filled(40000, L"aa"), L"a", 1, 40001},
        {Filled(40000, L""), L"x", 32767, 32767},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        long position = 0;
        const ErrorFields error =
            ThrownBy([&] { position = client::Index(one.text, one.part, one.occurrence); });
        EXPECT_EQ(error, one.position < 0 ? kOverflowError : ErrorFields());
        EXPECT_EQ(position, std::max(one.position, 0L));
    }
}

TEST(Field, BeginsOneCharacterBehindTheDelimitersBeginning) {
    struct Case {
        Text text;
        Text delimiter;
        short number;
        Text field;  // "overflow"
    };
    const Case cases[] = {
        {L"a]b]c", L"]", 2, L"b"},
        {L"a]b]c", L"]", 3, L"c"},
        {L"a]b]c", L"]", 0, L""},
        {L"a]b]c", L"]", -5, L""},
        {L"a]]c", L"]", 2, L""},
        {L"abc", L"]", 1, L"abc"},
        {L"a--b--c", L"--", 1, L"a"},
        {L"a--b--c", L"--", 2, L"-b"},
        {L"aXbxc", L"x", 1, L"aXb"},
        {L"abc", L"", 1, L""},
        {Filled(kLast - 1, L"]rest"), L"]", 1, Filled(kLast - 1, L"")},
        {Filled(kLast - 2, L"]rest"), L"]", 2, L"rest"},
        {Filled(kLast - 1, L"]rest"), L"]", 2, L"overflow"},
        {Filled(kLast, L"]rest"), L"]", 1, L"overflow"},
        {Filled(100000, L""), L"]", 1, Filled(100000, L"")},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        Text field = L"overflow";
        const ErrorFields error =
            ThrownBy([&] { field = client::Field(one.text, one.delimiter, one.number); });
        EXPECT_EQ(error, one.field == L"overflow" ? kOverflowError : ErrorFields());
        EXPECT_TRUE(field == one.field);
    }
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
    WaitForDueTimer();
    const ComPtr<_kelTools> tools = automation::Make<client::Tools>();
    const Dispatch late(tools.get());
    const ULONGLONG began = GetTickCount64();
    const Outcome waited = late.call(L"RQM");  // one second when left out
    const ULONGLONG lasted = GetTickCount64() - began;
    KillTimer(nullptr, timer);
    EXPECT_TRUE(waited.ok());
    EXPECT_GE(ticks, 1);
    PostQuitMessage(42);
    EXPECT_TRUE(late.call(L"RQM", {-3}).ok());
    MSG message{};
    ASSERT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT)) << "left to the client";
    EXPECT_EQ(message.wParam, 42U);
    // To the rounded second: half a second off either way.
    EXPECT_GE(lasted, 450U);
    EXPECT_LT(lasted, 10000U);
}

TEST(InternalDateAndTime, CountDaysFromTheLastOf1967AndSecondsFromMidnight) {
    const ComPtr<_kelTools> tools = automation::Make<client::Tools>();
    const auto now = [] {
        SYSTEMTIME local;
        GetLocalTime(&local);
        const std::chrono::sys_days today =
            std::chrono::year(local.wYear) / local.wMonth / local.wDay;
        const std::chrono::sys_days zero = std::chrono::year(1967) / 12 / 31;
        const long seconds = ((local.wHour * 60) + local.wMinute) * 60 + local.wSecond;
        return static_cast<long long>((today - zero).count()) * 86400 + seconds;
    };
    const long long before = now();
    long date = 0;
    long time = -1;
    EXPECT_EQ(tools->mvTime(&time), S_OK);
    EXPECT_EQ(tools->mvDate(&date), S_OK);
    EXPECT_GT(date, 19000) << "which was 7 January 2020";
    EXPECT_GE(date * 86400LL + time, before);  // midnight between the two adds a day
    const long long aDayLater = time > 86390 ? 86400 : 0;
    EXPECT_LE(date * 86400LL + time, now() + aDayLater + 1);
}

}  // namespace
}  // namespace kel::tests
