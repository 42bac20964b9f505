// Client code in the middle of members: listeners and back-end calls that take away, replace or
// change the very thing in hand. Members end as described, nothing crashes, and whatever came of it
// a client connects, reads, changes and writes afterwards as in a session of its own.
#include <gtest/gtest.h>

#include <cstdio>

#include "client/tools.h"
#include "tests/engine/message_box.h"
#include "tests/registry/session.h"

namespace kel::tests {
namespace {

class Reentrancy : public SessionTest {
protected:
    // A client calls through the tools object: it holds neither engine nor record.
    Outcome tool(TextView member, const Arguments& arguments) const {
        return Dispatch(tools.get()).call(member, arguments);
    }
    // Record 17 in the buffer of Cust and a select list open, or nothing done but connecting.
    void ready(bool isFresh = false) {
        backend.putProgram(L"PROG", [](VARIANT* const*) {});
        backend.putRecord(L"CUST", L"17", L"Smith");
        backend.putRecord(L"CUST", L"18", L"Jones");
        addField(L"Cust");
        ASSERT_TRUE(connect());
        main->get_Tools(tools.put());
        if (!isFresh) {
            EXPECT_TRUE(tool(L"mvRead", {L"Cust", L"17", L"CUST"}).ok());
            EXPECT_TRUE(tool(L"ExecuteSelect", {L"Cust", L"SELECT CUST"}).ok());
        }
        backend.clearCalls();
        engine.reset();
    }
    // Lets go of all that this test holds of the session.
    void letGoOfSession() {
        base->RemoveSessionCallback(Str(L"Main"));
        session.subscription.reset();
        main.reset();
    }
    void removeField() {
        base->RemoveFieldCallBack(Str(L"Cust"));
        fields[L"Cust"].callback.reset();
    }
    void TearDown() override {
        tools.reset();
        SessionTest::TearDown();
    }
    struct Action {
        const char* name;
        std::function<void()> run;
    };
    std::vector<Action> worst() {
        const auto on = [this](const wchar_t* member, Arguments arguments) {
            return [this, member, arguments] { tool(member, arguments); };
        };
        return {
            {"disconnects", [this] { tool(L"Disconnect", {}); }},
            {"disconnects and connects",
             [this] {
                 tool(L"Disconnect", {});
                 tool(L"Connect", {});
             }},
            {"lets go of the session", [this] { letGoOfSession(); }},
            {"removes the key field", [this] { removeField(); }},
            {"renames the key field",
             [this] { base->RenameFieldCallback(Str(L"Cust"), Str(L"Client")); }},
            {"renames the session",
             [this] { base->RenameSessionCallback(Str(L"Main"), Str(L"Second")); }},
            {"ties the key field to another session",
             [this] { base->SetKeyFieldSession(Str(L"Cust"), Str(L"Second")); }},
            {"reads another record", on(L"mvRead", {L"Cust", L"18", L"CUST"})},
            {"reads nothing", on(L"mvRead", {L"Cust", L"", L"CUST"})},
            {"writes", on(L"mvWrite", {L"Cust", L"17", L"CUST"})},
            {"changes", on(L"Replace", {L"Cust", L"x", 1})},
            {"clears", on(L"Replace", {L"Cust", L"", 0})},
            {"selects anew", on(L"ExecuteSelect", {L"Cust", L"SELECT CUST"})},
            {"closes the selection", on(L"CloseSelect", {L"Cust"})},
            {"connects", on(L"Connect", {})},
        };
    }
    struct Call {
        const char* name;
        const wchar_t* member;
        Arguments arguments;
    };
    std::vector<Call> calls() {
        return {
            {"read", L"mvRead", {L"Cust", L"17", L"CUST"}},
            {"read another", L"mvRead", {L"Cust", L"18", L"CUST"}},
            {"read nothing", L"mvRead", {L"Cust", L"4", L"CUST"}},
            {"write", L"mvWrite", {L"Cust", L"17", L"CUST"}},
            {"extract", L"Extract", {L"Cust", 1}},
            {"replace", L"Replace", {L"Cust", L"y", 1}},
            {"clear", L"Replace", {L"Cust", L"", 0}},
            {"insert", L"Insert", {L"Cust", L"y", 1}},
            {"delete", L"Delete", {L"Cust", 1}},
            {"count", L"Dcount", {L"Cust", L"m"}},
            {"select", L"ExecuteSelect", {L"Cust", L"SELECT CUST"}},
            {"next", L"ReadNext", {L"Cust", ByRef(text)}},
            {"close", L"CloseSelect", {L"Cust"}},
            {"release", L"mvRelease", {L"Cust"}},
            {"correlative", L"ProcessCorrelative", {L"Cust", L"A;1", L"v", L"", short{0}}},
            {"program", L"CallProg", {L"PROG", 1}},
            {"command", L"Execute", {L"WHO", ByRef(text), ByRef(text)}},
            {"convert", L"Oconv", {L"1", L"MD2"}},
            {"connect", L"Connect", {}},
            {"disconnect", L"Disconnect", {}},
        };
    }
    // The session works, and nothing is left once everything has been let go of; then the next
    // round may begin.
    void startOver() {
        expectWorks();
        EXPECT_EQ(backend.live(), LiveObjects());
        EXPECT_EQ(backend.releasedConnected(), 0);
        letGo();
        tools.reset();
        RestartApartment();
        EXPECT_EQ(backend.live(), LiveObjects());
        backend.reset();
        open();
    }

