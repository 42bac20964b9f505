// Connecting and disconnecting from within one another, as handlers of a session's and of controls'
// events do it: every call ends, everybody is told once, and what is left works.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/registry/session.h"

namespace kel::tests {
namespace {

class Nesting : public SessionTest {
protected:
    void ready() {
        backend.putRecord(L"CUST", L"17", L"Smith");
        addField(L"Cust");
        main->get_Tools(tools.put());
    }
    void TearDown() override {
        tools.reset();
        SessionTest::TearDown();
    }
    Text client(TextView member) const { return Dispatch(main.get()).call(member).text(); }
    Outcome tool(TextView member, const Arguments& arguments = {}) const {
        return Dispatch(tools.get()).call(member, arguments);
    }
    Text busy() const { return tool(L"IsConnecting").text(); }
    // The whole record in the buffer of a key field.
    Text whole(TextView key = L"Cust") const { return tool(L"Extract", {key, 0}).text(); }
    void read(TextView key = L"Cust") const {
        EXPECT_EQ(tool(L"mvRead", {key, L"17", L"CUST"}).error, ErrorFields{});
    }
    // Runs `action` at every event of this name, at the session and at the key field.
    void at(const wchar_t* name, std::function<void()> action) {
        handlers[name] = std::move(action);
        const auto run = [this](Event& event) {
            const auto found = handlers.find(event.name());
            if (found != handlers.end()) {
                const auto handler = found->second;
                handler();
            }
        };
        session.sink->onEvent(run);
        listener(L"Cust").onEvent(run);
    }
    void atOnce(const wchar_t* name, const std::function<void()>& action) {
        at(name, [this, name, action] {
            handlers.erase(name);
            action();
        });
    }
    std::ptrdiff_t heard(TextView line) const { return std::ranges::count(events, Text(line)); }
    // After each case nothing of the back-end is left, and a client can begin afresh.
    void expectOrder() {
        handlers.clear();
        expectWorks();
        EXPECT_EQ(backend.live(), LiveObjects());
        EXPECT_EQ(backend.releasedConnected(), 0);
        tools.reset();
        reopen();
    }

