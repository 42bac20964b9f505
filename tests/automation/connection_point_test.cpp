// Events and listeners, above all listeners that do the worst at the worst moment.
#include "automation/connection_point.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/automation/probe.h"
#include "tests/support/event_recorder.h"

namespace kel::tests {
namespace {

using automation::Make;
using Knows = EventRecorder::Knows;

constexpr DISPID kConnection = 1;
constexpr DISPID kConnectionFailed = 2;
constexpr DISPID kDisconnect = 3;
constexpr DISPID kPropertyValue = 4;

// An object with events, which a test raises.
class Bell final : public ProbeMembers<
                       automation::EventSource<::Collection, _Collection, __kelSessionCallBack>> {
public:
    using EventSource::raise;

    ComPtr<IConnectionPoint> point() {
        ComPtr<IConnectionPoint> result;
        FindConnectionPoint(__uuidof(__kelSessionCallBack), result.put());
        return result;
    }
    // Asks the listeners for a property.
    Text ask(TextView name, TextView preset = {}) {
        Bstr value(preset);
        raise(kPropertyValue, Value(name), Variant::Reference(value.inOut()));
        return Text(value.view());
    }

    bool raisesAtEnd = false;

private:
    ~Bell() override = default;
    void terminate() noexcept override {
        if (raisesAtEnd) {
            raise(kDisconnect);
        }
    }
};

ComPtr<EventRecorder> Listener(Knows knows = Knows::kEvents) {
    return EventRecorder::Make(__uuidof(__kelSessionCallBack), knows);
}

DWORD Advise(Bell& bell, EventRecorder& recorder) {
    return Advise(bell.self(), __uuidof(__kelSessionCallBack), &recorder);
}

class Events : public testing::Test {
protected:
    Events() {
        for (std::size_t i = 0; i < listeners.size(); ++i) {
            listeners[i]->alsoTo(&log, std::to_wstring(i + 1) + L":");
            cookies[i] = Advise(*bell, *listeners[i]);
        }
    }
    std::vector<Text> ring(const wchar_t* message) {
        bell->raise(kConnectionFailed, Value(message));
        return std::exchange(log, {});
    }

