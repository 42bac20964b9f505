// Writing, deleting, starting and releasing a record.
#include <gtest/gtest.h>

#include "tests/engine/session.h"

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

TEST_F(Write, NamesTwoSourcesOfItsErrors) {
    connectAndRead();
    EXPECT_EQ(call(L"mvWrite", {false, L"17", Item(L"").get()}).error, NoKeyId(L"mvDBMS::mvWrite"));
    const auto renamed = [](ErrorFields error) {
        error.source = L"kelDBMS::mvWrite";
        return error;
    };
    for (const Member member : {Member::kOpenFile, Member::kWrite}) {
        call(L"mvCloseFile", {L"CUST"});
        backend.fail(member, SampleFailure(), kOnce);
        EXPECT_EQ(write(L"17").error, renamed(SampleFailure()));
    }
    backend.lockRecord(L"CUST", L"18");
    EXPECT_EQ(write(L"18").error, renamed({10202, {}, L"Record 18 is locked"}));
    const auto item = Item(L"Cust");
    item->definition.fileName = L"NONE";
    EXPECT_EQ(call(L"mvWrite", {false, L"17", item.get()}).error,
              renamed({10301, {}, L"No file NONE"}));
    call(L"Disconnect");
    EXPECT_EQ(write(L"17").error, renamed(kNoBackend));
    EXPECT_EQ(record(), L"Nothing|||---|0");
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
    EXPECT_EQ(takeEvents(), Lines{L"Cust: Deleted()"});

    backend.fail(Member::kDeleteRecord, SampleFailure(), kOnce);
    EXPECT_EQ(erase(L"17").error, SampleFailure());
    EXPECT_EQ(takeEvents(), Lines{});
    listener(L"Cust").failWith(E_FAIL);
    EXPECT_EQ(erase(L"17").error, ErrorFields{});
    EXPECT_EQ(call(L"mvDelete", {L"17", Item(L"").get()}).error, NoKeyId(L"mvDBMS::mvDelete"));
}

TEST_F(Write, StartsARecordButKeepsWhatWasTyped) {
    struct Case {
        const char* name;
        const wchar_t* flags;
        const wchar_t* after;
        const wchar_t* event;
        Lines calls;
    };
    const Case cases[] = {
        {"read", L"R", L"|new|CUST|-N-|4", L"Cust: Clear()", {L"CreateDynamicArray()"}},
        {"read and changed",
         L"RC",
         L"|new|CUST|-N-|4",
         L"Cust: Clear()",
         {L"CreateDynamicArray()"}},
        {"typed", L"C", L"Smith|new|CUST|-NC|4", L"Cust: Refresh(0,0,0)", {}},
        {"new", L"NC", L"Smith|new|CUST|-NC|4", L"Cust: Refresh(0,0,0)", {}},
        {"nothing", L"", L"Smith|new|CUST|-N-|4", L"Cust: Refresh(0,0,0)", {}},
    };
    connectAndRead();
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        const TextView flags = one.flags;
        const auto state = info();
        state->putref_DynamicArray(backend.makeArray(L"Smith").get());
        state->put_IsRead(flags.find(L'R') != TextView::npos ? VARIANT_TRUE : VARIANT_FALSE);
        state->put_IsNew(flags.find(L'N') != TextView::npos ? VARIANT_TRUE : VARIANT_FALSE);
        state->put_IsChanged(flags.find(L'C') != TextView::npos ? VARIANT_TRUE : VARIANT_FALSE);
        backend.clearCalls();
        Text control;
        listener(L"Cust").onEvent([&](Event&) {
            control = automation::GetText(*fields[L"Cust"].callback,
                                          &_kelFieldCallBack::get_RefreshControlName);
        });
        EXPECT_EQ(start(L"new", 4).error, ErrorFields{});
        EXPECT_EQ(backend.takeCalls(), one.calls);
        EXPECT_EQ(takeEvents(), Lines{one.event});
        EXPECT_EQ(control, flags.find(L'R') != TextView::npos ? L"" : L"cust");
        EXPECT_EQ(record(), one.after);
    }
    EXPECT_EQ(call(L"mvNew", {L"17", Item(L"").get()}).error, NoKeyId(L"mvDBMS::mvNew"));
}

TEST_F(Write, StartsARecordWithoutAConnection) {
    addField(L"Cust");
    EXPECT_EQ(start(L"17").error, ErrorFields{});
    EXPECT_EQ(record(), L"Nothing|17||-N-|0");
    info()->put_IsRead(VARIANT_TRUE);
    EXPECT_EQ(start(L"18").error, kNoBackend) << "there is none to make an empty buffer";
    EXPECT_EQ(takeEvents(), Lines{L"Cust: Refresh(0,0,0)"});
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

    backend.fail(Member::kRelease, SampleFailure(), kOnce);
    EXPECT_EQ(release().error, ErrorFields{});
    EXPECT_EQ(call(L"mvRelease", {Item(L"").get()}).error, NoKeyId(L"mvDBMS::mvRelease"));
    // A key field that was never used has no state, and gets none.
    backend.clearCalls();
    EXPECT_EQ(call(L"mvRelease", {Item(L"Unused").get()}).error, ErrorFields{});
    EXPECT_EQ(backend.takeCalls(), Lines{});
    call(L"mvCloseFile", {L"CUST"});
    EXPECT_EQ(release().error, ErrorFields{}) << "nor is a file opened for it";
    EXPECT_EQ(backend.count(Member::kOpenFile), 0);
    call(L"Disconnect");
    EXPECT_EQ(release().error, ErrorFields{});
}

}  // namespace
}  // namespace kel::tests
