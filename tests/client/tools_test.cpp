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

// array#2 is the record read by the fixture.
TEST_F(ToolsAtWork, PassesEachMemberOn) {
    struct Case {
        const wchar_t* member;
        Arguments arguments;
        Lines calls;
        Text result;
    };
    Bstr capture;
    Bstr returning;
    Bstr id;
    long pos = 0;
    const Case cases[] = {
        {L"Extract", {kKey, 2}, {L"Extract(array#2,2,0,0)"}, L"London\xFDParis\xFDRome"},
        {L"Extract", {kKey, 2, 2}, {L"Extract(array#2,2,2,0)"}, L"Paris"},
        {L"Extract", {L"CUSTOMER", 3, 1, 2}, {L"Extract(array#2,3,1,2)"}, L"b"},
        {L"Replace", {kKey, L"Oslo", 2, 3}, {L"Replace(array#2,Oslo,2,3,0)"}, L"Empty"},
        {L"Insert", {kKey, L"Bern", 2, 1, 0}, {L"Insert(array#2,Bern,2,1,0)"}, L"Empty"},
        {L"Delete", {kKey, 3}, {L"Delete(array#2,3,0,0)"}, L"Empty"},
        {L"Locate", {kKey, L"Paris", ByRef(&pos), 2}, {L"Locate(array#2,0,Paris,2,0,)"}, L"True"},
        {L"Locate",
         {kKey, L"Z", ByRef(&pos), 2, 0, L"AL"},
         {L"Locate(array#2,3,Z,2,0,AL)"},
         L"False"},
        {L"Dcount", {kKey, L"\xFD", 2}, {L"Dcount(\xFD,array#2,2,0,0)"}, L"4"},
        {L"Dcount", {kKey, L"\xFE"}, {L"Dcount(\xFE,array#2,0,0,0)"}, L"2"},
        {L"mvWrite", {kKey, L"18", L"CUST"}, {L"mvWrite(False,18,file#1,array#2)"}, L"Empty"},
        {L"mvWriteU", {kKey, L"19"}, {L"mvWrite(True,19,file#1,array#2)"}, L"Empty"},
        {L"mvRelease", {kKey}, {L"mvRelease(file#1,17)"}, L"Empty"},
        {L"ExecuteSelect",
         {L"L", L"SELECT CUST"},
         {L"IsConnected", L"CreateDynamicArray()", L"ProcessSelect(SELECT CUST)"},
         L"Empty"},
        {L"ReadNext", {L"l", ByRef(id)}, {L"ReadNext(list#1,)"}, L"True"},
        {L"CloseSelect", {L"L"}, {L"CloseSelect(list#1)"}, L"Empty"},
        {L"Execute", {L"WHO", ByRef(capture), ByRef(returning)}, {L"Execute(WHO,,)"}, L"Empty"},
        {L"Oconv", {L"12345", L"MD2"}, {L"Oconv(12345,MD2)"}, L"123.45"},
        {L"Iconv", {L"123.45", L"MD2"}, {L"Iconv(123.45,MD2)"}, L"12345"},
        {L"ProcessCorrelative",
         {kKey, L"A;1", L"v", L"k", 3},
         {L"ProcessCorrelative(array#2,v,k,CUST,3,A;1,)"},
         L"A;1(v)"},
        {L"mvRead", {kKey, L"17", L"CUST"}, {L"mvRead(False,17,file#1,0)"}, L"Empty"},
        {L"mvReadU", {kKey, L"17", L""}, {L"mvRead(True,17,file#1,0)"}, L"Empty"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.member));
        backend.clearCalls();
        const Outcome outcome = late.call(one.member, one.arguments);
        EXPECT_EQ(outcome.error, ErrorFields());
        EXPECT_EQ(outcome.text(), one.result);
        EXPECT_EQ(backend.takeCalls(), one.calls);
    }
    EXPECT_EQ(pos, 5) << "one past the end";
    EXPECT_EQ(id.view(), L"17");
    EXPECT_EQ(capture.view(), L"WHO");
    EXPECT_EQ(returning.view(), L"0");
    EXPECT_EQ(backend.record(kFile, L"18"),
              L"Smith\xFE"
              L"Bern\xFDLondon\xFDParis\xFDOslo");
    EXPECT_EQ(backend.locks(), (Lines{L"CUST 17 1", L"CUST 19 1"}));
}

