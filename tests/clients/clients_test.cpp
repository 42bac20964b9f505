// C++ clients that make the calls of calls.txt: one through the interfaces of the header that comes
// from the IDL, one by name, through the registered type library or through the objects themselves.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>

#include "kelSDK.h"
#include "tests/clients/other_apartment.h"
#include "tests/support/backend.h"
#include "tests/support/dispatch.h"
#include "tests/support/event_recorder.h"
#include "tests/support/resources.h"

namespace kel::tests {
namespace {

using ISetup = IDispatch;

const wchar_t* const kAnything = nullptr;

Variant Read(const Bstr& text) {
    return Value(text.view());
}
Variant Read(const Variant& value) {
    return value;
}
Variant Read(long number) {
    return Value(number);
}
Variant Result(BSTR owned) {
    return Variant(Bstr::Adopt(owned));
}
Variant Result(VARIANT owned) {
    Variant result;
    *result.inOut() = owned;
    return result;
}
Variant Result(long number) {
    return Value(number);
}
Variant Result(IUnknown* owned) {
    Variant result;
    V_VT(result.inOut()) = VT_UNKNOWN;
    V_UNKNOWN(result.inOut()) = owned;
    return result;
}
Variant Flag(VARIANT_BOOL flag) {
    return Value(flag != VARIANT_FALSE);
}

Variant ByRefTo(Bstr& text) {
    return ByRef(text);
}
Variant ByRefTo(Variant& value) {
    return ByRef(value);
}
Variant ByRefTo(long& number) {
    return ByRef(&number);
}
Variant ByRefTo(short& number) {
    return ByRef(&number);
}

// Checks what calls come to, and counts them by member.
class Client {
public:
    // How calls by name are made.
    enum class Through { kObject, kTypeInfo };

    explicit Client(Through through = Through::kObject) : through_(through) {}
    // The objects of a client in another apartment. Proxies of interfaces bring no error object
    // along, only the number.
    explicit Client(const OtherApartment& home) : home_(&home) {}

    template <typename Interface = IDispatch>
    ComPtr<Interface> create(const wchar_t* progId) const {
        CLSID clsid{};
        ComPtr<Interface> made;
        EXPECT_EQ(CLSIDFromProgID(progId, &clsid), S_OK);
        const auto address = reinterpret_cast<void**>(made.put());
        EXPECT_EQ(home_ != nullptr
                      ? home_->create(clsid, __uuidof(Interface), address)
                      : CoCreateInstance(
                            clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface), address),
                  S_OK);
        return made;
    }

    Outcome call(IUnknown* object, const wchar_t* name, const Arguments& arguments) const {
        return invoke(object, name, DISPATCH_METHOD | DISPATCH_PROPERTYGET, arguments);
    }
    Outcome put(IUnknown* object, const wchar_t* name, const Arguments& arguments) const {
        return invoke(object, name, DISPATCH_PROPERTYPUT, arguments);
    }
    Outcome set(IUnknown* object, const wchar_t* name, const Arguments& arguments) const {
        return invoke(object, name, DISPATCH_PROPERTYPUTREF, arguments);
    }
    Outcome taken(HRESULT code, Variant result) const {
        Outcome outcome;
        outcome.code = code;
        outcome.error = ErrorOf(code);
        outcome.value = std::move(result);
        return outcome;
    }
    Variant leftOutText() {
        leftOut_.reset();
        return ByRef(leftOut_);
    }

    void check(int line, const char* member, const Outcome& outcome, const wchar_t* expected) {
        EXPECT_EQ(outcome.error, ErrorFields()) << "calls.txt, line " << line;
        if (expected != kAnything) {
            is(line, outcome.value, expected);
        }
        ++calls_[member];
    }
    void is(int line, const Variant& actual, TextView expected) const {
        EXPECT_EQ(Narrow(Shown(actual.get())), Narrow(expected)) << "calls.txt, line " << line;
    }
    void failed(int line, const char* member, const Outcome& outcome, const ErrorFields& error) {
        const ErrorFields expected = home_ == nullptr ? error : ErrorFields{error.number};
        EXPECT_EQ(outcome.error, expected) << "calls.txt, line " << line;
        ++calls_[member];
    }
    template <typename Interface = IDispatch>
    ComPtr<Interface> object(int line, const char* member, const Outcome& outcome) {
        check(line, member, outcome, kAnything);
        const auto object = outcome.value.object<Interface>();
        EXPECT_TRUE(object) << "calls.txt, line " << line << ": no object";
        return object;
    }
    void each(int line, _Collection* list, TextView expected) {
        Outcome outcome;
        IUnknown* all = nullptr;
        outcome = taken(list->get__NewEnum(&all), Variant());
        outcome.value = Result(all);
        each(line, outcome, expected);
    }
    void each(int line, IDispatch* list, TextView expected) {
        each(line, Dispatch(list).invoke(DISPID_NEWENUM, DISPATCH_PROPERTYGET, {}), expected);
    }
    void covered(const char* member) {
        std::printf("  %4d  %s\n", calls_[member], member);
        EXPECT_GT(calls_[member], 0) << "no call of " << member;
    }

private:
    void each(int line, const Outcome& outcome, TextView expected) {
        const auto all = outcome.value.object<IEnumVARIANT>();
        ASSERT_TRUE(all) << "calls.txt, line " << line;
        Text text;
        Variant one;
        while (all->Next(1, one.put(), nullptr) == S_OK) {
            text += Shown(one.get()) + L";";
        }
        EXPECT_EQ(Narrow(text), Narrow(expected)) << "calls.txt, line " << line;
        ++calls_["Collection._NewEnum get"];
    }

