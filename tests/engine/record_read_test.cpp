// Reading a record: what the buffer becomes, what the controls hear and what the caller is told.
#include <gtest/gtest.h>

#include "tests/registry/session.h"

namespace kel::tests {
namespace {

class Read : public SessionTest {
protected:
    void SetUp() override {
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
        setFlags(*state, flags);
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
        {kMissing, 2, L"NC", L"|old|CUST|--C|2", L"ReadValid(17,False,1)", L"3"},
        // Every other buffer becomes a new record.
        {kMissing, 0, L"N", L"|17|CUST|-N-|0", L"ReadValid(17,True,1)", L"1"},
        {kMissing, 0, L"C", L"|17|CUST|-N-|0", L"ReadValid(17,True,1)", L"1"},
        {kMissing, 32767, L"R", L"|17|CUST|-N-|32767", L"ReadValid(17,True,1)", L"1"},
        {kMissing, 2, L"RC", L"|old|CUST|--C|2", L"ReadValid(17,False,1)", L"3"},
        // Locked, whatever the kind.
        {kLocked, 0, L"NC", L"|17|CUST|---|0", L"ReadValid(17,False,2)", L"2"},
        {kLocked, 2, L"RC", L"|17|CUST|---|2", L"ReadValid(17,False,2)", L"2"},
        // Found: taken for kinds 0 and 1 only. Any further number means found as well.
        {0, 0, L"NC", L"Jones|17|CUST|R--|0", L"ReadValid(17,True,0)", L"0"},
        {0, 1, L"RC", L"Jones|17|CUST|R--|1", L"ReadValid(17,True,0)", L"0"},
        {0, 2, L"RC", L"|old|CUST|--C|2", L"ReadValid(17,False,0)", L"3"},
        {0, 3, L"NC", L"|old|CUST|--C|3", L"ReadValid(17,False,0)", L"3"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        prepare(row.before);
        const auto array = backend.makeArray(L"Jones");
        backend.answer(
            Member::kRead,
            row.status == kMissing || row.status == kLocked ? Nothing() : Value(array.get()),
            {{3, Value(row.status)}});
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
    addField(L"Detail");
    const auto item = Item(L"Cust");
    item->definition.readKeyId = L"DETAIL";
    EXPECT_EQ(call(L"mvRead", {L"17", item.get()}).text(), L"0");
    EXPECT_EQ(record(L"Detail"), L"Smith|17|CUST|R--|0") << "the key field to read for";
    EXPECT_EQ(takeEvents().back(), L"Detail: ReadValid(17,True,0)");
    EXPECT_EQ(call(L"mvRead", {L"17", Item(L"").get()}).error, NoKeyId(L"mvDBMS::mvRead"));
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
    EXPECT_EQ(read(L" 17 ").text(), L"1");
    EXPECT_EQ(takeEvents(), Lines{L"Cust: ReadValid( 17 ,True,1)"}) << "asked for as it is";
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
    // A refusal keeps the lock that the back-end took.
    item->definition.readType = 3;
    EXPECT_EQ(call(L"mvRead", {L"17", item.get()}).text(), L"3");
    EXPECT_EQ(backend.locks(), (Lines{L"CUST 17 1", L"CUST 18 0"}));
}

}  // namespace
}  // namespace kel::tests
