// Connection lifecycle of the engine: what its states are, Connect, Disconnect, the back-end's
// number.
#include "automation/message_pump.h"
#include "automation/stored_property.h"
#include "backend/discovery.h"
#include "core/log.h"
#include "engine/dbms.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below
using registry::ThreadRegistry;

namespace {

constexpr short kBeginLevel = 1;
constexpr long kNoOsType = kObjectError + 1;
constexpr long kUnknownOsType = kObjectError + 3;
constexpr const wchar_t* kObjectType = L"object";

}  // namespace

// One run of Connect: its outcome so far.
struct Dbms::ConnectAttempt {
    short osType = 0;
    Text error;
    bool connected = false;
    // The outcome is settled: no further step of connecting is taken.
    bool ended = false;

    void fail(Text text) {
        error = std::move(text);
        ended = true;
    }
};

Dbms::Dbms(TextView sessionName) : sessionName_(sessionName), sessionKey_(Lower(sessionName)) {
    core::WriteLog(L"DBMS Initalized", core::kTraceLevel);
}

void Dbms::terminate() noexcept {
    Ignoring([&] { core::WriteLog(L"DBMS Terminated Begin " + sessionName_, kBeginLevel); });
    disconnect();
    fileNameCache_.reset();
    dictNameCache_.reset();
    commonList_.reset();
    infoList_.reset();
    fileVarList_.reset();
    Ignoring([&] { core::WriteLog(L"DBMS Terminated " + sessionName_, core::kTraceLevel); });
}

ComPtr<_mviHostDLL> Dbms::host() const {
    if (!host_) {
        throw Error(kObjectNotSet);
    }
    return host_;
}

STDMETHODIMP Dbms::get_SessionName(BSTR* result) noexcept {
    return GiveText(sessionName_, result);
}

STDMETHODIMP Dbms::put_SessionName(BSTR value) noexcept {
    return ComMethod([&] {
        Text key = Lower(View(value));
        sessionName_ = View(value);
        sessionKey_ = std::move(key);
    });
}

STDMETHODIMP Dbms::get_AutoUpdateOk(VARIANT_BOOL* result) noexcept {
    return GiveFlag(autoUpdateOk_, result);
}

STDMETHODIMP Dbms::put_AutoUpdateOk(VARIANT_BOOL value) noexcept {
    return TakeFlag(value, autoUpdateOk_);
}

bool Dbms::isConnected() noexcept {
    bool connected = false;
    Ignoring([&] { connected = GetFlag(*host(), &_mviHostDLL::get_IsConnected); });
    return connected;
}

STDMETHODIMP Dbms::get_IsConnected(VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = isConnected();
    });
}

STDMETHODIMP Dbms::get_IsConnecting(VARIANT_BOOL* result) noexcept {
    return GiveFlag(isConnecting_, result);
}

STDMETHODIMP Dbms::get_ConnectionFailed(VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Ignoring([&] { out = GetFlag(*host(), &_mviHostDLL::get_ConnectFailed); });
    });
}

STDMETHODIMP Dbms::get_ConnectionErrMsg(BSTR* result) noexcept {
    return GiveText(connectionErrMsg_, result);
}

// The client says which back-end it wants until there is one; afterwards the back-end says.
short Dbms::osType() {
    if (host_) {
        return GetNumber(*host(), &_mviHostDLL::get_OsType);
    }
    short number = 0;
    Ignoring([&] {
        const auto session = ThreadRegistry::Current().sessionCallback(sessionKey_);
        const Bstr name(L"OsType");
        Bstr answer;
        CallOut([&] { return session->GetPropertyValue(name.get(), answer.put()); });
        number = ToShort(answer.view());
    });
    return number;
}

STDMETHODIMP Dbms::get_OsType(short* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = osType();
    });
}

STDMETHODIMP Dbms::put_OsType(short value) noexcept {
    return ComMethod([&] {
        if (!backend::IsRegistered(value)) {
            storedOsType_ = 0;
            throw Error(kUnknownOsType,
                        L"kelDBMS::OsType",
                        L"Unable to find a registered DLL version 2 or above for OsType " +
                            DecimalText(value));
        }
        storedOsType_ = value;
    });
}

STDMETHODIMP Dbms::ValidOsType(short osType, VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = backend::IsRegistered(osType);
    });
}

STDMETHODIMP Dbms::Connect(VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = connect();
    });
}

