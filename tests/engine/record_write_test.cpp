// Writing, deleting, starting and releasing a record.
#include <gtest/gtest.h>

#include "tests/registry/session.h"

namespace kel::tests {
namespace {

class Write : public SessionTest {
protected:
    Outcome write(TextView number, bool keepsLock = false) const {
        return call(L"mvWrite", {keepsLock, number, Item(L"Cust").get()});
    }
    Outcome erase(TextView number) const {
        return call(L"mvDelete", {number, Item(L"Cust").get()});
    }
    Outcome start(TextView number, short readType = 0) const {
        const auto item = Item(L"Cust");
        item->definition.readType = readType;
        return call(L"mvNew", {number, item.get()});
    }
    Outcome release() const { return call(L"mvRelease", {Item(L"Cust").get()}); }
};

TEST_F(Write, SendsTheBufferUnderTheNumberGivenOrItsOwn) {
    connectAndRead();
    EXPECT_TRUE(call(L"Replace", {L"Jones", Item(L"Cust", 1).get()}).ok());
    takeEvents();
    EXPECT_EQ(write(L"").text(), L"0");
    EXPECT_EQ(backend.takeCalls().back(), L"mvWrite(False,17,file#1,array#2)");
    EXPECT_EQ(write(L"18", true).text(), L"0");
    EXPECT_EQ(backend.takeCalls().back(), L"mvWrite(True,18,file#1,array#2)");
    EXPECT_EQ(backend.record(L"CUST", L"17"), L"Jones");
    EXPECT_EQ(backend.record(L"CUST", L"18"), L"Jones");
    EXPECT_EQ(backend.locks(), Lines{L"CUST 18 1"});
    EXPECT_EQ(record(), L"Jones|17|CUST|R-C|0") << "all as it was";
    EXPECT_EQ(takeEvents(), Lines{});
}

TEST_F(Write, NeedsAFileAndANumber) {
    backend.createFile(L"CUST");
    addField(L"Cust");
    ASSERT_TRUE(connect());
    EXPECT_EQ(write(L"").text(), L"1");
    EXPECT_EQ(backend.count(Member::kWrite), 0);
    base->SetKeyFieldFileName(Str(L"Cust"), Str(L""));
    info()->put_FileName(Str(L""));
    EXPECT_EQ(write(L"17").text(), L"1");
    EXPECT_EQ(erase(L"17").error, ErrorFields{});
    EXPECT_EQ(backend.count(Member::kWrite) + backend.count(Member::kDeleteRecord), 0);
}

TEST_F(Write, DeletesARecordAndLeavesTheBufferToItsControls) {
    backend.putRecord(L"CUST", L"18", L"Jones");
    connectAndRead();
    EXPECT_EQ(erase(L"18").error, ErrorFields{});
    EXPECT_EQ(takeEvents(), Lines{L"Cust: Deleted(18)"});
    EXPECT_EQ(erase(L"").error, ErrorFields{});
    EXPECT_EQ(takeEvents(), Lines{L"Cust: Deleted(17)"});
    EXPECT_EQ(backend.takeCalls().back(), L"mvDelete(17,file#1)");
    EXPECT_FALSE(backend.record(L"CUST", L"17") || backend.record(L"CUST", L"18"));
    EXPECT_EQ(record(), L"Smith|17|CUST|R--|0");
    // Even without a number the back-end decides.
    info()->put_RecNo(Str(L""));
    EXPECT_EQ(erase(L"").error, ErrorFields{});
    EXPECT_EQ(backend.takeCalls().back(), L"mvDelete(,file#1)");
    EXPECT_EQ(call(L"mvDelete", {L"17", Item(L"").get()}).error, NoKeyId(L"mvDBMS::mvDelete"));
}

TEST_F(Write, StartsARecordButKeepsWhatWasTyped) {
    struct Case {
        const wchar_t* flags;
        const wchar_t* after;
    };
    const Case cases[] = {
        {L"R", L"|new|CUST|-N-|4"},
        {L"RC", L"|new|CUST|-N-|4"},
        {L"C", L"Smith|new|CUST|-NC|4"},
        {L"NC", L"Smith|new|CUST|-NC|4"},
        {L"", L"Smith|new|CUST|-N-|4"},
    };
    connectAndRead();
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.flags));
        const TextView flags = one.flags;
        const bool isRead = flags.find(L'R') != TextView::npos;
        const auto state = info();
        state->putref_DynamicArray(backend.makeArray(L"Smith").get());
        setFlags(*state, flags);
        backend.clearCalls();
        Text control;
        noteControl(control);
        EXPECT_EQ(start(L"new", 4).error, ErrorFields{});
        EXPECT_EQ(backend.takeCalls(), isRead ? Lines{L"CreateDynamicArray()"} : Lines{});
        EXPECT_EQ(takeEvents(), Lines{isRead ? L"Cust: Clear()" : L"Cust: Refresh(0,0,0)"});
        EXPECT_EQ(control, isRead ? L"" : L"cust");
        EXPECT_EQ(record(), one.after);
    }
    EXPECT_EQ(call(L"mvNew", {L"17", Item(L"").get()}).error, NoKeyId(L"mvDBMS::mvNew"));
    EXPECT_EQ(call(L"mvWrite", {false, L"17", Item(L"").get()}).error, NoKeyId(L"mvDBMS::mvWrite"));
}

TEST_F(Write, ReleasesTheLockOfTheBuffersRecord) {
    connectAndRead();
    const auto item = Item(L"Cust");
    item->definition.readU = true;
    EXPECT_EQ(call(L"mvRead", {L"17", item.get()}).text(), L"0");
    EXPECT_EQ(backend.locks(), Lines{L"CUST 17 1"});
    backend.clearCalls();
    EXPECT_EQ(release().error, ErrorFields{});
    EXPECT_EQ(backend.takeCalls(), Lines{L"mvRelease(file#1,17)"});
    EXPECT_EQ(backend.locks(), Lines{});
    EXPECT_EQ(call(L"mvRelease", {Item(L"").get()}).error, NoKeyId(L"mvDBMS::mvRelease"));
    // A key field that was never used has no state, and gets none.
    backend.clearCalls();
    EXPECT_EQ(call(L"mvRelease", {Item(L"Unused").get()}).error, ErrorFields{});
    EXPECT_EQ(backend.takeCalls(), Lines{});
    call(L"mvCloseFile", {L"CUST"});
    EXPECT_EQ(release().error, ErrorFields{}) << "nor is a file opened for it";
    EXPECT_EQ(backend.count(Member::kOpenFile), 0);
}

}  // namespace
}  // namespace kel::tests
