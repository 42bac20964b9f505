// The component as clients get it: by its programmatic identifier, out of its DLL.
#include <gtest/gtest.h>

#include "kelSDK.h"
#include "tests/support/backend.h"
#include "tests/support/dispatch.h"
#include "tests/support/event_recorder.h"

namespace kel::tests {
namespace {

class Server : public BackendTest {
protected:
    static Dispatch objectOf(const Outcome& outcome) {
        EXPECT_EQ(outcome.error, ErrorFields{});
        return Dispatch(outcome.value.object<IUnknown>().get());
    }
    void TearDown() override {
        CoUninitialize();
        CoInitialize(nullptr);
        BackendTest::TearDown();
    }
};

TEST_F(Server, ServesASessionLateBound) {
    backend.putRecord(L"CUST", L"17", L"Smith\u00FEOxford");
    const Dispatch base = Dispatch::Create(L"kelSDK.kelBase");
    ASSERT_NE(base.get(), nullptr) << "the component is not registered";
    EXPECT_EQ(base.call(L"Version").text(), L"1.0.134");
    const Dispatch session = objectOf(base.call(L"GetSessionCallBack", {L"Main"}));
    const Dispatch field = objectOf(base.call(L"GetFieldCallBack", {L"Cust"}));
    base.call(L"SetKeyFieldSession", {L"Cust", L"Main"});
    Lines events;
    const auto sessionSink = EventRecorder::Make(__uuidof(__kelSessionCallBack));
    const auto fieldSink = EventRecorder::Make(__uuidof(__kelFieldCallBack));
    sessionSink->answerProperty(L"OsType", L"99");
    sessionSink->alsoTo(&events, L"Main: ");
    fieldSink->alsoTo(&events, L"Cust: ");
    const Subscription first(session.get(), __uuidof(__kelSessionCallBack), sessionSink.get());
    const Subscription second(field.get(), __uuidof(__kelFieldCallBack), fieldSink.get());
    EXPECT_EQ(session.call(L"Connect").text(), L"True");

    const Dispatch tools = objectOf(session.get(L"Tools"));
    events.clear();
    EXPECT_TRUE(tools.call(L"mvRead", {L"Cust", L"17", L"CUST"}).ok());
    EXPECT_EQ(tools.call(L"Extract", {L"Cust", 2}).text(), L"Oxford");
    EXPECT_TRUE(tools.call(L"Replace", {L"Cust", L"Leeds", 2}).ok());
    EXPECT_TRUE(tools.call(L"mvWrite", {L"Cust", L"17"}).ok());
    EXPECT_EQ(backend.record(L"CUST", L"17"), L"Smith\u00FELeeds");
    EXPECT_EQ(tools.call(L"mvRead", {L"Cust", L"1", L"NONE"}).error,
              (ErrorFields{10301, L"kelos99", L"No file NONE"}));
    EXPECT_EQ(tools.call(L"Extract", {L"", 1}).error,
              (ErrorFields{-2147221503, L"mvDBMS::Extract", L"No Key Id"}));
    EXPECT_TRUE(session.call(L"Disconnect").ok());
    EXPECT_EQ(events,
              (Lines{L"Cust: ReadValid(17,True,0)",
                     L"Cust: Refresh(2,0,0)",
                     L"Main: Disconnect()",
                     L"Cust: Disconnected()"}));
}

TEST_F(Server, LetsGoOfEverythingWithTheApartment) {
    backend.putRecord(L"CUST", L"17", L"Smith");
    {
        const Dispatch base = Dispatch::Create(L"kelSDK.kelBase");
        ASSERT_NE(base.get(), nullptr) << "the component is not registered";
        const Dispatch session = objectOf(base.call(L"GetSessionCallBack", {L"Main"}));
        const auto sink = EventRecorder::Make(__uuidof(__kelSessionCallBack));
        sink->answerProperty(L"OsType", L"99");
        Advise(session.get(), __uuidof(__kelSessionCallBack), sink.get());
        EXPECT_EQ(session.call(L"Connect").text(), L"True");
        const Dispatch tools = objectOf(session.get(L"Tools"));
        EXPECT_TRUE(tools.call(L"mvReadU", {L"Cust", L"17", L"CUST"}).ok());
    }
    EXPECT_EQ(backend.live(), (LiveObjects{1, 1, 1, 0}));
    CoUninitialize();
    EXPECT_EQ(backend.live(), LiveObjects());
    EXPECT_EQ(backend.locks(), Lines{});
    CoInitialize(nullptr);
}

}  // namespace
}  // namespace kel::tests
