// Reading a record: what the buffer becomes, what the controls hear and what the caller is told.
#include <gtest/gtest.h>

#include "tests/engine/session.h"

namespace kel::tests {
namespace {

class Read : public SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        backend.createFile(L"CUST");
        addField(L"Cust");
        ASSERT_TRUE(connect());
        takeEvents();
        backend.clearCalls();
    }
    Outcome read(TextView number, short readType = 0) const {
        const auto item = Item(L"Cust");
        item->definition.readType = readType;
        return call(L"mvRead", {number, item.get()});
    }
    // A buffer with "typed" in it, record "old" and the flags as letters.
    void prepare(TextView flags) const {
        const auto state = info();
        state->putref_DynamicArray(backend.makeArray(L"typed").get());
        state->put_RecNo(Str(L"old"));
        state->put_IsRead(flags.find(L'R') != TextView::npos ? VARIANT_TRUE : VARIANT_FALSE);
        state->put_IsNew(flags.find(L'N') != TextView::npos ? VARIANT_TRUE : VARIANT_FALSE);
        state->put_IsChanged(flags.find(L'C') != TextView::npos ? VARIANT_TRUE : VARIANT_FALSE);
        state->put_ReadType(9);
    }
};

TEST_F(Read, DecidesByStatusKindAndBuffer) {
    struct Row {
        short status;
        short readType;
        const wchar_t* before;
        const wchar_t* after;
        const wchar_t* event;
        const wchar_t* result;
    };
    constexpr short kMissing = 1;
    constexpr short kLocked = 2;
    const Row rows[] = {
        // A record typed as a new one survives a read that finds nothing, but for kind 2.
        {kMissing, 0, L"NC", L"typed|old|CUST|-NC|0", L"ReadValid(17,True,1)", L"1"},
        {kMissing, 1, L"RNC", L"typed|old|CUST|-NC|1", L"ReadValid(17,True,1)", L"1"},
        {kMissing, 3, L"NC", L"typed|old|CUST|-NC|3", L"ReadValid(17,True,1)", L"1"},
        {kMissing, -1, L"NC", L"typed|old|CUST|-NC|-1", L"ReadValid(17,True,1)", L"1"},
        {kMissing, 2, L"NC", L"|old|CUST|--C|2", L"ReadValid(17,False,1)", L"3"},
        // Every other buffer becomes a new record.
        {kMissing, 0, L"N", L"|17|CUST|-N-|0", L"ReadValid(17,True,1)", L"1"},
        {kMissing, 0, L"C", L"|17|CUST|-N-|0", L"ReadValid(17,True,1)", L"1"},
        {kMissing, 1, L"RC", L"|17|CUST|-N-|1", L"ReadValid(17,True,1)", L"1"},
        {kMissing, 3, L"", L"|17|CUST|-N-|3", L"ReadValid(17,True,1)", L"1"},
        {kMissing, 32767, L"R", L"|17|CUST|-N-|32767", L"ReadValid(17,True,1)", L"1"},
        {kMissing, 2, L"R", L"|old|CUST|---|2", L"ReadValid(17,False,1)", L"3"},
        {kMissing, 2, L"RC", L"|old|CUST|--C|2", L"ReadValid(17,False,1)", L"3"},
        // Locked, whatever the kind.
        {kLocked, 0, L"NC", L"|17|CUST|---|0", L"ReadValid(17,False,2)", L"2"},
        {kLocked, 1, L"R", L"|17|CUST|---|1", L"ReadValid(17,False,2)", L"2"},
        {kLocked, 2, L"RC", L"|17|CUST|---|2", L"ReadValid(17,False,2)", L"2"},
        {kLocked, 3, L"", L"|17|CUST|---|3", L"ReadValid(17,False,2)", L"2"},
        // Found: taken for kinds 0 and 1 only. Any further number means found as well.
        {0, 0, L"NC", L"Jones|17|CUST|R--|0", L"ReadValid(17,True,0)", L"0"},
        {0, 1, L"RC", L"Jones|17|CUST|R--|1", L"ReadValid(17,True,0)", L"0"},
        {3, 0, L"", L"Jones|17|CUST|R--|0", L"ReadValid(17,True,0)", L"0"},
        {-1, 1, L"N", L"Jones|17|CUST|R--|1", L"ReadValid(17,True,0)", L"0"},
        {0, 2, L"RC", L"|old|CUST|--C|2", L"ReadValid(17,False,0)", L"3"},
        {0, 3, L"NC", L"|old|CUST|--C|3", L"ReadValid(17,False,0)", L"3"},
        {7, -1, L"R", L"|old|CUST|---|-1", L"ReadValid(17,False,0)", L"3"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        prepare(row.before);
        const auto array = backend.makeArray(L"Jones");
        backend.answer(
            Member::kRead,
            row.status == kMissing || row.status == kLocked ? Nothing() : Value(array.get()),
            {{L"Status", Value(row.status)}});
        const Outcome outcome = read(L"17", row.readType);
        EXPECT_EQ(outcome.error, ErrorFields{});
        EXPECT_EQ(outcome.text(), row.result);
        EXPECT_EQ(takeEvents(), Lines{L"Cust: " + Text(row.event)});
        EXPECT_EQ(record(), row.after);
    }
}

TEST_F(Read, FillsTheBufferBeforeTheControlsHear) {
    backend.putRecord(L"CUST", L"17", L"Smith");
    Text seen;
    listener(L"Cust").onEvent([&](Event&) {
        seen = call(L"Extract", {Item(L"Cust", 1).get()}).text() + L" " + record();
    });
    listener(L"Cust").failWith(E_FAIL);
    EXPECT_EQ(read(L"17").text(), L"0");
    EXPECT_EQ(seen, L"Smith Smith|17|CUST|R--|0");
    listener(L"Cust").onEvent({});
    base->RemoveFieldCallBack(Str(L"Cust"));
    base->SetKeyFieldFileName(Str(L"Cust"), Str(L"CUST"));
    EXPECT_EQ(read(L"4").text(), L"1") << "without anybody to tell";
}

TEST_F(Read, NeverAsksForABlankNumber) {
    backend.putRecord(L"CUST", L"", L"impossible");
    for (const wchar_t* number : {L"", L" ", L"    "}) {
        prepare(L"R");
        backend.clearCalls();
        EXPECT_EQ(read(number).text(), L"1");
        EXPECT_EQ(backend.count(Member::kRead), 0);
        EXPECT_EQ(takeEvents(), Lines{L"Cust: ReadValid(,True,1)"});
        EXPECT_EQ(record(), L"||CUST|-N-|0");
    }
    // What has more in it than blanks is asked for as it is.
    backend.clearCalls();
    EXPECT_EQ(read(L" 17 ").text(), L"1");
    EXPECT_EQ(takeEvents(), Lines{L"Cust: ReadValid( 17 ,True,1)"});
    EXPECT_EQ(read(L"\t").text(), L"1");
    EXPECT_EQ(backend.count(Member::kRead), 2);
}

TEST_F(Read, LocksWhenAskedTo) {
    backend.putRecord(L"CUST", L"17", L"Smith");
    const auto item = Item(L"Cust");
    item->definition.readU = true;
    EXPECT_EQ(call(L"mvRead", {L"17", item.get()}).text(), L"0");
    EXPECT_EQ(backend.calls().back().text, L"mvRead(True,17,file#1,0)");
    EXPECT_EQ(backend.locks(), Lines{L"CUST 17 1"});
    backend.putRecord(L"CUST", L"18", L"Jones");
    backend.lockRecord(L"CUST", L"18");
    EXPECT_EQ(call(L"mvRead", {L"18", item.get()}).text(), L"2");
    EXPECT_EQ(record(), L"|18|CUST|---|0");
    EXPECT_EQ(read(L"18").text(), L"0") << "reading alone does not lock";
    // A refusal keeps the lock that the back-end took.
    item->definition.readType = 3;
    EXPECT_EQ(call(L"mvRead", {L"17", item.get()}).text(), L"3");
    EXPECT_EQ(backend.locks(), (Lines{L"CUST 17 1", L"CUST 18 0"}));
}

TEST_F(Read, FindsTheFileOfTheItemTheBufferOrTheKeyField) {
    for (const wchar_t* file : {L"OWN", L"BUFFER", L"TIED"}) {
        backend.putRecord(file, L"1", file);
    }
    base->SetKeyFieldFileName(Str(L"CUST"), Str(L"TIED"));
    const auto item = Item(L"Cust");
    item->definition.fileName = L"OWN";
    EXPECT_EQ(call(L"mvRead", {L"1", item.get()}).text(), L"0");
    EXPECT_EQ(record(), L"OWN|1|OWN|R--|0");
    item->definition.fileName = L"";
    EXPECT_EQ(call(L"mvRead", {L"1", item.get()}).text(), L"0");
    EXPECT_EQ(record(), L"OWN|1|OWN|R--|0") << "the file stays the buffer's";
    info()->put_FileName(Str(L"BUFFER"));
    EXPECT_EQ(read(L"1").text(), L"0");
    EXPECT_EQ(record(), L"BUFFER|1|BUFFER|R--|0");
    info()->put_FileName(Str(L""));
    EXPECT_EQ(read(L"1").text(), L"0");
    EXPECT_EQ(record(), L"TIED|1|TIED|R--|0");

    base->SetKeyFieldFileName(Str(L"CUST"), Str(L""));
    info()->put_FileName(Str(L""));
    takeEvents();
    EXPECT_EQ(read(L"1").text(), L"1") << "no file at all";
    EXPECT_EQ(takeEvents(), Lines{});
    EXPECT_EQ(record(), L"TIED|1||R--|0");
}

TEST_F(Read, GoesByTheKeyFieldToReadFor) {
    backend.putRecord(L"CUST", L"17", L"Smith");
    addField(L"Detail");
    const auto item = Item(L"Cust");
    item->definition.readKeyId = L"DETAIL";
    EXPECT_EQ(call(L"mvRead", {L"17", item.get()}).text(), L"0");
    EXPECT_EQ(record(L"Detail"), L"Smith|17|CUST|R--|0");
    EXPECT_EQ(record(L"Cust"), L"|||---|0");
    EXPECT_EQ(takeEvents(), Lines{L"Detail: ReadValid(17,True,0)"});
    EXPECT_EQ(call(L"mvRead", {L"17", Item(L"").get()}).error, NoKeyId(L"mvDBMS::mvRead"));
    EXPECT_EQ(takeEvents(), Lines{});
}

TEST_F(Read, RaisesWhatGoesWrongAndLeavesTheBuffer) {
    prepare(L"RC");
    EXPECT_EQ(call(L"mvOpen", {L"CUST"}).text(), L"0");
    backend.fail(Member::kRead, SampleFailure(), kOnce);
    EXPECT_EQ(read(L"17").error, SampleFailure());
    EXPECT_EQ(record(), L"typed|old|CUST|R-C|9");
    backend.fail(Member::kCreateDynamicArray, SampleFailure(), kOnce);
    EXPECT_EQ(read(L"17").error, SampleFailure());
    EXPECT_EQ(record(), L"typed|old|CUST|R-C|9");
    const auto item = Item(L"Cust");
    item->definition.fileName = L"NONE";
    EXPECT_EQ(call(L"mvRead", {L"17", item.get()}).error,
              (ErrorFields{10301, L"kelos99", L"No file NONE"}));
    EXPECT_EQ(record(), L"typed|old|CUST|R-C|9");
    EXPECT_EQ(takeEvents(), Lines{});
    call(L"Disconnect");
    EXPECT_EQ(read(L"17").error, kNoBackend);
    EXPECT_EQ(call(L"mvRead", {L"", Item(L"Cust").get()}).error, kNoBackend);
}

}  // namespace
}  // namespace kel::tests
