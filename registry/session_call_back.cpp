// The callback of a session: events to its listeners, and the way to its engine.
#include "registry/session_call_back.h"

#include "automation/stored_property.h"
#include "core/log.h"
#include "registry/factories.h"
#include "registry/thread_registry.h"

namespace kel::registry {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr short kRemovalLevel = 1;
constexpr short kUnstatedLevel = 0;  // written as the lowest

}  // namespace

SessionCallBack::SessionCallBack() {
    core::WriteLog(L"SessionCallback Initalize", core::kTraceLevel);
}

void SessionCallBack::Init() {
    constexpr const wchar_t* kSource = L"kelSessionCallback::Init";
    core::WriteLog(L"Start Init " + sessionName_, kUnstatedLevel);
    if (sessionName_.empty()) {
        throw Error(SessionNameMissing, kSource, L"SessionName is missing.");
    }
    // A failure from here on is not the caller's; the forwarding members will tell.
    Ignoring([&] {
        ThreadRegistry& registry = ThreadRegistry::Current();
        if (registry.EngineList().KeyExists(sessionKey_)) {
            throw Error(AlreadyInitialized, kSource, L"This session is already initialized");
        }
        const ComPtr<_kelDBMS> engine = TheFactories().makeEngine(sessionName_);
        registry.EngineList().Add(Variant(engine.get()).get(), sessionKey_);
        core::WriteLog(L"Finish Init " + sessionName_, kUnstatedLevel);
    });
}

void SessionCallBack::terminate() noexcept {
    Ignoring([&] {
        core::WriteLog(L"SessionCallback Terminated Begin " + sessionName_, kRemovalLevel);
        // The registry may be gone already, when a client kept this object past its apartment.
        if (ThreadRegistry* registry = ThreadRegistry::IfAny()) {
            if (registry->EngineList().KeyExists(sessionKey_)) {
                Ignoring([&] { registry->EngineList().RemoveByKey(sessionKey_); });
            }
            registry->releaseEngineListIfEmpty();
        }
        core::WriteLog(L"SessionCallback Terminate " + sessionName_, core::kTraceLevel);
    });
}

template <typename Call>
void SessionCallBack::forward(Call&& call) {
    const ComPtr<_kelDBMS> engine = ThreadRegistry::Current().engine(sessionKey_);
    CallOut([&] { return call(*engine); });
}

template <typename T>
HRESULT SessionCallBack::forwardGet(HRESULT (STDMETHODCALLTYPE _kelDBMS::*getter)(T*),
                                    T* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        T value{};
        forward([&](_kelDBMS& engine) { return (engine.*getter)(&value); });
        out = value;
    });
}

STDMETHODIMP SessionCallBack::get_OsType(short* result) noexcept {
    return forwardGet(&_kelDBMS::get_OsType, result);
}

STDMETHODIMP SessionCallBack::put_OsType(short value) noexcept {
    return ComMethod([&] { forward([&](_kelDBMS& engine) { return engine.put_OsType(value); }); });
}

STDMETHODIMP SessionCallBack::get_IsConnected(VARIANT_BOOL* result) noexcept {
    return forwardGet(&_kelDBMS::get_IsConnected, result);
}

STDMETHODIMP SessionCallBack::Connect(VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        // Whatever goes wrong ends the member with the answer reached so far.
        Ignoring([&] {
            const ComPtr<_kelDBMS> engine = ThreadRegistry::Current().engine(sessionKey_);
            VARIANT_BOOL connected = VARIANT_FALSE;
            CallOut([&] { return engine->get_IsConnected(&connected); });
            if (connected != VARIANT_FALSE) {
                out = true;
                throw Error(AlreadyConnected, L"kelSessionCallback::Connect", L"Already Connected");
            }
            CallOut([&] { return engine->Connect(&connected); });
            out = connected != VARIANT_FALSE;
        });
    });
}

STDMETHODIMP SessionCallBack::Disconnect() noexcept {
    return ComMethod(
        [&] { Ignoring([&] { forward([](_kelDBMS& engine) { return engine.Disconnect(); }); }); });
}

STDMETHODIMP SessionCallBack::get_CommonValue(BSTR commonName, VARIANT* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Variant value;
        forward([&](_kelDBMS& engine) { return engine.get_CommonValue(commonName, value.put()); });
        out = std::move(value);
    });
}

STDMETHODIMP SessionCallBack::put_CommonValue(BSTR commonName, VARIANT value) noexcept {
    return ComMethod([&] {
        forward([&](_kelDBMS& engine) { return engine.put_CommonValue(commonName, &value); });
    });
}

STDMETHODIMP SessionCallBack::get_CommonObject(BSTR commonName, IDispatch** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        ComPtr<IDispatch> object;
        forward(
            [&](_kelDBMS& engine) { return engine.get_CommonObject(commonName, object.put()); });
        out = std::move(object);
    });
}

STDMETHODIMP SessionCallBack::putref_CommonObject(BSTR commonName, IDispatch** value) noexcept {
    return ComMethod([&] {
        forward([&](_kelDBMS& engine) { return engine.putref_CommonObject(commonName, value); });
    });
}

STDMETHODIMP SessionCallBack::get_Tools(_kelTools** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Ignoring([&] { out = TheFactories().makeTools(sessionName_); });
    });
}

STDMETHODIMP SessionCallBack::get_SessionName(BSTR* result) noexcept {
    return GiveText(sessionName_, result);
}

STDMETHODIMP SessionCallBack::get_AutoUpdateOk(VARIANT_BOOL* result) noexcept {
    return forwardGet(&_kelDBMS::get_AutoUpdateOk, result);
}

STDMETHODIMP SessionCallBack::put_AutoUpdateOk(VARIANT_BOOL value) noexcept {
    return ComMethod(
        [&] { forward([&](_kelDBMS& engine) { return engine.put_AutoUpdateOk(value); }); });
}

STDMETHODIMP SessionCallBack::SetSessionName(BSTR session) noexcept {
    return ComMethod([&] {
        Text key = Lower(View(session));
        sessionName_ = View(session);
        sessionKey_ = std::move(key);
    });
}

STDMETHODIMP SessionCallBack::SessionConnection() noexcept {
    return ComMethod([&] { raise(static_cast<DISPID>(Event::kConnection)); });
}

STDMETHODIMP SessionCallBack::SessionConnectionFailed(BSTR errMsg) noexcept {
    return ComMethod(
        [&] { raise(static_cast<DISPID>(Event::kConnectionFailed), LentText(errMsg)); });
}

STDMETHODIMP SessionCallBack::SessionDisconnect() noexcept {
    return ComMethod([&] { raise(static_cast<DISPID>(Event::kDisconnect)); });
}

STDMETHODIMP SessionCallBack::GetPropertyValue(BSTR fieldName, BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Bstr answer;
        raise(static_cast<DISPID>(Event::kPropertyValue),
              LentText(fieldName),
              Variant::Reference(answer.inOut()));
        out = std::move(answer);
    });
}

STDMETHODIMP SessionCallBack::get_ConnectionFailed(VARIANT_BOOL* result) noexcept {
    return forwardGet(&_kelDBMS::get_ConnectionFailed, result);
}

}  // namespace kel::registry