    ComPtr<_kelTools> tools;
    Bstr text;
};

TEST_F(Reentrancy, WithinEveryBackendCall) {
    long combinations = 0;
    const auto run =
        [&](const Call& call, const Action& action, long number, Phase phase, bool isFresh) {
            ready(isFresh);
            bool ran = false;
            backend.addCallRule(number, phase, Guarded([&] {
                                    if (!std::exchange(ran, true)) {
                                        action.run();
                                    }
                                }));
            tool(call.member, call.arguments);
            combinations += std::exchange(ran, true) ? 1 : 0;
            startOver();
        };
    for (const Call& call : calls()) {
        for (const Action& action : worst()) {
            SCOPED_TRACE(std::string(call.name) + ", meanwhile it " + action.name);
            for (const long number : {1, 2, 3}) {
                run(call, action, number, Phase::kBefore, false);
                run(call, action, number, Phase::kAfter, false);
                run(call, action, number, Phase::kAfter, true);
            }
        }
    }
    std::printf("re-entrancy: %ld combinations of calls and actions\n", combinations);
    EXPECT_GT(combinations, 1000);
}

TEST_F(Reentrancy, WithinEveryEvent) {
    long combinations = 0;
    for (const Call& call : calls()) {
        for (const Action& action : worst()) {
            SCOPED_TRACE(std::string(call.name) + ", when told of it " + action.name);
            ready();
            bool ran = false;
            const auto once = [&](Event&) {
                if (!std::exchange(ran, true)) {
                    action.run();
                }
            };
            session.sink->onEvent(once);
            listener(L"Cust").onEvent(once);
            tool(call.member, call.arguments);
            combinations += std::exchange(ran, true) ? 1 : 0;
            startOver();
        }
    }
    std::printf("re-entrancy: %ld combinations of events and actions\n", combinations);
    EXPECT_GT(combinations, 100);
}

TEST_F(Reentrancy, WithinTheEndOfTheEngine) {
    for (const Action& action : worst()) {
        SCOPED_TRACE(action.name);
        ready();
        bool ran = false;
        listener(L"Cust").onEvent([&](Event&) {
            if (!std::exchange(ran, true)) {
                action.run();
            }
        });
        letGoOfSession();
        EXPECT_TRUE(ran);
        startOver();
    }
}

TEST_F(Reentrancy, OfAChangeWithinItsOwnRefresh) {
    connectAndRead();
    bool done = false;
    listener(L"Cust").onEvent([&](Event&) {
        if (!std::exchange(done, true)) {
            EXPECT_TRUE(call(L"Replace", {L"inner", Item(L"Cust", 2).get()}).ok());
        }
    });
    EXPECT_TRUE(call(L"Replace", {L"outer", Item(L"Cust", 1).get()}).ok());
    EXPECT_EQ(takeEvents(), (Lines{L"Cust: Refresh(1,0,0)", L"Cust: Refresh(2,0,0)"}));
    EXPECT_EQ(record(), L"outer\u00FEinner|17|CUST|R-C|0");
}

TEST_F(Reentrancy, OfAReadWithinItsOwnEvent) {
    backend.putRecord(L"CUST", L"18", L"Jones");
    connectAndRead();
    bool done = false;
    listener(L"Cust").onEvent([&](Event&) {
        if (!std::exchange(done, true)) {
            EXPECT_EQ(call(L"mvRead", {L"18", Item(L"Cust").get()}).text(), L"0");
        }
    });
    EXPECT_EQ(call(L"mvRead", {L"4", Item(L"Cust").get()}).text(), L"1") << "its own outcome";
    EXPECT_EQ(record(), L"Jones|18|CUST|R--|0") << "the state is that of the last read";
}

TEST_F(Reentrancy, OfADisconnectionWithinARead) {
    connectAndRead();
    const auto kept = info();
    backend.after(
        Member::kRead, [this] { EXPECT_TRUE(call(L"Disconnect").ok()); }, kOnce);
    EXPECT_EQ(call(L"mvRead", {L"17", Item(L"Cust").get()}).text(), L"0")
        << "the record had been read";
    EXPECT_EQ(recordLine(*kept), L"Smith|17|CUST|R--|0");
    EXPECT_NE(info().get(), kept.get()) << "into a state that is no longer the key field's";
    // Where an empty buffer is needed there is nobody to make it.
    ASSERT_TRUE(connect());
    backend.after(
        Member::kRead, [this] { EXPECT_TRUE(call(L"Disconnect").ok()); }, kOnce);
    EXPECT_EQ(call(L"mvRead", {L"4", Item(L"Cust").get()}).error, kNoBackend);
}

}  // namespace
}  // namespace kel::tests