    Outcome invoke(IUnknown* object,
                   const wchar_t* name,
                   WORD flags,
                   const Arguments& arguments) const {
        const ComPtr<IDispatch> named = ComPtr<IUnknown>(object).as<IDispatch>();
        ComPtr<ITypeInfo> info;
        if (through_ == Through::kTypeInfo) {
            named->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.put());
        }
        if (!info) {
            const Dispatch late(object);
            return flags == DISPATCH_PROPERTYPUT      ? late.put(name, arguments)
                   : flags == DISPATCH_PROPERTYPUTREF ? late.putRef(name, arguments)
                                                      : late.call(name, arguments);
        }
        std::vector<VARIANTARG> given;
        for (auto one = arguments.rbegin(); one != arguments.rend(); ++one) {
            given.push_back(one->value.get());
        }
        DISPID putId = DISPID_PROPERTYPUT;
        const bool isPut = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
        DISPPARAMS params{given.data(), &putId, static_cast<UINT>(given.size()), isPut ? 1U : 0U};
        DISPID id = 0;
        auto* asked = const_cast<wchar_t*>(name);
        Outcome outcome;
        EXCEPINFO exception{};
        outcome.code = info->GetIDsOfNames(&asked, 1, &id);
        if (outcome.ok()) {
            outcome.code = info->Invoke(
                named.get(), id, flags, &params, outcome.value.inOut(), &exception, nullptr);
        }
        if (!outcome.ok()) {
            outcome.error = outcome.code == DISP_E_EXCEPTION
                                ? ErrorOf(exception)
                                : ErrorFields{automation::NumberOfCode(outcome.code)};
        }
        return outcome;
    }

    Through through_ = Through::kObject;
    const OtherApartment* home_ = nullptr;
    std::map<std::string, int> calls_;
    Bstr leftOut_;
};

class Clients : public BackendTest {};

// NOLINTBEGIN(readability-function-size): made from the table of calls
void CallNamed(Client& client) {
#include "calls_named.inc"
}

void CallTyped(Client& client){
#include "calls_typed.inc"
}  // NOLINTEND(readability-function-size)

TEST_F(Clients, ThroughInterfaces) {
    Client client;
    CallTyped(client);
}

// Every interface with every kind of parameter goes through the platform's marshaller.
TEST(ClientsElsewhere, InAnotherSingleThreadedApartment) {
    const ForgivenBlocks blocks;
    const ForgivenHandles handles;
    const OtherApartment home;
    LoadTestBackend().reset();
    Client client(home);
    CallTyped(client);
}

TEST(ClientsElsewhere, InTheMultithreadedApartment) {
    const ForgivenBlocks blocks;
    const ForgivenHandles handles;
    const OtherApartment home;
    LoadTestBackend().reset();
    std::thread([&] {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        Client client(home);
        CallTyped(client);
        CoUninitialize();
    }).join();
}

TEST_F(Clients, ThroughTheTypeLibrary) {
    Client client(Client::Through::kTypeInfo);
    CallNamed(client);
}

TEST_F(Clients, ByName) {
    Client client;
    CallNamed(client);
}

// A listener in this apartment hears a source in another on its own thread, and its answers arrive.
TEST(ClientsElsewhere, HearEventsAtHome) {
    const ForgivenBlocks blocks;
    const ForgivenHandles handles;
    const OtherApartment home;
    LoadTestBackend().reset();
    Client client(home);
    const auto base = client.create<_kelBase>(L"kelSDK.kelBase");
    ComPtr<_kelSessionCallBack> session;
    ASSERT_EQ(base->GetSessionCallBack(Bstr(L"Main").get(), session.put()), S_OK);
    const auto sink = EventRecorder::Make(__uuidof(__kelSessionCallBack));
    sink->answerProperty(L"OsType", L"99");
    DWORD thread = 0;
    sink->onEvent([&](Event&) { thread = GetCurrentThreadId(); });
    const Subscription subscription(session.get(), __uuidof(__kelSessionCallBack), sink.get());
    EXPECT_NE(subscription.cookie(), 0U);
    VARIANT_BOOL connected = VARIANT_FALSE;
    EXPECT_EQ(session->Connect(&connected), S_OK);
    EXPECT_EQ(connected, VARIANT_TRUE);
    EXPECT_EQ(thread, GetCurrentThreadId());
    EXPECT_EQ(sink->take().back(), L"Connection()");
    base->RemoveSessionCallback(Bstr(L"Main").get());
}

}  // namespace
}  // namespace kel::tests
