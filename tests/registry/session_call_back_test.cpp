// A client's handle on a session: what it forwards, what it keeps to itself, and how long the
// session's engine lives.
#include "registry/session_call_back.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "automation/type_library.h"
#include "registry/factories.h"
#include "tests/registry/component.h"

namespace kel::tests {
namespace {

using automation::GetFlag;
using automation::GetText;
using registry::ThreadRegistry;

class SessionCallback : public ComponentTest {
protected:
    void TearDown() override {
        listening.end();
        main.reset();
        base.reset();
        ComponentTest::TearDown();
    }
    void SetUp() override {
        main = session(L"Main");
        listening = ListenTo(*main);
        listening.sink->answerProperty(L"OsType", L"99");
    }
    ComPtr<_kelSessionCallBack> session(TextView name) const {
        ComPtr<_kelSessionCallBack> callback;
        EXPECT_EQ(base->GetSessionCallBack(Str(name), callback.put()), S_OK);
        return callback;
    }
    Outcome get(const wchar_t* member) const { return Dispatch(main.get()).get(member); }
    Outcome connect() const { return Dispatch(main.get()).call(L"Connect"); }

    ComPtr<_kelBase> base = newBase();
    ComPtr<_kelSessionCallBack> main;
    Listening listening;
};

ErrorFields NoEngine(const Text& key) {
    return {
        381, L"kelSDK.FastCollection.Item (Get)", L"Invalid property array index '" + key + L"'"};
}

TEST_F(SessionCallback, RaisesOneEventForEachCallOfTheEngine) {
    struct Case {
        const wchar_t* member;
        Arguments arguments;
        const wchar_t* event;
        DISPID id;  // published
    };
    const Case cases[] = {
        {L"SessionConnection", {}, L"Connection()", 1},
        {L"SessionConnectionFailed", {L"why"}, L"ConnectionFailed(why)", 2},
        {L"SessionDisconnect", {}, L"Disconnect()", 3},
        {L"GetPropertyValue", {L"Server"}, L"PropertyValue(Server,)", 4},
    };
    const auto info = automation::TypeInfoOf(__uuidof(__kelSessionCallBack));
    Text name;
    listening.sink->onEvent([&](Event& event) { name = event.name(); });
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.member));
        EXPECT_TRUE(Dispatch(main.get()).call(one.member, one.arguments).ok());
        EXPECT_EQ(listening.sink->take(), Lines{one.event});
        LPOLESTR names[] = {name.data()};
        DISPID id = 0;
        EXPECT_EQ(info->GetIDsOfNames(names, 1, &id), S_OK);
        EXPECT_EQ(id, one.id);
    }
}

TEST_F(SessionCallback, AsksItsListenersForProperties) {
    const auto ask = [&](const wchar_t* name) {
        return Dispatch(main.get()).call(L"GetPropertyValue", {name}).text();
    };
    EXPECT_EQ(ask(L"OsType"), L"99");
    EXPECT_EQ(ask(L"Server"), L"");
    auto second = ListenTo(*main);
    second.sink->answerProperty(L"Server", L"remote");
    EXPECT_EQ(ask(L"OsType"), L"99") << "who does not answer leaves what is there";
    EXPECT_EQ(ask(L"Server"), L"remote");
    second.sink->answerProperty(L"OsType", L"95");
    EXPECT_EQ(second.sink->take(), (Lines{L"PropertyValue(OsType,99)", L"PropertyValue(Server,)"}));
    EXPECT_EQ(ask(L"OsType"), L"95") << "the last answer counts";
    second.sink->failWith(E_FAIL);
    EXPECT_EQ(ask(L"OsType"), L"95");
    second.end();
    listening.end();
    EXPECT_EQ(ask(L"OsType"), L"");
}

TEST_F(SessionCallback, ConnectsOnce) {
    EXPECT_EQ(get(L"IsConnected").text(), L"False");
    EXPECT_EQ(connect().text(), L"True");
    EXPECT_EQ(get(L"IsConnected").text(), L"True");
    EXPECT_EQ(get(L"ConnectionFailed").text(), L"False");
    listening.sink->take();
    backend.clearCalls();
    EXPECT_EQ(connect().text(), L"True");
    EXPECT_EQ(backend.takeCalls(), Lines{L"IsConnected"});
    EXPECT_EQ(listening.sink->take(), Lines{}) << "no event for a session that is connected";
    EXPECT_TRUE(Dispatch(main.get()).call(L"Disconnect").ok());
    EXPECT_EQ(get(L"IsConnected").text(), L"False");
}

