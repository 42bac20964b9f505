// Disconnecting: what is closed and dropped, who is told, and that nothing of it ever fails.
#include <gtest/gtest.h>

#include "tests/registry/session.h"

namespace kel::tests {
namespace {

class Disconnect : public SessionTest {
protected:
    void disconnect() const { EXPECT_EQ(call(L"Disconnect").error, ErrorFields{}); }
    // Two files, and a select list for Cust but none for Item.
    void openAll() {
        backend.createFile(L"ITEM");
        connectAndRead();
        addField(L"Item", L"ITEM");
        addField(L"Other", L"CUST", L"Second");
        EXPECT_TRUE(call(L"mvRead", {L"1", Item(L"Item").get()}).ok());
        EXPECT_TRUE(call(L"ExecuteSelectList", {L"SELECT CUST", Item(L"Cust").get()}).ok());
        takeEvents();
        backend.clearCalls();
    }
};

TEST_F(Disconnect, ClosesAndTellsInOrder) {
    openAll();
    for (const Member member : {Member::kCloseFile, Member::kDisconnect, Member::kCloseSelect}) {
        backend.before(member,
                       [&](CallInProgress& call) { events.push_back(L"call " + call.text()); });
    }
    Lines connecting;
    session.sink->onEvent([&](Event&) { connecting.push_back(get(L"IsConnecting").text()); });
    disconnect();
    EXPECT_EQ(takeEvents(),
              (Lines{L"call CloseFile(file#2)",
                     L"call CloseFile(file#1)",
                     L"call Disconnect",
                     L"Main: Disconnect()",
                     L"call CloseSelect(list#1)",
                     L"Cust: Disconnected()",
                     L"call CloseSelect(Nothing)",
                     L"Item: Disconnected()"}));
    EXPECT_EQ(connecting, Lines{L"True"});
    EXPECT_EQ(get(L"IsConnecting").text(), L"False");
    EXPECT_EQ(backend.live(), LiveObjects());
}

TEST_F(Disconnect, IsQuietWithoutAConnection) {
    addField(L"Cust");
    for (int times = 0; times < 2; ++times) {
        disconnect();
        EXPECT_EQ(takeEvents(), (Lines{L"Main: Disconnect()", L"Cust: Disconnected()"}));
        EXPECT_EQ(backend.takeCalls(), Lines{});
    }
    session.sink->answerProperty(L"OsType", L"");
    EXPECT_FALSE(connect());
    disconnect();
    EXPECT_EQ(get(L"ConnectionErrMsg").text(), L"") << "the text of the failure is gone";
    EXPECT_EQ(takeEvents().back(), L"Cust: Disconnected()");
}

TEST_F(Disconnect, LetsABusyFormDoOnlyWhatWaitsAtEachStep) {
    openAll();
    const long files = backend.live().files;
    const BusyForm form;
    disconnect();
    form.expectServed(files + registry().xref().upper() + 1);
    EXPECT_EQ(takeEvents(),
              (Lines{L"Main: Disconnect()", L"Cust: Disconnected()", L"Item: Disconnected()"}));
    EXPECT_EQ(backend.live(), LiveObjects());
    expectWorks();
}

TEST_F(Disconnect, DetachesRecordStates) {
    openAll();
    const auto kept = info();
    EXPECT_EQ(recordLine(*kept), L"Smith|17|CUST|R--|0");
    disconnect();
    EXPECT_EQ(recordLine(*kept), L"Smith|17|CUST|R--|0") << "the client's stays as it was";
    ComPtr<IDispatch> list;
    kept->get_SelectList(list.put());
    EXPECT_FALSE(list);
    EXPECT_NE(info().get(), kept.get());
    EXPECT_EQ(record(), L"Nothing|||---|0");
    ASSERT_TRUE(connect());
    EXPECT_EQ(call(L"mvOpen", {L"CUST"}).text(), L"0");
    EXPECT_EQ(backend.count(Member::kOpenFile), 1) << "files are opened anew";
}

TEST_F(Disconnect, HappensWhenTheEngineEnds) {
    openAll();
    session.subscription.reset();
    base->RemoveSessionCallback(Str(L"Main"));
    EXPECT_EQ(backend.live().hosts, 1) << "the client still holds the session";
    main.reset();
    EXPECT_EQ(backend.live().hosts, 1) << "and this test its engine";
    backend.clearCalls();
    engine.reset();
    EXPECT_EQ(backend.live(), LiveObjects());
    EXPECT_EQ(backend.count(Member::kDisconnect), 1);
    // The session's callback has gone before, so only the key fields hear of it.
    EXPECT_EQ(takeEvents(), (Lines{L"Cust: Disconnected()", L"Item: Disconnected()"}));
}

}  // namespace
}  // namespace kel::tests