    ComPtr<_kelTools> tools;
    std::map<Text, std::function<void()>> handlers;
};

TEST_F(Nesting, OfDisconnectInItselfIsOneDisconnect) {
    for (const wchar_t* event : {L"Disconnect", L"Disconnected"}) {
        SCOPED_TRACE(Narrow(event));
        ready();
        ASSERT_TRUE(connect());
        read();
        takeEvents();
        backend.clearCalls();
        Lines states;
        at(event, [&] {
            client(L"Disconnect");
            tool(L"Disconnect");
            states.push_back(busy());
        });
        client(L"Disconnect");
        EXPECT_EQ(takeEvents(), (Lines{L"Main: Disconnect()", L"Cust: Disconnected()"}));
        EXPECT_EQ(states, Lines{L"True"});
        EXPECT_EQ(busy(), L"False");
        EXPECT_EQ(backend.count(Member::kDisconnect), 1);
        expectOrder();
    }
}

TEST_F(Nesting, OfConnectInItselfAnswersFalseUntilThereIsAnOutcome) {
    ready();
    Lines answers;
    at(L"PropertyValue", [&] {
        answers.push_back(client(L"Connect") + L" " + tool(L"Connect").text() + L" " + busy());
    });
    EXPECT_EQ(client(L"Connect"), L"True");
    const Text inside = L"False False True";
    EXPECT_EQ(answers, (Lines{inside, inside, inside}));
    EXPECT_EQ(events,
              (Lines{L"Main: PropertyValue(OsType,)",
                     L"Main: PropertyValue(Server,)",
                     L"Main: PropertyValue(Account,)",
                     L"Main: Connection()",
                     L"Cust: Connected()"}));
    expectOrder();

    // While the outcome is told it stands: nobody is told again.
    ready();
    for (const wchar_t* event : {L"Connection", L"Connected"}) {
        at(event, [&] { EXPECT_EQ(tool(L"Connect").text(), L"True"); });
    }
    EXPECT_EQ(client(L"Connect"), L"True");
    EXPECT_EQ(heard(L"Main: Connection()") + heard(L"Cust: Connected()"), 2);
    expectOrder();

    // Trying again whenever it failed comes to an end.
    ready();
    backend.fail(Member::kConnect, SampleFailure());
    long tries = 0;
    at(L"ConnectionFailed", [&] {
        ++tries;
        EXPECT_EQ(client(L"Connect"), L"False");
    });
    EXPECT_EQ(client(L"Connect"), L"False");
    EXPECT_GT(tries, 3) << "a person mistypes a password";
    backend.reset();
    expectOrder();

    // And it may succeed.
    ready();
    backend.fail(Member::kConnect, SampleFailure(), kOnce);
    atOnce(L"ConnectionFailed", [&] { EXPECT_EQ(client(L"Connect"), L"True"); });
    EXPECT_EQ(client(L"Connect"), L"True") << "connected at the end";
    EXPECT_EQ(get(L"ConnectionErrMsg").text(), L"");
    expectOrder();
}

TEST_F(Nesting, OfOsTypeInItsOwnQuestionAnswersZero) {
    ready();
    Lines answers;
    at(L"PropertyValue", [&] { answers.push_back(Dispatch(main.get()).get(L"OsType").text()); });
    EXPECT_EQ(Dispatch(main.get()).get(L"OsType").text(), L"99");
    EXPECT_EQ(std::exchange(answers, {}), Lines{L"0"});
    EXPECT_EQ(client(L"Connect"), L"True");
    EXPECT_EQ(answers, (Lines{L"0", L"99", L"99"})) << "the back-end answers once it is there";
    expectOrder();

    // A client that connects when it is asked.
    ready();
    atOnce(L"PropertyValue", [&] { EXPECT_EQ(client(L"Connect"), L"True"); });
    EXPECT_EQ(Dispatch(main.get()).get(L"OsType").text(), L"99");
    expectOrder();
}

TEST_F(Nesting, OfDisconnectInConnectMakesItFail) {
    struct Case {
        const char* name;
        std::function<void(const std::function<void()>&)> arrange;
    };
    const auto asked = [this](const wchar_t* property) {
        return [this, property](const std::function<void()>& action) {
            session.sink->onEvent([this, property, action](Event& event) {
                if (event.name() == L"PropertyValue" &&
                    Shown(event.argument(0).get()) == property) {
                    action();
                }
            });
        };
    };
    const Case cases[] = {
        {"asked for the kind of back-end", asked(L"OsType")},
        {"asked for a property", asked(L"Account")},
        {"making the back-end",
         [this](const auto& action) { backend.before(Member::kCreate, action, kOnce); }},
        {"before the back-end connects",
         [this](const auto& action) { backend.before(Member::kConnect, action, kOnce); }},
        {"after the back-end connected",
         [this](const auto& action) { backend.after(Member::kConnect, action, kOnce); }},
        {"when the back-end says that it is connected",
         [this](const auto& action) {
             backend.after(
                 Member::kConnect,
                 [this, action] { backend.before(Member::kIsConnected, action, kOnce); },
                 kOnce);
         }},
    };
    for (const Case& one : cases) {
        for (const bool connectsAgain : {false, true}) {
            SCOPED_TRACE(std::string(one.name) + (connectsAgain ? ", and connects again" : ""));
            ready();
            one.arrange([&] {
                client(L"Disconnect");
                EXPECT_EQ(busy(), L"True") << "the Connect goes on";
                if (connectsAgain) {
                    EXPECT_EQ(client(L"Connect"), L"False");
                }
            });
            EXPECT_EQ(client(L"Connect"), L"False");
            EXPECT_EQ(heard(L"Main: Connection()") + heard(L"Cust: Connected()"), 0);
            EXPECT_EQ(heard(L"Main: Disconnect()"), 1);
            ASSERT_FALSE(events.empty());
            EXPECT_TRUE(events.back().starts_with(L"Main: ConnectionFailed(")) << "the outcome";
            EXPECT_FALSE(get(L"ConnectionErrMsg").text().empty());
            EXPECT_EQ(client(L"IsConnected") + busy(), L"FalseFalse");
            session.sink->onEvent({});
            expectOrder();
        }
    }
}

TEST_F(Nesting, OfDisconnectWhileTheConnectionIsTold) {
    for (const wchar_t* event : {L"Connection", L"Connected"}) {
        for (const bool connectsAgain : {false, true}) {
            SCOPED_TRACE(Narrow(event) + (connectsAgain ? ", and connects again" : ""));
            ready();
            addField(L"Item");
            atOnce(event, [&] {
                client(L"Disconnect");
                if (connectsAgain) {
                    EXPECT_EQ(client(L"Connect"), L"True");
                }
            });
            const Text outcome = connectsAgain ? L"True" : L"False";
            EXPECT_EQ(client(L"Connect"), outcome) << "connected at the end or not";
            EXPECT_EQ(client(L"IsConnected"), outcome);
            const std::ptrdiff_t connections = connectsAgain ? 1 : 0;
            EXPECT_EQ(heard(L"Item: Connected()"), connections);
            EXPECT_EQ(heard(L"Item: Disconnected()"), 1);
            EXPECT_EQ(events.back(),
                      connectsAgain ? L"Item: Connected()" : L"Item: Disconnected()");
            expectOrder();
        }
    }
}

TEST_F(Nesting, OfConnectInDisconnectKeepsTheNewConnection) {
    struct Case {
        const char* name;
        std::function<void(const std::function<void()>&)> arrange;
    };
    const auto within = [this](Member member) {
        return [this, member](const auto& action) { backend.before(member, action, kOnce); };
    };
    const Case cases[] = {
        {"told at the session", [this](const auto& action) { atOnce(L"Disconnect", action); }},
        {"told at a control", [this](const auto& action) { atOnce(L"Disconnected", action); }},
        {"a window's message", [](const auto& action) { AtNextPump(action); }},
        {"the file is closed", within(Member::kCloseFile)},
        {"the back-end disconnects", within(Member::kDisconnect)},
        {"the list is closed", within(Member::kCloseSelect)},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        ready();
        addField(L"Item");
        ASSERT_TRUE(connect());
        read();
        read(L"Item");
        EXPECT_TRUE(tool(L"ExecuteSelect", {L"Item", L"SELECT CUST"}).ok());
        EXPECT_TRUE(tool(L"Replace", {L"Cust", L"of the old one", 1}).ok());
        takeEvents();
        bool ran = false;
        one.arrange([&] {
            ran = true;
            // Through the tools: a session that is still connected would only say so.
            EXPECT_EQ(tool(L"Connect").text(), L"True");
            EXPECT_EQ(busy(), L"True") << "the Disconnect has not returned";
            EXPECT_EQ(whole(), L"") << "a record of its own";
            read();
        });
        client(L"Disconnect");
        ASSERT_TRUE(ran);
        EXPECT_EQ(client(L"IsConnected") + busy(), L"TrueFalse");
        EXPECT_EQ(whole(), L"Smith");
        EXPECT_EQ(backend.live().hosts, 1);
        EXPECT_EQ(backend.live().files, 1);
        EXPECT_EQ(backend.live().lists, 0);
        for (const wchar_t* key : {L"Cust", L"Item"}) {
            const auto told = std::ranges::find(events, Text(key) + L": Disconnected()");
            const auto toldAgain = std::ranges::find(events, Text(key) + L": Connected()");
            EXPECT_LT(told, toldAgain) << Narrow(key);
            EXPECT_EQ(heard(Text(key) + L": Disconnected()"), 1) << Narrow(key);
            EXPECT_EQ(heard(Text(key) + L": Connected()"), 1) << Narrow(key);
        }
        expectOrder();
    }
}

TEST_F(Nesting, OfHandlersThatContradictEachOtherEnds) {
    ready();
    const auto connects = [this] { client(L"Connect"); };
    const auto disconnects = [this] { client(L"Disconnect"); };
    const std::pair<const wchar_t*, const wchar_t*> pairs[] = {{L"Connection", L"Disconnect"},
                                                               {L"Connected", L"Disconnected"}};
    for (const auto& [up, down] : pairs) {
        at(up, disconnects);
        at(down, connects);
        client(L"Connect");
        client(L"Disconnect");
        EXPECT_EQ(busy(), L"False");
        handlers.clear();
    }
    client(L"Disconnect");
    expectOrder();
}

TEST_F(Nesting, WhatIsOpenedWhileDisconnectingGoesWithTheConnection) {
    struct Case {
        const char* name;
        std::function<void(const std::function<void()>&)> arrange;
    };
    const Case cases[] = {
        {"a window's message", [](const auto& action) { AtNextPump(action); }},
        {"the session is told", [this](const auto& action) { at(L"Disconnect", action); }},
        {"a control is told", [this](const auto& action) { at(L"Disconnected", action); }},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        ready();
        backend.putRecord(L"ITEM", L"17", L"Bolt");
        ASSERT_TRUE(connect());
        read();
        one.arrange([this] {
            // Also a key field that is tied to nothing.
            for (const wchar_t* key : {L"Cust", L"Loose"}) {
                tool(L"mvRead", {key, L"17", L"ITEM"});
                tool(L"ExecuteSelect", {key, L"SELECT ITEM"});
            }
        });
        client(L"Disconnect");
        EXPECT_EQ(backend.count(Member::kOpenFile), 2);
        EXPECT_EQ(backend.count(Member::kCloseFile), 2);
        EXPECT_EQ(backend.live(), LiveObjects());
        handlers.clear();
        ASSERT_TRUE(connect());
        EXPECT_EQ(tool(L"mvRead", {L"Cust", L"17", L"ITEM"}).error, ErrorFields{});
        EXPECT_EQ(whole(), L"Bolt");
        expectOrder();
    }
}

TEST_F(Nesting, NoRecordOfAnyKeyFieldOutlivesItsConnection) {
    struct Case {
        const char* name;
        std::function<void()> act;
    };
    const Case cases[] = {
        {"tied", [] {}},
        {"never tied", [this] { base->RemoveFieldCallBack(Str(L"Cust")); }},
        {"removed", [this] { base->RemoveFieldCallBack(Str(L"Cust")); }},
        {"renamed", [this] { base->RenameFieldCallback(Str(L"Cust"), Str(L"Client")); }},
        {"given to another session",
         [this] { base->SetKeyFieldSession(Str(L"Cust"), Str(L"Second")); }},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        ready();
        ASSERT_TRUE(connect());
        const bool isTied = std::string_view(one.name) != "never tied";
        if (!isTied) {
            one.act();
        }
        read();
        EXPECT_TRUE(tool(L"Replace", {L"Cust", L"of the old account", 1}).ok());
        EXPECT_TRUE(tool(L"ExecuteSelect", {L"Cust", L"SELECT CUST"}).ok());
        if (isTied) {
            one.act();
        }
        takeEvents();
        client(L"Disconnect");
        EXPECT_EQ(backend.count(Member::kCloseSelect), 1);
        EXPECT_EQ(backend.live(), LiveObjects());
        EXPECT_EQ(takeEvents().front(), L"Main: Disconnect()");

        backend.putRecord(L"CUST", L"17", L"of the new account");
        ASSERT_TRUE(connect());
        EXPECT_EQ(tool(L"mvWrite", {L"Cust", L"", L"CUST"}).error, ErrorFields{});
        EXPECT_EQ(backend.record(L"CUST", L"17"), L"of the new account");
        EXPECT_EQ(whole(), L"");
        expectOrder();
    }
}

TEST_F(Nesting, WalksReachAsFarAsTheTableDidWhenTheyBegan) {
    ready();
    long added = 0;
    const auto add = [&] {
        const Text name = L"New" + std::to_wstring(fields.size());
        ++added;
        addField(name);
        listener(name).onEvent([this](Event& event) {
            const auto found = handlers.find(event.name());
            if (found != handlers.end()) {
                found->second();
            }
        });
    };
    for (const wchar_t* event : {L"Connected", L"Disconnected", L"CommonValueChanged"}) {
        at(event, add);
    }
    // In the end every row has a key field that adds another.
    constexpr long kRows[] = {11, 21, 41};
    client(L"Connect");
    EXPECT_EQ(std::exchange(added, 0), kRows[0]);
    Dispatch(main.get()).put(L"CommonValue", {L"Day", 1});
    EXPECT_EQ(std::exchange(added, 0), kRows[1]);
    client(L"Disconnect");
    EXPECT_EQ(added, kRows[2]);
    expectOrder();
}

}  // namespace
}  // namespace kel::tests