TEST_F(SessionCallback, TurnsAFailureToConnectIntoAnAnswer) {
    backend.fail(Member::kConnect, SampleFailure());
    const Outcome outcome = connect();
    EXPECT_TRUE(outcome.ok());
    EXPECT_EQ(outcome.text(), L"False");
    EXPECT_EQ(get(L"ConnectionFailed").text(), L"True");
}

TEST_F(SessionCallback, ForwardsErrorsWithEverythingInThem) {
    ASSERT_EQ(connect().text(), L"True");
    backend.fail(Member::kOsType, SampleFailure());
    EXPECT_EQ(get(L"OsType").error, SampleFailure());
    const Outcome let = Dispatch(main.get()).put(L"OsType", {kOldOsType});
    EXPECT_EQ(let.error,
              (ErrorFields{-2147221501,
                           L"kelDBMS::OsType",
                           L"Unable to find a registered DLL version 2 or above for OsType 98"}));
}

TEST_F(SessionCallback, FailsWithoutAnEngine) {
    struct Case {
        const wchar_t* member;
        WORD kind;
        Arguments arguments;
        const wchar_t* answer;  // null: the error
    };
    const Variant number = Value(short{99});
    const Case cases[] = {
        {L"OsType", DISPATCH_PROPERTYGET, {}, nullptr},
        {L"OsType", DISPATCH_PROPERTYPUT, {number}, nullptr},
        {L"IsConnected", DISPATCH_PROPERTYGET, {}, nullptr},
        {L"ConnectionFailed", DISPATCH_PROPERTYGET, {}, nullptr},
        {L"AutoUpdateOk", DISPATCH_PROPERTYGET, {}, nullptr},
        {L"AutoUpdateOk", DISPATCH_PROPERTYPUT, {true}, nullptr},
        {L"CommonValue", DISPATCH_PROPERTYGET, {L"x"}, nullptr},
        {L"CommonValue", DISPATCH_PROPERTYPUT, {L"x", 1}, nullptr},
        {L"CommonObject", DISPATCH_PROPERTYGET, {L"x"}, nullptr},
        {L"Connect", DISPATCH_METHOD, {}, L"False"},
        {L"Disconnect", DISPATCH_METHOD, {}, L"Empty"},
        {L"Tools", DISPATCH_PROPERTYGET, {}, L"object"},
        {L"SessionName", DISPATCH_PROPERTYGET, {}, L"Second"},
    };
    const auto run = [&](const Case& one) {
        const Dispatch session(main.get());
        return one.kind == DISPATCH_METHOD        ? session.call(one.member, one.arguments)
               : one.kind == DISPATCH_PROPERTYGET ? session.get(one.member, one.arguments)
                                                  : session.put(one.member, one.arguments);
    };
    base->RenameSessionCallback(Str(L"Main"), Str(L"Second"));
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.member));
        const Outcome outcome = run(one);
        EXPECT_EQ(outcome.error, one.answer != nullptr ? ErrorFields{} : NoEngine(L"second"));
        if (one.answer != nullptr) {
            EXPECT_EQ(outcome.text(), one.answer);
        }
    }
    // As soon as there is an engine under the new name it is used.
    const auto engine = registry::TheFactories().makeEngine(L"Second");
    registry().EngineList().Add(Variant(engine.get()).get(), L"second");
    EXPECT_EQ(get(L"IsConnected").text(), L"False");
    EXPECT_EQ(connect().text(), L"True");
}

TEST_F(SessionCallback, SharesTheEngineOfItsName) {
    // Renamed away and back; registered anew in between. Both stand for one engine.
    base->RemoveSessionCallback(Str(L"Main"));
    EXPECT_EQ(registry().EngineList().Count(), 1)
        << "held by the callback, not by its registration";
    const auto second = session(L"MAIN");
    EXPECT_NE(second.get(), main.get());
    EXPECT_EQ(registry().EngineList().Count(), 1);
    auto answering = ListenTo(*second);
    answering.sink->answerProperty(L"OsType", L"99");
    EXPECT_EQ(connect().text(), L"True");
    EXPECT_TRUE(GetFlag(*second, &_kelSessionCallBack::get_IsConnected));
    EXPECT_EQ(answering.sink->take().back(), L"Connection()") << "the registered one is told";
    EXPECT_EQ(listening.sink->take(), Lines{});

    listening.end();
    main.reset();
    EXPECT_EQ(registry().EngineList().Count(), 0) << "the end of either takes the engine away";
    EXPECT_EQ(backend.live().hosts, 0);
    EXPECT_EQ(Dispatch(second.get()).get(L"IsConnected").error, NoEngine(L"main"));
    answering.end();
}

