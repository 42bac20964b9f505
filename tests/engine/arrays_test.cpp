// Reading and changing elements of the record in a key field's buffer.
#include <gtest/gtest.h>

#include "tests/registry/session.h"

namespace kel::tests {
namespace {

// One call of each member; the item is its last argument.
struct ArrayMember {
    const wchar_t* name;
    Arguments before;  // what stands before the item
    const wchar_t* call;
    const wchar_t* result;
    bool changes;
};

class Arrays : public SessionTest {
protected:
    Outcome run(const ArrayMember& member, IDispatch* item) const {
        Arguments arguments = member.before;
        arguments.emplace_back(item);
        return call(member.name, arguments);
    }
    std::vector<ArrayMember> members() {
        return {
            {L"Extract", {}, L"Extract(array#2,2,1,3)", L"c", false},
            {L"Replace", {L"v"}, L"Replace(array#2,v,2,1,3)", L"Empty", true},
            {L"Insert", {L"v"}, L"Insert(array#2,v,2,1,3)", L"Empty", true},
            {L"Delete", {}, L"Delete(array#2,2,1,3)", L"Empty", true},
            {L"Locate", {L"a", ByRef(&position), L""}, L"Locate(array#2,1,a,2,1,)", L"True", false},
            {L"Dcount", {L"c"}, L"Dcount(c,array#2,2,1,3)", L"2", false},
        };
    }
    ArrayMember correlative() {
        return {L"ProcessCorrelative",
                {L"v", L"", short{5}},
                L"ProcessCorrelative(array#2,v,17,CUST,5,A;1,)",
                L"A;1(v)",
                false};
    }

    long position = 1;
};

constexpr TextView kRecord = L"x\u00FEa\u00FCb\u00FCc";

TEST_F(Arrays, PassTheItemsPositionToTheBackend) {
    for (const ArrayMember& member : members()) {
        SCOPED_TRACE(Narrow(member.name));
        for (const bool autoUpdate : {true, false}) {
            connectAndRead(kRecord);
            EXPECT_TRUE(Dispatch(engine.get()).put(L"AutoUpdateOk", {autoUpdate}).ok());
            position = 1;
            const auto item = Item(L"CUST", 2, 1, 3);
            item->definition.controlName = L"Name";
            Text control;
            noteControl(control);
            const Outcome outcome = run(member, item.get());
            EXPECT_EQ(outcome.error, ErrorFields{});
            EXPECT_EQ(outcome.text(), member.result);
            EXPECT_EQ(backend.takeCalls(), Lines{member.call});
            const bool refreshes = member.changes && autoUpdate;
            EXPECT_EQ(takeEvents(), refreshes ? Lines{L"Cust: Refresh(2,1,3)"} : Lines{});
            EXPECT_EQ(control, refreshes ? L"Name" : L"none");
            EXPECT_EQ(record().ends_with(L"R-C|0"), member.changes);
            reopen();
        }
    }
}

TEST_F(Arrays, AreClearedOnlyAsAWhole) {
    struct Case {
        const wchar_t* value;
        long at[3];
        const wchar_t* call;
    };
    for (const Case& one : {Case{L"", {0, 0, 0}, L"CreateDynamicArray()"},
                            Case{L"", {0, 0, 1}, L"Replace(array#2,,0,0,1)"},
                            Case{L"", {0, 1, 0}, L"Replace(array#2,,0,1,0)"},
                            Case{L"", {1, 0, 0}, L"Replace(array#2,,1,0,0)"},
                            Case{L"x", {0, 0, 0}, L"Replace(array#2,x,0,0,0)"}}) {
        connectAndRead(kRecord);
        const auto item = Item(L"Cust", one.at[0], one.at[1], one.at[2]);
        EXPECT_EQ(call(L"Replace", {one.value, item.get()}).error, ErrorFields{});
        EXPECT_EQ(backend.takeCalls().back(), one.call);
        reopen();
    }
    connectAndRead(kRecord);
    const auto former = info();
    EXPECT_TRUE(call(L"Replace", {L"", Item(L"Cust").get()}).ok());
    EXPECT_EQ(info().get(), former.get()) << "a new buffer in the same state";
    // There is nothing to clear for Insert.
    EXPECT_TRUE(call(L"Insert", {L"", Item(L"Cust").get()}).ok());
    EXPECT_EQ(backend.takeCalls().back(), L"Insert(array#3,,0,0,0)");
}

TEST_F(Arrays, AreAddressedInSixteenBits) {
    connectAndRead(kRecord);
    auto all = members();
    all.push_back(correlative());
    const ErrorFields overflow = {6, L"kelSDK", L"Overflow"};
    for (const ArrayMember& member : all) {
        SCOPED_TRACE(Narrow(member.name));
        for (const long tooFar : {40000L, 32768L, -32769L}) {
            for (int which = 0; which < 3; ++which) {
                const auto item = Item(L"Cust",
                                       which == 0 ? tooFar : 1,
                                       which == 1 ? tooFar : 1,
                                       which == 2 ? tooFar : 1);
                item->definition.correlative = L"A;1";
                EXPECT_EQ(run(member, item.get()).error, overflow);
            }
        }
        EXPECT_EQ(backend.takeCalls(), Lines{});
    }
    for (const long edge : {32767L, -32768L}) {
        backend.instead(
            Member::kExtract, [] {}, kOnce);
        EXPECT_TRUE(call(L"Extract", {Item(L"Cust", edge, edge, edge).get()}).ok());
        const Text number = std::to_wstring(edge);
        EXPECT_EQ(backend.takeCalls().back(),
                  L"Extract(array#2," + number + L"," + number + L"," + number + L")");
    }
}

TEST_F(Arrays, NeedAKeyFieldAndAnItem) {
    connectAndRead(kRecord);
    auto all = members();
    all.push_back(correlative());
    for (const ArrayMember& member : all) {
        SCOPED_TRACE(Narrow(member.name));
        EXPECT_EQ(run(member, Item(L"", 2, 1, 3).get()).error,
                  NoKeyId(L"mvDBMS::" + Text(member.name)));
        EXPECT_EQ(run(member, nullptr).error, kNoBackend);  // the same words for no item
        EXPECT_EQ(run(member, base.get()).error.number, 13);
    }
    EXPECT_EQ(backend.takeCalls(), Lines{});
    EXPECT_EQ(takeEvents(), Lines{});
}

}  // namespace
}  // namespace kel::tests
