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

TEST_F(Events, PassOverListenersThatFailOrThrow) {
    listeners[0]->failWith(E_FAIL);
    listeners[1]->onEvent([](Event&) { throw std::runtime_error("listener"); });
    EXPECT_EQ(ring(L"a").size(), 3U);
    EXPECT_EQ(ring(L"b").size(), 3U) << "and they hear the next event as well";
}

TEST_F(Events, AreNotHeardByListenersThatLeaveMeanwhile) {
    listeners[0]->onEvent([&](Event&) {
        bell->point()->Unadvise(cookies[0]);
        bell->point()->Unadvise(cookies[1]);
        listeners[1].reset();  // gone altogether
    });
    EXPECT_EQ(ring(L"a"), (Log{L"1:ConnectionFailed(a)", L"3:ConnectionFailed(a)"}));
    EXPECT_EQ(ring(L"b"), (Log{L"3:ConnectionFailed(b)"}));
}

TEST_F(Events, AreHeardFromTheNextOneOnByListenersThatComeMeanwhile) {
    const auto late = Listener();
    late->alsoTo(&log, L"late:");
    listeners[2]->onEvent([&](Event&) {
        if (late->lines().empty() && log.size() == 3) {
            Advise(*bell, *late);
        }
    });
    EXPECT_EQ(ring(L"a").size(), 3U);
    EXPECT_EQ(ring(L"b").back(), L"late:ConnectionFailed(b)");
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
    EXPECT_EQ(point->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(point->GetConnectionInterface(nullptr), E_POINTER);
    EXPECT_EQ(point->GetConnectionPointContainer(nullptr), E_POINTER);
    EXPECT_EQ(point->EnumConnections(nullptr), E_POINTER);
    EXPECT_EQ(bell->FindConnectionPoint(__uuidof(__kelSessionCallBack), nullptr), E_POINTER);
    EXPECT_EQ(bell->EnumConnectionPoints(nullptr), E_POINTER);

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

TEST(ConnectionPoint, IsAPartOfItsObject) {
    const auto bell = Make<Bell>();
    auto point = bell->point();
    IID iid = GUID_NULL;
    EXPECT_EQ(point->GetConnectionInterface(&iid), S_OK);
    EXPECT_TRUE(IsEqualIID(iid, __uuidof(__kelSessionCallBack)));
    ComPtr<IConnectionPointContainer> container;
    EXPECT_EQ(point->GetConnectionPointContainer(container.put()), S_OK);
    EXPECT_EQ(container.as<_Collection>().get(), bell.get());
    EXPECT_FALSE(point.as<_Collection>()) << "but an object of its own";
    EXPECT_TRUE(point.as<IUnknown>());
    GUID source = GUID_NULL;
    EXPECT_EQ(bell->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &source), S_OK);
    EXPECT_TRUE(IsEqualGUID(source, iid));
    container.reset();
    point.reset();
    EXPECT_EQ(bell->AddRef(), 2U);
    bell->Release();
}

TEST(ConnectionPoint, KeepsListenersExactlyAsLongAsTheyAreConnected) {
    const auto listener = Listener();
    const auto references = [&] {
        listener->AddRef();
        return listener->Release();
    };
    auto bell = Make<Bell>();
    const DWORD first = Advise(*bell, *listener);
    Advise(*bell, *listener);
    EXPECT_EQ(references(), 3U);
    bell->point()->Unadvise(first);
    EXPECT_EQ(references(), 2U);
    bell.reset();
    EXPECT_EQ(references(), 1U);
}

// The contract of every enumerator, for one with `count` items.
template <typename Enumerator, typename Item>
void CheckEnumerator(Enumerator& all, ULONG count, const std::function<void(Item&)>& release) {
    std::vector<Item> items(count + 1);
    ULONG fetched = 99;
    EXPECT_EQ(all.Next(1, nullptr, &fetched), E_POINTER);
    EXPECT_EQ(all.Next(2, items.data(), nullptr), E_POINTER);
    EXPECT_EQ(all.Next(0, items.data(), &fetched), S_OK);
    EXPECT_EQ(fetched, 0U);
    EXPECT_EQ(all.Next(count + 1, items.data(), &fetched), S_FALSE);
    ASSERT_EQ(fetched, count);
    for (ULONG i = 0; i < count; ++i) {
        release(items[i]);
    }
    EXPECT_EQ(all.Next(1, items.data(), nullptr), S_FALSE);
    EXPECT_EQ(all.Skip(1), S_FALSE);
    EXPECT_EQ(all.Reset(), S_OK);
    EXPECT_EQ(all.Skip(count - 1), S_OK);
    ComPtr<Enumerator> clone;
    EXPECT_EQ(all.Clone(nullptr), E_POINTER);
    ASSERT_EQ(all.Clone(clone.put()), S_OK);
    EXPECT_EQ(all.Next(1, items.data(), nullptr), S_OK);
    release(items[0]);
    EXPECT_EQ(clone->Next(2, items.data(), &fetched), S_FALSE);
    EXPECT_EQ(fetched, 1U) << "a copy starts where the original stood";
    release(items[0]);
    EXPECT_EQ(clone->Reset(), S_OK);
    EXPECT_EQ(clone->Skip(count + 1), S_FALSE);
    void* unknown = &fetched;
    EXPECT_EQ(all.QueryInterface(IID_IDispatch, &unknown), E_NOINTERFACE);
    EXPECT_EQ(unknown, nullptr);
    EXPECT_EQ(all.QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    SetErrorInfo(0, nullptr);
}

TEST_F(Events, ListenersCanBeEnumeratedAsTheyWere) {
    ComPtr<IEnumConnections> all;
    ASSERT_EQ(bell->point()->EnumConnections(all.put()), S_OK);
    bell->point()->Unadvise(cookies[1]);
    CheckEnumerator<IEnumConnections, CONNECTDATA>(*all, 3, [](CONNECTDATA& connection) {
        EXPECT_NE(connection.dwCookie, 0U);
        connection.pUnk->Release();
    });
    all->Reset();
    CONNECTDATA first{};
    ASSERT_EQ(all->Next(1, &first, nullptr), S_OK);
    EXPECT_EQ(first.dwCookie, cookies[0]);
    EXPECT_EQ(first.pUnk, listeners[0].get());
    first.pUnk->Release();
}

TEST(ConnectionPoint, IsTheOnlyOneOfItsObject) {
    const auto bell = Make<Bell>();
    ComPtr<IEnumConnectionPoints> all;
    ASSERT_EQ(bell->EnumConnectionPoints(all.put()), S_OK);
    CheckEnumerator<IEnumConnectionPoints, IConnectionPoint*>(
        *all, 1, [&](IConnectionPoint*& point) {
            EXPECT_EQ(point, bell->point().get());
            point->Release();
        });
}

}  // namespace
}  // namespace kel::tests
