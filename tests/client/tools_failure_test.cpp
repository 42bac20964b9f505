// What becomes of failures in the tools object, member by member.
#include <gtest/gtest.h>

#include "tests/client/client_fixture.h"

namespace kel::tests {
namespace {

// Where the failure of a back-end call ends.
enum class Reaches {
    kCaller,   // comes out as the back-end raised it
    kRenamed,  // the same under the engine's name
    kEngine,   // the engine answers with the default of the result
    kNowhere,  // the member ignores every failure
};

struct MemberCase {
    const wchar_t* name;
    Arguments arguments;
    Reaches reaches;
};

ErrorFields NotConnectedIn(const wchar_t* member) {
    return {NotConnected, Text(L"kelTools::") + member, L"Currently not connected"};
}

class ToolsFailure : public ClientTest {
protected:
    static Dispatch tools(TextView session = {}) {
        return Dispatch(ComPtr<_kelTools>(automation::Make<client::Tools>(session)).get());
    }

    Bstr text;
    long number = 0;
    const std::vector<MemberCase> members = {
        {L"Extract", {kKey, 1}, Reaches::kEngine},
        {L"Replace", {kKey, L"", 1}, Reaches::kCaller},
        {L"Insert", {kKey, L"", 1}, Reaches::kCaller},
        {L"Delete", {kKey, 1}, Reaches::kCaller},
        {L"Locate", {kKey, L"", ByRef(&number), 1}, Reaches::kCaller},
        {L"mvRead", {kKey, L"17", L""}, Reaches::kCaller},
        {L"mvReadU", {kKey, L"17", L""}, Reaches::kCaller},
        {L"mvWrite", {kKey, L"17", L""}, Reaches::kRenamed},
        {L"mvWriteU", {kKey, L"17", L""}, Reaches::kRenamed},
        {L"Dcount", {kKey, L""}, Reaches::kEngine},
        {L"ExecuteSelect", {kKey, L"SELECT CUST"}, Reaches::kEngine},
        {L"ReadNext", {kKey, ByRef(text)}, Reaches::kEngine},
        {L"CallProg", {L"P"}, Reaches::kCaller},
        {L"Execute", {L"", ByRef(text), ByRef(text)}, Reaches::kEngine},
        {L"Oconv", {L"1", L""}, Reaches::kEngine},
        {L"Iconv", {L"1", L""}, Reaches::kCaller},
        {L"ProcessCorrelative", {kKey, L"A;1", L"", L"", 0}, Reaches::kCaller},
        {L"mvRelease", {kKey}, Reaches::kNowhere},
        {L"CloseSelect", {kKey}, Reaches::kNowhere},
        {L"Disconnect", {}, Reaches::kNowhere},
    };
};

TEST_F(ToolsFailure, WithoutAnEngineIsTranslatedByMember) {
    endSession();
    for (const wchar_t* name : {L"", kSession}) {  // never bound, and to a session that is gone
        const Dispatch unbound = tools(name);
        for (const MemberCase& one : members) {
            SCOPED_TRACE(Narrow(one.name));
            EXPECT_EQ(unbound.call(one.name, one.arguments).error,
                      one.reaches == Reaches::kNowhere ? ErrorFields() : NotConnectedIn(one.name));
        }
        for (const wchar_t* state : {L"IsConnected", L"IsConnecting", L"ConnectionFailed"}) {
            EXPECT_EQ(unbound.call(state).text(), L"False") << Narrow(state);
        }
        EXPECT_EQ(unbound.call(L"Count", {kKey, L""}).error, NotConnectedIn(L"Dcount"));
    }
    // Connecting has no translation of its own.
    EXPECT_EQ(tools().call(L"Connect").text(), L"False");
    EXPECT_EQ(tools(kSession).call(L"Connect").error.number, automation::kInvalidArrayIndex);
}

TEST_F(ToolsFailure, OfTheBackEndComesOutAsTheMemberHasIt) {
    connect();
    readRecord();
    backend.putProgram(L"P", [](VARIANT* const*) {});
    const Dispatch bound = tools(kSession);
    EXPECT_TRUE(bound.call(L"ExecuteSelect", {kKey, L"SELECT CUST"}).ok());
    for (int member = static_cast<int>(Member::kDisconnect);
         member <= static_cast<int>(Member::kSelectFileName);
         ++member) {
        if (static_cast<Member>(member) != Member::kCreateDynamicArray) {
            backend.fail(static_cast<Member>(member), SampleFailure());
        }
    }
    ErrorFields renamed = SampleFailure();
    renamed.source = L"kelDBMS::mvWrite";
    for (const MemberCase& one : members) {
        SCOPED_TRACE(Narrow(one.name));
        backend.clearCalls();
        EXPECT_EQ(bound.call(one.name, one.arguments).error,
                  one.reaches == Reaches::kCaller    ? SampleFailure()
                  : one.reaches == Reaches::kRenamed ? renamed
                                                     : ErrorFields());
    }
}

// The number alone decides: a back-end that raises the number of the missing engine is taken for
// it.
TEST_F(ToolsFailure, WithTheNumberOfAMissingEngineIsTaken) {
    connect();
    readRecord();
    backend.fail(Member::kReplace, SampleFailure(automation::kInvalidArrayIndex));
    EXPECT_EQ(tools(kSession).call(L"Replace", {kKey, L"x", 1}).error, NotConnectedIn(L"Replace"));
}

TEST_F(ToolsFailure, OfAnOpeningCheckReachesTheCallerUnlessEverythingIsIgnored) {
    connect();
    const Dispatch bound = tools(kSession);
    EXPECT_EQ(bound.call(L"Extract", {L"", 1}).error,
              (ErrorFields{automation::kObjectError + 1, L"mvDBMS::Extract", L"No Key Id"}));
    EXPECT_TRUE(bound.call(L"mvRelease", {L""}).ok());
    EXPECT_TRUE(bound.call(L"CloseSelect", {L""}).ok());
}

}  // namespace
}  // namespace kel::tests
