// What a thread has is let go of with its apartment, while COM is still alive there; what a client
// keeps beyond that end can still be released.
#include <gtest/gtest.h>

#include <thread>

#include "client/tools.h"
#include "tests/registry/component.h"

namespace kel::tests {
namespace {

using automation::GetText;
using registry::ThreadRegistry;

class Apartment : public ComponentTest {
protected:
    // Everything a client may hold of a session with a record, a file and a select list open.
    struct Client {
        ComPtr<_kelBase> base;
        ComPtr<_kelSessionCallBack> session;
        ComPtr<_kelFieldCallBack> field;
        ComPtr<_kelTools> tools;
        ComPtr<client::DictItem> item;
        ComPtr<IDispatch> record;
        Listening sessionEvents;
        Listening fieldEvents;

        void open() {
            base = newBase();
            base->GetSessionCallBack(Str(L"Main"), session.put());
            base->GetFieldCallBack(Str(L"Cust"), field.put());
            base->SetKeyFieldSession(Str(L"Cust"), Str(L"Main"));
            base->SetKeyFieldFileName(Str(L"Cust"), Str(L"CUST"));
            sessionEvents = ListenTo(*session);
            sessionEvents.sink->answerProperty(L"OsType", L"99");
            fieldEvents = ListenTo(*field);
            EXPECT_EQ(Dispatch(session.get()).call(L"Connect").text(), L"True");
            session->get_Tools(tools.put());
            const Dispatch late(tools.get());
            EXPECT_TRUE(late.call(L"mvReadU", {L"Cust", L"17", L"CUST"}).ok());
            EXPECT_TRUE(late.call(L"ExecuteSelect", {L"Cust", L"SELECT CUST"}).ok());
            item = automation::Make<client::DictItem>();
            item->definition.keyId = L"Cust";
            item->definition.session = L"Main";
            item->definition.amc = 1;
            ComPtr<_kelInfo> info;
            EXPECT_EQ(item->mvInfo(info.put()), S_OK);
            record = info;
        }
        void close() { *this = {}; }
    };

    void SetUp() override { backend.putRecord(L"CUST", L"17", L"Smith"); }
};

TEST_F(Apartment, TakesEverythingWithItThatNobodyHolds) {
    Lines events;
    HRESULT alive = E_FAIL;
    auto sink = EventRecorder::Make(__uuidof(__kelFieldCallBack));
    OnThread([&] {
        Client client;
        client.open();
        EXPECT_EQ(backend.live(), (LiveObjects{1, 1, 1, 1}));
        // The listener stays connected, as that of a form which is torn down.
        Advise(client.field.get(), __uuidof(__kelFieldCallBack), sink.get());
        sink->onEvent([&](Event&) {
            CLSID clsid;
            CLSIDFromProgID(L"kelos95.IHostDLL", &clsid);
            ComPtr<IUnknown> made;
            alive = CoCreateInstance(clsid,
                                     nullptr,
                                     CLSCTX_INPROC_SERVER,
                                     IID_IUnknown,
                                     reinterpret_cast<void**>(made.put()));
        });
        client.close();
        EXPECT_EQ(backend.live(), (LiveObjects{1, 1, 1, 1}));
        backend.clearCalls();
    });
    EXPECT_EQ(backend.live(), LiveObjects());
    EXPECT_EQ(sink->take(), Lines{L"Disconnected()"});
    EXPECT_EQ(alive, S_OK) << "COM works in the listener";
    EXPECT_EQ(backend.count(Member::kCloseFile), 1);
    EXPECT_EQ(backend.count(Member::kCloseSelect), 1);
    EXPECT_EQ(backend.count(Member::kDisconnect), 1);
    EXPECT_EQ(backend.locks(), Lines{});
}

TEST_F(Apartment, LeavesObjectsBehindThatStillAnswer) {
    std::thread([&] {
        CoInitialize(nullptr);
        Client client;
        client.open();
        client.fieldEvents.sink->take();
        CoUninitialize();

        EXPECT_EQ(ThreadRegistry::IfAny(), nullptr);
        EXPECT_EQ(client.fieldEvents.sink->take(), Lines{L"Disconnected()"});
        EXPECT_EQ(backend.live(), (LiveObjects{0, 1, 0, 0}))
            << "only the client's own record state";
        EXPECT_EQ(GetText(*client.session, &_kelSessionCallBack::get_SessionName), L"Main");
        EXPECT_EQ(GetText(*client.field, &_kelFieldCallBack::get_KeyId), L"Cust");
        EXPECT_EQ(client.field->FldClear(), S_OK);
        client.close();
        SetErrorInfo(0, nullptr);
        EXPECT_EQ(ThreadRegistry::IfAny(), nullptr) << "releasing brings nothing back";
    }).join();
    EXPECT_EQ(backend.live(), LiveObjects());
}

TEST_F(Apartment, CanBeginAgainOnTheSameThread) {
    OnThread([&] {
        CoInitialize(nullptr);  // nested: its end ends nothing
        Client client;
        client.open();
        CoUninitialize();
        ASSERT_NE(ThreadRegistry::IfAny(), nullptr);
        EXPECT_EQ(Dispatch(client.session.get()).get(L"IsConnected").text(), L"True");

        client.close();
        RestartApartment();
        EXPECT_EQ(backend.live(), LiveObjects());
        client.open();
        EXPECT_EQ(GetText(*client.base, &_kelBase::ClassId), L"1");
        client.close();
    });
    EXPECT_EQ(backend.live(), LiveObjects());
}

TEST_F(Apartment, OutlastsHandlersThatStartAllOverAtItsEnd) {
    int events = 0;
    auto sink = EventRecorder::Make(__uuidof(__kelFieldCallBack));
    OnThread([&] {
        Client client;
        client.open();
        Advise(client.field.get(), __uuidof(__kelFieldCallBack), sink.get());
        client.close();
        sink->onEvent([&](Event&) {
            // Whether it succeeds depends on how far the end has come; it leaves nothing behind.
            ++events;
            const auto base = newBase();
            ComPtr<_kelFieldCallBack> field;
            base->GetFieldCallBack(Str(L"New" + std::to_wstring(events)), field.put());
            ComPtr<_kelSessionCallBack> session;
            base->GetSessionCallBack(Str(L"Main"), session.put());
            const auto answering = ListenTo(*session);
            answering.sink->answerProperty(L"OsType", L"99");
            EXPECT_TRUE(Dispatch(session.get()).call(L"Connect").ok());
        });
    });
    EXPECT_GE(events, 2) << "told of the new connection and of its end, too";
    EXPECT_EQ(backend.live(), LiveObjects());
}

}  // namespace
}  // namespace kel::tests
