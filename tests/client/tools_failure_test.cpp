// What becomes of failures in the tools object, member by member.
#include <gtest/gtest.h>

#include "tests/client/client_fixture.h"

namespace kel::tests {
namespace {

using client::Tools;

// Where the failure of a back-end call ends.
enum class Reaches {
    kCaller,   // comes out as the back-end raised it
    kEngine,   // the engine answers with the default of the result
    kNowhere,  // the member ignores every failure
};

struct MemberCase {
    const wchar_t* name;
    std::function<HRESULT(_kelTools&)> call;
    Reaches reaches;
};

Bstr key;
Bstr text;
long number;
Variant value;

// The members that look for an engine.
const MemberCase kTranslating[] = {
    {L"Extract",
     [](_kelTools& tools) { return tools.Extract(key.get(), 1, 0, 0, text.put()); },
     Reaches::kEngine},
    {L"Replace",
     [](_kelTools& tools) { return tools.Replace(key.get(), nullptr, 1, 0, 0); },
     Reaches::kCaller},
    {L"Insert",
     [](_kelTools& tools) { return tools.Insert(key.get(), nullptr, 1, 0, 0); },
     Reaches::kCaller},
    {L"Delete",
     [](_kelTools& tools) { return tools.Delete(key.get(), 1, 0, 0); },
     Reaches::kCaller},
    {L"Locate",
     [](_kelTools& tools) {
         VARIANT_BOOL found = VARIANT_FALSE;
         return tools.Locate(key.get(), nullptr, &number, 1, 0, nullptr, &found);
     },
     Reaches::kCaller},
    {L"mvRead",
     [](_kelTools& tools) { return tools.mvRead(key.get(), Str(L"17"), nullptr); },
     Reaches::kCaller},
    {L"mvReadU",
     [](_kelTools& tools) { return tools.mvReadU(key.get(), Str(L"17"), nullptr); },
     Reaches::kCaller},
    {L"Dcount",
     [](_kelTools& tools) { return tools.Dcount(key.get(), nullptr, 0, 0, 0, &number); },
     Reaches::kEngine},
    {L"ExecuteSelect",
     [](_kelTools& tools) { return tools.ExecuteSelect(key.get(), Str(L"SELECT CUST")); },
     Reaches::kEngine},
    {L"ReadNext",
     [](_kelTools& tools) {
         VARIANT_BOOL more = VARIANT_FALSE;
         return tools.ReadNext(key.get(), text.inOut(), &more);
     },
     Reaches::kEngine},
    {L"CallProg",
     [](_kelTools& tools) {
         VARIANT missing = Variant::Missing().get();
         VARIANT* const m = &missing;
         return tools.CallProg(Str(L"P"), m, m, m, m, m, m, m, m, m, m, m, m);
     },
     Reaches::kCaller},
    {L"Execute",
     [](_kelTools& tools) { return tools.Execute(nullptr, text.inOut(), nullptr); },
     Reaches::kEngine},
    {L"Oconv",
     [](_kelTools& tools) { return tools.Oconv(Str(L"1"), nullptr, text.put()); },
     Reaches::kEngine},
    {L"Iconv",
     [](_kelTools& tools) { return tools.Iconv(Str(L"1"), nullptr, text.put()); },
     Reaches::kCaller},
    {L"ProcessCorrelative",
     [](_kelTools& tools) {
         return tools.ProcessCorrelative(key.get(), Str(L"A;1"), nullptr, nullptr, 0, text.put());
     },
     Reaches::kCaller},
};

// Writing raises failures under a name of its own.
const MemberCase kWriting[] = {
    {L"mvWrite",
     [](_kelTools& tools) { return tools.mvWrite(key.get(), nullptr, nullptr); },
     Reaches::kCaller},
    {L"mvWriteU",
     [](_kelTools& tools) { return tools.mvWriteU(key.get(), nullptr, nullptr); },
     Reaches::kCaller},
};

const MemberCase kIgnoring[] = {
    {L"Disconnect",
     [](_kelTools& tools) { return tools.Disconnect(value.put()); },
     Reaches::kNowhere},
    {L"mvRelease", [](_kelTools& tools) { return tools.mvRelease(key.get()); }, Reaches::kNowhere},
    {L"CloseSelect",
     [](_kelTools& tools) { return tools.CloseSelect(key.get()); },
     Reaches::kNowhere},
};

using FlagGetter = HRESULT (STDMETHODCALLTYPE _kelTools::*)(VARIANT_BOOL*);
struct StateCase {
    const wchar_t* name;
    FlagGetter getter;
};
const StateCase kStates[] = {{L"IsConnected", &_kelTools::IsConnected},
                             {L"IsConnecting", &_kelTools::IsConnecting},
                             {L"ConnectionFailed", &_kelTools::ConnectionFailed}};

ErrorFields NotConnectedIn(const wchar_t* member) {
    return {NotConnected, Text(L"kelTools::") + member, L"Currently not connected"};
}

class ToolsFailure : public ClientTest {
protected:
    ToolsFailure() { key = Bstr(kKey); }
    void TearDown() override {
        key.reset();
        text.reset();
        value.reset();
        ClientTest::TearDown();
    }
};

TEST_F(ToolsFailure, WithoutAnEngineIsTranslatedByMember) {
    endSession();
    // Never bound, and bound to a session that is gone.
    const ComPtr<_kelTools> objects[] = {automation::Make<Tools>(),
                                         automation::Make<Tools>(kSession)};
    for (const auto& tools : objects) {
        const auto check = [&](const MemberCase& one) {
            SCOPED_TRACE(Narrow(one.name));
            text = Bstr(L"stale");
            number = 77;
            EXPECT_EQ(ErrorOf(one.call(*tools)), NotConnectedIn(one.name));
        };
        std::for_each(std::begin(kTranslating), std::end(kTranslating), check);
        std::for_each(std::begin(kWriting), std::end(kWriting), check);
        for (const MemberCase& one : kIgnoring) {
            SCOPED_TRACE(Narrow(one.name));
            value = Value(1);
            EXPECT_EQ(one.call(*tools), S_OK);
        }
        for (const StateCase& one : kStates) {
            SCOPED_TRACE(Narrow(one.name));
            VARIANT_BOOL flag = VARIANT_TRUE;
            EXPECT_EQ((tools.get()->*one.getter)(&flag), S_OK);
            EXPECT_EQ(flag, VARIANT_FALSE);
        }
        number = 77;
        EXPECT_EQ(ErrorOf(tools->Count(key.get(), nullptr, 0, 0, 0, &number)),
                  NotConnectedIn(L"Dcount"));
        EXPECT_EQ(number, 0);
    }
    // Connecting has no translation of its own.
    VARIANT_BOOL connected = VARIANT_TRUE;
    EXPECT_EQ(objects[0]->Connect(&connected), S_OK);
    EXPECT_EQ(connected, VARIANT_FALSE);
    connected = VARIANT_TRUE;
    EXPECT_EQ(ErrorOf(objects[1]->Connect(&connected)).number, automation::kInvalidArrayIndex);
    EXPECT_EQ(connected, VARIANT_FALSE);
}

TEST_F(ToolsFailure, OfTheBackEndComesOutAsItIsRaised) {
    connect();
    backend.putProgram(L"P", [](VARIANT* const*) {});
    const auto tools = automation::Make<Tools>(kSession);
    const Member failing[] = {Member::kExtract,
                              Member::kReplace,
                              Member::kInsert,
                              Member::kDelete,
                              Member::kLocate,
                              Member::kRead,
                              Member::kDcount,
                              Member::kProcessSelect,
                              Member::kReadNext,
                              Member::kCallHost,
                              Member::kExecute,
                              Member::kOconv,
                              Member::kIconv,
                              Member::kProcessCorrelative};
    for (const Member member : failing) {
        backend.fail(member, SampleFailure());
    }
    for (const MemberCase& one : kTranslating) {
        SCOPED_TRACE(Narrow(one.name));
        EXPECT_EQ(ErrorOf(one.call(*tools)),
                  one.reaches == Reaches::kCaller ? SampleFailure() : ErrorFields());
    }
}

TEST_F(ToolsFailure, OfWritingComesOutUnderTheEnginesName) {
    connect();
    readRecord();
    backend.fail(Member::kWrite, SampleFailure());
    const auto tools = automation::Make<Tools>(kSession);
    ErrorFields expected = SampleFailure();
    expected.source = L"kelDBMS::mvWrite";
    for (const MemberCase& one : kWriting) {
        EXPECT_EQ(ErrorOf(one.call(*tools)), expected) << Narrow(one.name);
    }
}

// The number alone decides: a back-end that raises the number of the missing engine is taken for
// it.
TEST_F(ToolsFailure, WithTheNumberOfAMissingEngineIsTaken) {
    connect();
    readRecord();
    backend.fail(Member::kReplace, SampleFailure(automation::kInvalidArrayIndex));
    const auto tools = automation::Make<Tools>(kSession);
    EXPECT_EQ(ErrorOf(tools->Replace(key.get(), Str(L"x"), 1, 0, 0)), NotConnectedIn(L"Replace"));
}

TEST_F(ToolsFailure, OfIgnoringMembersIsNeverSeen) {
    connect();
    readRecord();
    const auto tools = automation::Make<Tools>(kSession);
    tools->ExecuteSelect(key.get(), Str(L"SELECT CUST"));
    for (const Member member : {Member::kRelease, Member::kCloseSelect, Member::kDisconnect}) {
        backend.fail(member, SampleFailure());
    }
    backend.clearCalls();
    for (const MemberCase& one : {kIgnoring[1], kIgnoring[2], kIgnoring[0]}) {
        EXPECT_EQ(one.call(*tools), S_OK) << Narrow(one.name);
    }
    EXPECT_EQ(V_VT(&value.get()), VT_EMPTY);
    EXPECT_EQ(backend.count(Member::kRelease), 1);
    EXPECT_GE(backend.count(Member::kCloseSelect), 1);
    EXPECT_EQ(backend.count(Member::kDisconnect), 1);
    EXPECT_EQ(backend.count(Member::kReplace), 0);
}

TEST_F(ToolsFailure, OfAStateIsFalse) {
    connect();
    backend.fail(Member::kIsConnected, SampleFailure());
    backend.fail(Member::kConnectFailed, SampleFailure());
    const auto tools = automation::Make<Tools>(kSession);
    for (const StateCase& one : kStates) {
        VARIANT_BOOL flag = VARIANT_TRUE;
        EXPECT_EQ((tools.get()->*one.getter)(&flag), S_OK) << Narrow(one.name);
        EXPECT_EQ(flag, VARIANT_FALSE) << Narrow(one.name);
    }
}

TEST_F(ToolsFailure, OfAnOpeningCheckReachesTheCaller) {
    connect();
    const auto tools = automation::Make<Tools>(kSession);
    constexpr long kNoKeyId = automation::kObjectError + 1;
    EXPECT_EQ(ErrorOf(tools->Extract(nullptr, 1, 0, 0, text.put())),
              (ErrorFields{kNoKeyId, L"mvDBMS::Extract", L"No Key Id"}));
    EXPECT_EQ(ErrorOf(tools->mvRead(nullptr, Str(L"17"), nullptr)),
              (ErrorFields{kNoKeyId, L"mvDBMS::mvRead", L"No Key Id"}));
    EXPECT_EQ(ErrorOf(tools->Extract(key.get(), 32768, 0, 0, text.put())),
              (ErrorFields{automation::kOverflow, L"kelSDK", L"Overflow"}));
    // No key field is ignored where everything is.
    EXPECT_EQ(tools->mvRelease(nullptr), S_OK);
    EXPECT_EQ(tools->CloseSelect(nullptr), S_OK);
}

TEST_F(ToolsFailure, OfNullPointersNamesTheArgumentsFault) {
    connect();
    const auto tools = automation::Make<Tools>(kSession);
    const std::function<HRESULT()> calls[] = {
        [&] { return tools->Connect(nullptr); },
        [&] { return tools->Disconnect(nullptr); },
        [&] { return tools->IsConnected(nullptr); },
        [&] { return tools->Extract(key.get(), 1, 0, 0, nullptr); },
        [&] { return tools->Dcount(key.get(), nullptr, 0, 0, 0, nullptr); },
        [&] { return tools->Count(key.get(), nullptr, 0, 0, 0, nullptr); },
        [&] { return tools->Execute(nullptr, nullptr, nullptr); },
        [&] { return tools->RQM(1, nullptr); },
        [&] {
            VARIANT_BOOL more = VARIANT_TRUE;
            return tools->ReadNext(key.get(), nullptr, &more);
        },
        [&] {
            VARIANT_BOOL found = VARIANT_TRUE;
            return tools->Locate(key.get(), nullptr, nullptr, 1, 0, nullptr, &found);
        },
    };
    backend.clearCalls();
    for (const auto& call : calls) {
        SCOPED_TRACE(&call - calls);
        EXPECT_EQ(call(), E_POINTER);
    }
    EXPECT_EQ(backend.takeCalls(), Lines());
}

}  // namespace
}  // namespace kel::tests