bool Dbms::connect() {
    const BusyPointer busy;
    const ComPtr<_kelDBMS> keep(self());
    connectionErrMsg_.clear();
    isConnecting_ = true;
    ConnectAttempt attempt;
    ComPtr<_kelSessionCallBack> session;
    try {
        core::WriteLog(sessionName_ + L" Connecting...", core::kTraceLevel);
        session = ThreadRegistry::Current().sessionCallback(sessionKey_);
        prepareHost(attempt);
        if (!attempt.ended) {
            passProperties(*session);
            attempt.connected = GetFlag(*host(), &_mviHostDLL::get_IsConnected);
            if (!attempt.connected) {
                callHostConnect(attempt);
            }
        }
    } catch (...) {
        const Error error = CurrentError();
        attempt.connected = false;
        attempt.fail(L"Connection Configuration Error: " + DecimalText(error.number()) +
                     L" (kelSDK::Connect::" + error.source() + L") " + error.description());
    }
    isConnecting_ = false;
    connectionErrMsg_ = attempt.error;
    if (attempt.connected) {
        Ignoring([&] { core::WriteLog(sessionName_ + L" Connection Made", core::kTraceLevel); });
        Ignoring([&] { CallOut([&] { return session->SessionConnection(); }); });
        announceConnected();
    } else {
        Ignoring([&] {
            core::WriteLog(sessionName_ + L" Connection failed '" + attempt.error + L"'",
                           core::kTraceLevel);
        });
        Ignoring([&] {
            const Bstr text(attempt.error);
            const auto listener =
                session ? session : ThreadRegistry::Current().sessionCallback(sessionKey_);
            CallOut([&] { return listener->SessionConnectionFailed(text.get()); });
        });
    }
    return attempt.connected;
}

// Settles which back-end is used: the one there is, or a new one when there is none or the client
// asks for another kind.
void Dbms::prepareHost(ConnectAttempt& attempt) {
    attempt.osType = osType();
    if (attempt.osType < 1) {
        isConnecting_ = false;
        throw Error(kNoOsType, L"kelDBMS::Connection", L"No OS Type has been assigned.");
    }
    if (host_) {
        const auto current = host();
        if (GetNumber(*current, &_mviHostDLL::get_OsType) == attempt.osType) {
            return;
        }
        CallOut([&] { return current->Disconnect(); });
    }
    ComPtr<_mviHostDLL> made;
    if (!Ignoring([&] { made = backend::Create(attempt.osType); })) {
        attempt.fail(L"Connection Configuration Error: Do not have a valid DLL for OS Type " +
                     DecimalText(attempt.osType) + L".  Unable to Create Object.");
        return;
    }
    host_ = std::move(made);
}

// Asks the client for every property that is a text and hands the answers to the back-end, afresh
// at every connection. Object-valued properties are the client's own business.
void Dbms::passProperties(_kelSessionCallBack& session) {
    const short count = GetNumber(*host(), &_mviHostDLL::PropertyCount);
    for (short i = 1; i <= count && i > 0; ++i) {
        Bstr name;
        Bstr type;
        const auto namer = host();
        CallOut([&] { return namer->GetPropertyName(i, name.inOut(), type.inOut()); });
        if (LowerEquals(type.view(), kObjectType)) {
            continue;
        }
        Bstr value;
        CallOut([&] { return session.GetPropertyValue(name.get(), value.put()); });
        const auto taker = host();
        CallOut([&] { return taker->put_PropertyValue(name.get(), value.get()); });
    }
}

void Dbms::callHostConnect(ConnectAttempt& attempt) {
    try {
        const auto connecting = host();
        CallOut([&] { return connecting->Connect(); });
    } catch (...) {
        const Error error = CurrentError();
        const bool isOwn = error.source() == ThisModule().name;
        attempt.fail(L"Connection Error: " +
                     (isOwn ? Text(L" (kelSDK::Connect) ") : L" (" + error.source() + L") ") +
                     error.description());
    }
    // A back-end that reports itself connected counts as connected even when Connect failed.
    attempt.connected = isConnected();
    if (!attempt.connected && attempt.error.empty()) {
        attempt.error = L"Connection Failed: Check the connection information";
    }
}

void Dbms::announceConnected() noexcept {
    forEachKeyField([&](const Text& key) {
        if (!key.empty()) {
            tellField(key, [](_kelFieldCallBack& callback) { return callback.FldConnected(); });
        }
    });
}

STDMETHODIMP Dbms::Disconnect() noexcept {
    return ComMethod([&] { disconnect(); });
}

void Dbms::disconnect() noexcept {
    const ComPtr<_kelDBMS> keep(self());
    connectionErrMsg_.clear();
    isConnecting_ = true;
    Ignoring([&] {
        for (long i = FileVarList().Count(); i >= 1; --i) {
            Ignoring([&] { closeFile(FileVarList().Key(i).view()); });
            PumpMessages();
        }
    });
    Ignoring([&] {
        const auto leaving = host();
        CallOut([&] { return leaving->Disconnect(); });
    });
    Ignoring([&] {
        // An engine that outlives its apartment's registry has nobody left to tell.
        if (ThreadRegistry* registry = ThreadRegistry::IfAny()) {
            const auto session = registry->sessionCallback(sessionKey_);
            CallOut([&] { return session->SessionDisconnect(); });
        }
    });
    forEachKeyField([&](const Text& key) {
        if (!key.empty()) {
            forgetKeyField(key);
        }
        PumpMessages();
    });
    host_.reset();
    isConnecting_ = false;
}

// Drops a key field's record state, closes its select list and tells its controls.
void Dbms::forgetKeyField(TextView key) noexcept {
    Ignoring([&] {
        const auto leaving = info(key);
        // Dropped first: client code that runs while the list is closed finds it gone.
        InfoList().RemoveByKey(key);
        closeSelectList(*leaving);
    });
    tellField(key, [](_kelFieldCallBack& callback) { return callback.FldDisconnected(); });
}

}  // namespace kel::engine
