// The tools object at work: which back-end calls its members make, and what comes back.
#include "client/tools.h"

#include <gtest/gtest.h>

#include "tests/client/client_fixture.h"

namespace kel::tests {
namespace {

using client::Tools;

class ToolsAtWork : public ClientTest {
protected:
    ToolsAtWork() {
        connect();
        readRecord();
    }

    ComPtr<_kelTools> tools = automation::Make<Tools>(kSession);
    Dispatch late{tools.get()};
};

TEST_F(ToolsAtWork, CountIsOneLessThanDcount) {
    struct Case {
        long dcount;
        long count;
        ErrorFields error;
    };
    const Case cases[] = {
        {1, 0, {}},
        {0, -1, {}},
        {4, 3, {}},
        {LONG_MIN, 0, {automation::kOverflow, L"kelSDK", L"Overflow"}},
    };
    for (const Case& one : cases) {
        backend.answer(Member::kDcount, Value(one.dcount));
        long count = 77;
        EXPECT_EQ(ErrorOf(tools->Count(Str(kKey), Str(L"]"), 2, 1, 0, &count)), one.error);
        EXPECT_EQ(count, one.count);
    }
    EXPECT_EQ(backend.takeCalls().back(), L"Dcount(],array#2,2,1,0)");
}

TEST_F(ToolsAtWork, KeepsNoEngineAlive) {
    endSession();
    EXPECT_EQ(backend.live().hosts, 0) << "the tools object is still there";
    EXPECT_EQ(late.call(L"Extract", {kKey, 1}).error.number, NotConnected);
    // The name counts, not the session: a new one of the name is found.
    base->GetSessionCallBack(Str(L"MAIN"), main.put());
    EXPECT_EQ(late.call(L"IsConnected").text(), L"False");
    EXPECT_EQ(late.call(L"Extract", {kKey, 1}).text(), L"");
}

TEST_F(ToolsAtWork, ConnectsAndDisconnectsItsSession) {
    EXPECT_EQ(late.call(L"Disconnect").text(), L"Empty");
    EXPECT_EQ(late.call(L"IsConnected").text(), L"False");
    EXPECT_EQ(sessionEvents->take(), (Lines{L"Disconnect()"}));
    backend.fail(Member::kConnect, SampleFailure(), kOnce);
    EXPECT_EQ(late.call(L"Connect").text(), L"False");
    EXPECT_EQ(late.call(L"ConnectionFailed").text(), L"True");
    EXPECT_EQ(late.call(L"Connect").text(), L"True");
    EXPECT_EQ(late.call(L"IsConnected").text(), L"True");
    EXPECT_EQ(late.call(L"ConnectionFailed").text(), L"False");
    EXPECT_EQ(late.call(L"IsConnecting").text(), L"False");
    Text connecting;
    backend.before(Member::kConnect, [&] { connecting = late.call(L"IsConnecting").text(); });
    late.call(L"Disconnect");
    late.call(L"Connect");
    EXPECT_EQ(connecting, L"True");
}

TEST_F(ToolsAtWork, GivesProgramsResultsToTypedVariables) {
    backend.putProgram(L"P", [](VARIANT* const* arguments) {
        Leave(arguments[0], L"9");
        Leave(arguments[1], L"left");
    });
    // As a caller passes variables that it declared: to a member's own table, and by name.
    for (const bool byName : {false, true}) {
        long number = 1;
        Bstr text(L"before");
        Variant first = ByRef(&number);
        Variant second = ByRef(text);
        if (byName) {
            EXPECT_TRUE(late.call(L"CallProg", {L"P", first, second}).ok());
        } else {
            EXPECT_EQ(tools->CallProg(Str(L"P"),
                                      first.inOut(),
                                      second.inOut(),
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr),
                      S_OK);
        }
        EXPECT_EQ(number, 9);
        EXPECT_EQ(text.view(), L"left");
    }
}

TEST_F(ToolsAtWork, LocksWhenAskedTo) {
    EXPECT_TRUE(late.call(L"mvReadU", {kKey, L"17", L""}).ok());
    EXPECT_TRUE(late.call(L"mvWriteU", {kKey, L"19"}).ok());
    EXPECT_TRUE(late.call(L"mvRead", {kKey, L"18", L""}).ok());
    EXPECT_TRUE(late.call(L"mvWrite", {kKey, L"20"}).ok());
    EXPECT_EQ(backend.locks(), (Lines{L"CUST 17 1", L"CUST 19 1"}));
}

}  // namespace
}  // namespace kel::tests
