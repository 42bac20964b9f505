// Connecting: who is asked for what and told of it in which order, and how each way to fail ends.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/registry/session.h"

namespace kel::tests {
namespace {

class Connect : public SessionTest {
protected:
    Text errorText() const { return get(L"ConnectionErrMsg").text(); }
    Text state() const {
        return L"connected " + get(L"IsConnected").text() + L", connecting " +
               get(L"IsConnecting").text();
    }
};

const Text kConnected = L"connected True, connecting False";
const Text kDisconnected = L"connected False, connecting False";

TEST_F(Connect, AsksForPropertiesConnectsAndTellsEverybody) {
    session.sink->answerProperty(L"Server", L"local");
    session.sink->answerProperty(L"Account", L"DEMO");
    for (const wchar_t* name : {L"B", L"A"}) {
        addField(name);
    }
    addField(L"Other", L"CUST", L"Second");
    addField(L"Spelled", L"CUST", L"MAIN");
    base->SetKeyFieldSession(Str(L"Unregistered"), Str(L"Main"));
    auto second = ListenTo(*fields[L"B"].callback);
    second.sink->alsoTo(&events, L"B again: ");
    Lines states;
    const auto note = [&](Event& event) { states.push_back(event.name() + L" " + state()); };
    session.sink->onEvent(note);
    listener(L"A").onEvent(note);

    EXPECT_TRUE(connect());
    EXPECT_EQ(events,
              (Lines{L"Main: PropertyValue(OsType,)",
                     L"Main: PropertyValue(Server,)",
                     L"Main: PropertyValue(Account,)",
                     L"Main: Connection()",
                     L"B: Connected()",
                     L"B again: Connected()",
                     L"A: Connected()",
                     L"Spelled: Connected()"}));
    EXPECT_EQ(states,
              (Lines{L"PropertyValue connected False, connecting True",
                     L"PropertyValue connected False, connecting True",
                     L"PropertyValue connected False, connecting True",
                     L"Connection connected True, connecting False",
                     L"Connected connected True, connecting False"}));
    EXPECT_EQ(backend.propertyValue(L"Server"), L"local");
    EXPECT_EQ(backend.propertyValue(L"Account"), L"DEMO");
    EXPECT_EQ(errorText(), L"");
    second.end();
}

TEST_F(Connect, CallsTheBackendInOrder) {
    ASSERT_TRUE(connect());
    EXPECT_EQ(backend.takeCalls(),
              (Lines{L"Create(99)",
                     L"PropertyCount",
                     L"GetPropertyName(1,,)",
                     L"PropertyValue(Server)=",
                     L"GetPropertyName(2,,)",
                     L"PropertyValue(Account)=",
                     L"GetPropertyName(3,,)",
                     L"GetPropertyName(4,,)",
                     L"IsConnected",
                     L"Connect",
                     L"IsConnected"}));
    // Once more: the back-end stays, is configured anew and not asked to connect.
    EXPECT_TRUE(connect());
    const Lines calls = backend.takeCalls();
    EXPECT_EQ(std::ranges::count(calls, L"PropertyValue(Server)="), 1);
    EXPECT_EQ(std::ranges::count(calls, L"Create(99)") + std::ranges::count(calls, L"Connect"), 0);
    EXPECT_EQ(takeEvents().back(), L"Main: Connection()");
    EXPECT_EQ(backend.live().hosts, 1);
}

TEST_F(Connect, EndsEveryFailureInATextAndAnEvent) {
    const auto answer = [this](TextView osType) {
        return [this, osType] { session.sink->answerProperty(L"OsType", osType); };
    };
    const auto fail = [this](Member member, const Failure& failure) {
        return [this, member, failure] { backend.fail(member, failure); };
    };
    Failure own = SampleFailure();
    own.source = L"kelSDK";
    const Text missing =
        L"Connection Configuration Error: -2147221503 (kelSDK::Connect::kelDBMS::Connection) "
        L"No OS Type has been assigned.";
    const Text trapped =
        L"Connection Configuration Error: 10201 (kelSDK::Connect::kelos99.Sample) "
        L"A sample failure";
    const auto uncreatable = [](const Text& osType) {
        return L"Connection Configuration Error: Do not have a valid DLL for OS Type " + osType +
               L".  Unable to Create Object.";
    };
    struct Case {
        const char* name;
        std::function<void()> arrange;
        Text text;
        long hosts;  // kept for the next attempt
    };
    const Case cases[] = {
        {"no number", answer(L""), missing, 0},
        {"negative number", answer(L"-5"), missing, 0},
        {"unknown number", answer(L"77"), uncreatable(L"77"), 0},
        {"no back-end class", answer(L"96"), uncreatable(L"96"), 0},
        {"cannot be made", fail(Member::kCreate, SampleFailure()), uncreatable(L"99"), 0},
        {"setting a property", fail(Member::kPropertyValueLet, SampleFailure()), trapped, 1},
        {"asked whether connected", fail(Member::kIsConnected, SampleFailure()), trapped, 1},
        {"a bare failure",
         fail(Member::kPropertyCount, BareFailure(13)),
         L"Connection Configuration Error: 13 (kelSDK::Connect::kelSDK) Type mismatch",
         1},
        {"connecting",
         fail(Member::kConnect, SampleFailure()),
         L"Connection Error:  (kelos99.Sample) A sample failure",
         1},
        {"connecting, in the component's name",
         fail(Member::kConnect, own),
         L"Connection Error:  (kelSDK::Connect) A sample failure",
         1},
        {"connecting, without description",
         fail(Member::kConnect, BareFailure(13)),
         L"Connection Error:  (kelSDK::Connect) Type mismatch",
         1},
        {"connecting without success",
         [this] { backend.instead(Member::kConnect, [] {}); },
         L"Connection Failed: Check the connection information",
         1},
        {"no session callback",
         [this] { base->RemoveSessionCallback(Str(L"Main")); },
         L"Connection Configuration Error: 381 (kelSDK::Connect::kelSDK.FastCollection.Item "
         L"(Get)) Invalid property array index 'main'",
         0},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        backend.reset();
        addField(L"Cust");
        one.arrange();
        const bool isRegistered = registry().SessionCallbackList().KeyExists(L"main");
        const Outcome outcome = call(L"Connect");
        EXPECT_TRUE(outcome.ok());
        EXPECT_EQ(outcome.text(), L"False");
        EXPECT_EQ(errorText(), one.text);
        EXPECT_EQ(backend.live().hosts, one.hosts);
        backend.reset();
        EXPECT_EQ(state(), kDisconnected);
        if (isRegistered) {
            EXPECT_EQ(takeEvents().back(), L"Main: ConnectionFailed(" + one.text + L")");
            // The next attempt begins without a trace of this one.
            session.sink->answerProperty(L"OsType", L"99");
            EXPECT_TRUE(connect());
            EXPECT_EQ(errorText(), L"");
            EXPECT_EQ(backend.live().hosts, 1);
            EXPECT_EQ(backend.count(Member::kCreate), 1 - one.hosts);
        }
        reopen();
    }
}

TEST_F(Connect, CountsABackendThatSaysSoAsConnected) {
    addField(L"Cust");
    backend.fail(Member::kConnect, Late(SampleFailure()));
    EXPECT_TRUE(connect());
    EXPECT_EQ(errorText(), L"Connection Error:  (kelos99.Sample) A sample failure");
    EXPECT_EQ(state(), kConnected);
    EXPECT_EQ(events.back(), L"Cust: Connected()");
    EXPECT_EQ(std::ranges::count(events, L"Main: Connection()"), 1);
    reopen();

    backend.reset();
    backend.setConnectedAtStart(true);
    EXPECT_TRUE(connect());
    EXPECT_EQ(backend.count(Member::kConnect), 0);
    EXPECT_EQ(backend.count(Member::kPropertyValueLet), 2);
    EXPECT_EQ(events.back(), L"Main: Connection()");
}

TEST_F(Connect, ReplacesABackendOfAnotherKind) {
    ASSERT_TRUE(connect());
    backend.clearCalls();
    // What the session is to be comes from the back-end itself, once there is one.
    backend.answer(Member::kOsType, Value(kOtherOsType));
    EXPECT_TRUE(connect());
    const auto calls = backend.calls();
    ASSERT_GE(calls.size(), 4U);
    EXPECT_EQ(Lines({calls[0].text, calls[1].text, calls[2].text, calls[3].text}),
              (Lines{L"OsType", L"OsType", L"Disconnect", L"Create(95)"}));
    EXPECT_EQ(backend.live().hosts, 1);
    EXPECT_EQ(get(L"OsType").text(), L"95");

    // One that cannot be made leaves the former, disconnected.
    backend.answer(Member::kOsType, Value(short{77}));
    EXPECT_FALSE(connect());
    EXPECT_EQ(errorText(),
              L"Connection Configuration Error: Do not have a valid DLL for OS Type 77.  "
              L"Unable to Create Object.");
    EXPECT_EQ(get(L"OsType").text(), L"95");
    EXPECT_EQ(state(), kDisconnected);

    // A former one that fails to disconnect is a failure to connect.
    backend.answer(Member::kOsType, Value(kTestOsType));
    backend.fail(Member::kDisconnect, SampleFailure(), kOnce);
    EXPECT_FALSE(connect());
    EXPECT_EQ(errorText(),
              L"Connection Configuration Error: 10201 (kelSDK::Connect::kelos99.Sample) "
              L"A sample failure");
    EXPECT_TRUE(connect());
}

TEST_F(Connect, WritesItsFailureIntoTheLog) {
    letGo();
    const Lines lines = LoggedLines([this] {
        open();
        session.sink->answerProperty(L"OsType", L"77");
        call(L"Connect");
        letGo();
    });
    EXPECT_EQ(
        std::ranges::count(lines,
                           L"9 Main Connection failed 'Connection Configuration Error: Do not "
                           L"have a valid DLL for OS Type 77.  Unable to Create Object.'"),
        1);
}

}  // namespace
}  // namespace kel::tests
