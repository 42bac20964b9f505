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

TEST_F(SessionCallback, FailsWithoutAnEngine) {
    struct Case {
        const wchar_t* member;
        Arguments arguments;
        const wchar_t* answer = nullptr;  // null: the error
        bool isPut = false;
    };
    const Case cases[] = {
        {L"OsType", {}},
        {L"OsType", {short{99}}, nullptr, true},
        {L"IsConnected", {}},
        {L"ConnectionFailed", {}},
        {L"AutoUpdateOk", {}},
        {L"AutoUpdateOk", {true}, nullptr, true},
        {L"CommonValue", {L"x"}},
        {L"CommonValue", {L"x", 1}, nullptr, true},
        {L"CommonObject", {L"x"}},
        {L"Tools", {}, L"object"},
        {L"SessionName", {}, L"Second"},
    };
    base->RenameSessionCallback(Str(L"Main"), Str(L"Second"));
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.member));
        const Dispatch session(main.get());
        const Outcome outcome = one.isPut ? session.put(one.member, one.arguments)
                                          : session.get(one.member, one.arguments);
        EXPECT_EQ(outcome.error, one.answer != nullptr ? ErrorFields{} : NoEngine(L"second"));
        if (one.answer != nullptr) {
            EXPECT_EQ(outcome.text(), one.answer);
        }
    }
    EXPECT_EQ(connect().text(), L"False");
    EXPECT_TRUE(Dispatch(main.get()).call(L"Disconnect").ok());
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

}  // namespace
}  // namespace kel::tests