    std::vector<Text> log;
    ComPtr<Bell> bell = Make<Bell>();
    std::array<ComPtr<EventRecorder>, 3> listeners = {Listener(), Listener(), Listener()};
    std::array<DWORD, 3> cookies{};
};

using Log = std::vector<Text>;

TEST_F(Events, ReachEveryListenerInTheOrderOfArrival) {
    EXPECT_EQ(ring(L"x"),
              (Log{L"1:ConnectionFailed(x)", L"2:ConnectionFailed(x)", L"3:ConnectionFailed(x)"}));
    EXPECT_EQ(bell->point()->Unadvise(cookies[1]), S_OK);
    cookies[1] = Advise(*bell, *listeners[1]);
    EXPECT_EQ(ring(L""),
              (Log{L"1:ConnectionFailed()", L"3:ConnectionFailed()", L"2:ConnectionFailed()"}));
    bell->raise(kConnection);
    EXPECT_EQ(log, (Log{L"1:Connection()", L"3:Connection()", L"2:Connection()"}));
}

TEST_F(Events, AreNotHeardByListenersThatLeaveOrComeMeanwhile) {
    listeners[0]->onEvent([&](Event&) {
        bell->point()->Unadvise(cookies[0]);
        bell->point()->Unadvise(cookies[1]);
        listeners[1].reset();  // gone altogether
        cookies[0] = Advise(*bell, *listeners[0]);
        listeners[0]->onEvent([](Event&) { throw std::runtime_error("listener"); });
        listeners[0]->failWith(E_FAIL);
    });
    EXPECT_EQ(ring(L"a"), (Log{L"1:ConnectionFailed(a)", L"3:ConnectionFailed(a)"}));
    EXPECT_EQ(ring(L"b"), (Log{L"3:ConnectionFailed(b)", L"1:ConnectionFailed(b)"}))
        << "who comes meanwhile hears the next one";
    EXPECT_EQ(ring(L"c").size(), 2U) << "and who throws the one after that";
}

TEST_F(Events, MayBeRaisedInsideEvents) {
    listeners[0]->onEvent([&](Event& event) {
        if (event.name() == L"ConnectionFailed") {
            bell->raise(kConnection);
        }
    });
    EXPECT_EQ(ring(L"a"),
              (Log{L"1:ConnectionFailed(a)",
                   L"1:Connection()",
                   L"2:Connection()",
                   L"3:Connection()",
                   L"2:ConnectionFailed(a)",
                   L"3:ConnectionFailed(a)"}));
}

TEST_F(Events, OutliveTheirSourcesLastReference) {
    Bell* const raw = bell.get();
    const long objects = automation::ModuleLocks::count();
    listeners[0]->onEvent([&](Event&) {
        bell.reset();
        EXPECT_EQ(automation::ModuleLocks::count(), objects);
    });
    raw->raise(kConnectionFailed, Value(L"last"));
    EXPECT_EQ(log.size(), 3U) << "the others are told all the same";
    EXPECT_EQ(automation::ModuleLocks::count(), objects - 1);
}

TEST_F(Events, CanBeRaisedWhileTheSourceEnds) {
    bell->raisesAtEnd = true;
    listeners[1]->onEvent([&](Event&) { listeners[1].reset(); });
    bell.reset();
    EXPECT_EQ(log, (Log{L"1:Disconnect()", L"2:Disconnect()", L"3:Disconnect()"}));
}

TEST_F(Events, BringBackWhatTheLastListenerAnswers) {
    EXPECT_EQ(bell->ask(L"Server", L"preset"), L"preset");
    listeners[0]->answerProperty(L"Server", L"first");
    EXPECT_EQ(bell->ask(L"Server", L"preset"), L"first");
    listeners[2]->answerProperty(L"Server", L"last");
    EXPECT_EQ(bell->ask(L"Server"), L"last");
    EXPECT_EQ(listeners[2]->take().back(), L"PropertyValue(Server,first)")
        << "each listener sees what those before it answered";
    EXPECT_EQ(bell->ask(L"server"), L"");
}

TEST(ConnectionPoint, TakesSinksThatAreAtLeastAutomationObjects) {
    struct Case {
        Knows knows;
        HRESULT code;
        std::size_t events;
    };
    const Case cases[] = {
        {Knows::kEvents, S_OK, 1},
        {Knows::kOnlyDispatch, S_OK, 1},
        {Knows::kOnlyUnknown, CONNECT_E_CANNOTCONNECT, 0},
    };
    for (const Case& one : cases) {
        const auto bell = Make<Bell>();
        const auto listener = Listener(one.knows);
        DWORD cookie = 99;
        EXPECT_EQ(bell->point()->Advise(listener.get(), &cookie), one.code);
        EXPECT_EQ(cookie != 0, one.code == S_OK);
        bell->raise(kConnection);
        EXPECT_EQ(listener->lines().size(), one.events);
    }
}

TEST(ConnectionPoint, RefusesNullPointersAndWrongCookies) {
    const auto bell = Make<Bell>();
    const auto listener = Listener();
    const auto point = bell->point();
    DWORD cookie = 0;
    EXPECT_EQ(point->Advise(nullptr, &cookie), E_POINTER);
    EXPECT_EQ(point->Advise(listener.get(), nullptr), E_POINTER);
    ASSERT_EQ(point->Advise(listener.get(), &cookie), S_OK);
    for (const DWORD wrong : {DWORD{0}, cookie + 1, ~DWORD{0}}) {
        EXPECT_EQ(point->Unadvise(wrong), CONNECT_E_NOCONNECTION) << wrong;
    }
    EXPECT_EQ(point->Unadvise(cookie), S_OK);
    EXPECT_EQ(point->Unadvise(cookie), CONNECT_E_NOCONNECTION);
    const DWORD second = Advise(*bell, *listener);
    EXPECT_NE(second, cookie) << "a cookie is never used again";

    auto* other = reinterpret_cast<IConnectionPoint*>(&cookie);
    EXPECT_EQ(bell->FindConnectionPoint(__uuidof(__kelFieldCallBack), &other),
              CONNECT_E_NOCONNECTION);
    EXPECT_EQ(other, nullptr);
    SetErrorInfo(0, nullptr);
}

TEST_F(Events, ListenersCanBeEnumeratedAsTheyWere) {
    ComPtr<IEnumConnections> all;
    ASSERT_EQ(bell->point()->EnumConnections(all.put()), S_OK);
    bell->point()->Unadvise(cookies[1]);
    std::array<CONNECTDATA, 4> found{};
    ULONG fetched = 99;
    EXPECT_EQ(all->Next(1, nullptr, &fetched), E_POINTER);
    EXPECT_EQ(all->Next(2, found.data(), nullptr), E_POINTER);
    EXPECT_EQ(all->Next(4, found.data(), &fetched), S_FALSE);
    ASSERT_EQ(fetched, 3U);
    for (std::size_t i = 0; i < fetched; ++i) {
        EXPECT_EQ(found[i].dwCookie, cookies[i]);
        EXPECT_EQ(found[i].pUnk, listeners[i].get());
        found[i].pUnk->Release();
    }
    EXPECT_EQ(all->Skip(1), S_FALSE);
    EXPECT_EQ(all->Reset(), S_OK);
    EXPECT_EQ(all->Skip(2), S_OK);
    ComPtr<IEnumConnections> clone;
    ASSERT_EQ(all->Clone(clone.put()), S_OK);
    EXPECT_EQ(clone->Next(2, found.data(), &fetched), S_FALSE);
    EXPECT_EQ(fetched, 1U) << "a copy starts where the original stood";
    found[0].pUnk->Release();
    SetErrorInfo(0, nullptr);
}

}  // namespace
}  // namespace kel::tests
