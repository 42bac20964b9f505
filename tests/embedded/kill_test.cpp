// Processes that are killed in the middle of their work with an account: what they wrote and
// reported is there, nothing is half, and their locks are gone.
#include <gtest/gtest.h>

#include <string_view>

#include "tests/embedded/embedded_session.h"
#include "tests/embedded/program.h"

namespace kel::tests {
namespace {

constexpr const wchar_t* kWrites = L"10000";

// The number in "written N"; 0 for any other line.
long WrittenIn(const std::string& line) {
    constexpr std::string_view kStart = "written ";
    return line.starts_with(kStart) ? std::stol(line.substr(kStart.size())) : 0;
}

class KilledProcess : public testing::Test {
protected:
    void check(long atLeast, const wchar_t* writer = L"W") {
        Program checking({L"--check", account, std::to_wstring(atLeast), writer});
        std::string output;
        while (const auto line = checking.readLine()) {
            output += *line + "\n";
        }
        EXPECT_EQ(checking.wait(), 0U) << output;
        EXPECT_NE(output.find("every record is whole"), std::string::npos) << output;
    }

    TempFolder folder;
    const Text account = folder / L"killed.account";
};

TEST_F(KilledProcess, LeavesWholeRecordsAndNoLocks) {
    struct Case {
        long lines;       // to be seen before the kill
        DWORD moreUnits;  // of an eighth of a millisecond, to be spun afterwards
    };
    // At once after the start, between two writes, and at moments all over a write.
    const Case cases[] = {{1, 0}, {3, 1}, {17, 2}, {60, 3}, {61, 5}, {140, 7}, {333, 11}, {500, 0}};
    long reported = 0;
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        Program writer({L"--writer", account, kWrites});
        const long before = reported;
        for (long line = 0; line < one.lines; ++line) {
            const auto text = writer.readLine();
            ASSERT_TRUE(text);
            const long written = WrittenIn(*text);
            ASSERT_GT(written, reported) << *text;
            reported = written;
        }
        LARGE_INTEGER frequency;
        LARGE_INTEGER start;
        LARGE_INTEGER now;
        QueryPerformanceFrequency(&frequency);
        QueryPerformanceCounter(&start);
        do {
            QueryPerformanceCounter(&now);
        } while ((now.QuadPart - start.QuadPart) * 8000 < frequency.QuadPart * one.moreUnits);
        writer.kill();
        EXPECT_EQ(writer.wait(), 9U);
        // What it reported until its end; the last line may have been cut.
        while (const auto text = writer.readLine()) {
            reported = std::max(reported, WrittenIn(*text));
        }
        EXPECT_LT(reported - before, 10000) << "it was still at work";
        check(reported);

        EmbeddedSession session;
        ASSERT_EQ(session.connect(account), ErrorFields());
        session.file = session.open(L"GENERATIONS");
        for (int slot = 0; slot < 50; ++slot) {
            EXPECT_NE(session.read(L"W-" + std::to_wstring(slot), true), 2) << slot;
        }
    }
    EXPECT_GT(reported, 1000);
}

TEST_F(KilledProcess, GivesUpALockThatItHeld) {
    EmbeddedSession session;
    ASSERT_EQ(session.connect(account), ErrorFields());
    session.execute(L"CREATE-FILE COUNTRIES");
    session.file = session.open(L"COUNTRIES");
    session.setBuffer(L"Switzerland");
    ASSERT_EQ(session.write(L"CH"), ErrorFields());

    Program holder({L"--hold", account, L"CH"});
    ASSERT_EQ(holder.readLine(), "held CH");
    EXPECT_EQ(session.read(L"CH", true), 2);
    Program second({L"--hold", account, L"CH"});
    EXPECT_EQ(second.readLine(), "locked CH");
    EXPECT_EQ(second.wait(), 2U);
    holder.kill();
    EXPECT_EQ(session.read(L"CH", true), 0);
    EXPECT_EQ(session.bufferText(), L"Switzerland");
}

}  // namespace
}  // namespace kel::tests