TEST_F(ToolsAtWork, FindsItsSessionInAnyCase) {
    for (const wchar_t* name : {L"MAIN", L"main", L"mAiN"}) {
        const ComPtr<_kelTools> other = automation::Make<Tools>(name);
        VARIANT_BOOL connected = VARIANT_FALSE;
        EXPECT_EQ(other->IsConnected(&connected), S_OK);
        EXPECT_EQ(connected, VARIANT_TRUE) << Narrow(name);
    }
}

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

TEST_F(ToolsAtWork, CallsAProgramWithTheArgumentsBeforeTheFirstMissingOne) {
    backend.putProgram(L"P", [](VARIANT* const*) {});
    Arguments all{L"P"};
    Text expected = L"CallHost(P";
    EXPECT_TRUE(late.call(L"CallProg", all).ok());
    EXPECT_EQ(backend.takeCalls(), (Lines{L"CallHost(P)"}));
    for (int count = 1; count <= 12; ++count) {
        all.emplace_back(count);
        expected += L"," + std::to_wstring(count);
        EXPECT_TRUE(late.call(L"CallProg", all).ok());
        EXPECT_EQ(backend.takeCalls(), (Lines{expected + L")"}));
    }
    EXPECT_TRUE(late.call(L"CallProg", {L"P", L"a", Variant::Missing(), L"c"}).ok());
    EXPECT_TRUE(late.call(L"CallProg", {L"P", Variant::Missing(), L"b"}).ok());
    EXPECT_EQ(backend.takeCalls(), (Lines{L"CallHost(P,a)", L"CallHost(P)"}));
}

TEST_F(ToolsAtWork, GivesBackWhatAProgramLeavesInItsArguments) {
    backend.putProgram(L"P", [](VARIANT* const* arguments) {
        for (int i : {0, 1, 11}) {
            VariantClear(arguments[i]);
            *arguments[i] = Value(L"answer").detach();
        }
    });
    Variant first = Value(1);
    Variant second = Value(2);
    EXPECT_TRUE(late.call(L"CallProg", {L"P", ByRef(first), ByRef(second)}).ok());
    EXPECT_EQ(Shown(first.get()), L"answer");
    EXPECT_EQ(Shown(second.get()), L"answer");
    EXPECT_EQ(late.call(L"CallProg", {L"NONE", 1}).error,
              (ErrorFields{53, L"kelos99", L"No program NONE"}));
}

TEST_F(ToolsAtWork, KeepsNoEngineAlive) {
    endSession();
    EXPECT_EQ(backend.live().hosts, 0) << "the tools object is still there";
    EXPECT_EQ(late.call(L"Extract", {kKey, 1}).error.number, NotConnected);
    // The name counts, not the session: a new one of the name is found.
    base->GetSessionCallBack(Str(L"MAIN"), session.put());
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

TEST_F(ToolsAtWork, LeavesTheReadersIdEmptyAtTheEnd) {
    late.call(L"ExecuteSelect", {L"List", L"SELECT CUST"});
    Bstr id(L"stale");
    EXPECT_EQ(late.call(L"ReadNext", {L"List", ByRef(id)}).text(), L"True");
    EXPECT_EQ(late.call(L"ReadNext", {L"List", ByRef(id)}).text(), L"False");
    EXPECT_EQ(id.view(), L"");
    id = Bstr(L"stale");
    EXPECT_EQ(late.call(L"ReadNext", {L"NoList", ByRef(id)}).text(), L"False");
    EXPECT_EQ(id.view(), L"");
}

}  // namespace
}  // namespace kel::tests