TEST_F(SessionCallback, LeavesTheEngineOfItsFormerName) {
    base->RenameSessionCallback(Str(L"Main"), Str(L"Second"));
    listening.end();
    main.reset();
    base->RemoveSessionCallback(Str(L"Second"));
    EXPECT_TRUE(registry().EngineList().KeyExists(L"main"));
    main = session(L"Main");  // finds it again
    EXPECT_EQ(registry().EngineList().Count(), 1);
}

TEST_F(SessionCallback, InitializesOnlyWithAName) {
    const auto made = automation::Make<registry::SessionCallBack>();
    EXPECT_EQ(ThrownBy([&] { made->Init(); }),
              (ErrorFields{3, L"kelSessionCallback::Init", L"SessionName is missing."}));
    EXPECT_EQ(GetText<_kelSessionCallBack>(*made, &_kelSessionCallBack::get_SessionName), L"");
    made->SetSessionName(Str(L"Other"));
    EXPECT_EQ(ThrownBy([&] { made->Init(); }), ErrorFields{});
    EXPECT_EQ(ThrownBy([&] { made->Init(); }), ErrorFields{}) << "a second time changes nothing";
    EXPECT_EQ(registry().EngineList().Count(), 2);
}

TEST_F(SessionCallback, HandsOnCommonValuesAndObjects) {
    const Dispatch session(main.get());
    EXPECT_TRUE(session.put(L"CommonValue", {L"Day", 7}).ok());
    EXPECT_EQ(session.get(L"CommonValue", {L"Day"}).text(), L"7");
    IDispatch* object = base.get();
    EXPECT_TRUE(session.putRef(L"CommonObject", {L"Root", ByRef(&object)}).ok());
    EXPECT_EQ(session.get(L"CommonObject", {L"Root"}).value.object<_kelBase>().get(), base.get());
    EXPECT_EQ(session.get(L"CommonObject", {L"none"}).text(), L"Nothing");
    EXPECT_TRUE(session.put(L"AutoUpdateOk", {false}).ok());
    EXPECT_EQ(session.get(L"AutoUpdateOk").text(), L"False");
    object = nullptr;
    EXPECT_TRUE(session.putRef(L"CommonObject", {L"Root", ByRef(&object)}).ok());
}

TEST_F(SessionCallback, EndsItsEngineInOrder) {
    listening.end();
    main.reset();
    base.reset();
    const Lines all = LoggedLines([&] {
        base = newBase();
        main = session(L"Main");
        listening = ListenTo(*main);
        listening.sink->answerProperty(L"OsType", L"99");
        connect();
        base->RemoveSessionCallback(Str(L"Main"));
        listening.end();
        main.reset();
        base.reset();
    });
    const Lines connecting = {L"9 Main Connecting...", L"9 Main Connection Made"};
    EXPECT_EQ(
        std::search(all.begin(), all.end(), connecting.begin(), connecting.end()) - all.begin(), 6);
    const Lines ending = {L"1 RemoveSessionCallback Main",
                          L"1 SessionCallback Terminated Begin Main",
                          L"1 DBMS Terminated Begin Main",
                          L"9 DBMS Terminated Main",
                          L"9 SessionCallback Terminate Main"};
    EXPECT_EQ(Lines(all.begin() + 8, all.end()), ending);
}

TEST_F(SessionCallback, LetsGoOfTheEngineListWithItsLastEngine) {
    listening.end();
    const auto second = session(L"Second");
    main.reset();
    base->RemoveSessionCallback(Str(L"Main"));
    EXPECT_FALSE(registry().EngineList().KeyExists(L"main"));
    EXPECT_TRUE(registry().EngineList().KeyExists(L"second"));
}

}  // namespace
}  // namespace kel::tests
