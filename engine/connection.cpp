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
    explicit ConnectAttempt(ConnectionState& state) noexcept : run(state) {}

    ConnectionState::Connecting run;
    short osType = 0;
    ComPtr<_kelSessionCallBack> session;
    Text error;
    bool connected = false;
    // The outcome is settled: no further step of connecting is taken.
    bool ended = false;

    void fail(Text text) {
        error = std::move(text);
        ended = true;
    }
    // Who disconnects while a session connects has taken the back-end away.
    void requireNotOvertaken() const {
        if (run.isOvertaken()) {
            throw Error(kObjectNotSet);
        }
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
    return GiveFlag(connection_.isBusy(), result);
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
    const bool wasAsking = std::exchange(isAskingOsType_, true);
    short number = 0;
    Ignoring([&] {
        const auto session = ThreadRegistry::Current().sessionCallback(sessionKey_);
        const Bstr name(L"OsType");
        Bstr answer;
        CallOut([&] { return session->GetPropertyValue(name.get(), answer.put()); });
        number = ToShort(answer.view());
    });
    isAskingOsType_ = wasAsking;
    return number;
}

STDMETHODIMP Dbms::get_OsType(short* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        // A client that is being asked and asks back has not said it yet.
        if (host_ || !isAskingOsType_) {
            out = osType();
        }
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
    const ComPtr<_kelDBMS> keep(self());
    if (connection_.refusesConnect()) {
        return false;
    }
    if (connection_.isTelling() && isConnected()) {
        return true;
    }
    const BusyPointer busy;
    ConnectAttempt attempt(connection_);
    try {
        attemptConnect(attempt);
    } catch (...) {
        const Error error = CurrentError();
        attempt.connected = false;
        attempt.fail(L"Connection Configuration Error: " + DecimalText(error.number()) +
                     L" (kelSDK::Connect::" + error.source() + L") " + error.description());
    }
    attempt.run.settle(attempt.connected);
    connectionErrMsg_ = attempt.error;
    announce(attempt);
    // A listener may have disconnected what was connected, or connected after a failure.
    return connection_.isConnected();
}

void Dbms::attemptConnect(ConnectAttempt& attempt) {
    if (ConnectionState::Steps* const steps = connection_.underWay()) {
        takeSteps(*steps);
        connection_.ended();
    }
    connectionErrMsg_.clear();
    core::WriteLog(sessionName_ + L" Connecting...", core::kTraceLevel);
    attempt.session = ThreadRegistry::Current().sessionCallback(sessionKey_);
    prepareHost(attempt);
    if (attempt.ended) {
        return;
    }
    passProperties(*attempt.session);
    attempt.connected = GetFlag(*host(), &_mviHostDLL::get_IsConnected);
    if (!attempt.connected) {
        callHostConnect(attempt);
    }
    attempt.requireNotOvertaken();
}

// Settles which back-end is used: the one there is, or a new one when there is none or the client
// asks for another kind.
void Dbms::prepareHost(ConnectAttempt& attempt) {
    attempt.osType = osType();
    if (attempt.osType < 1) {
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
    attempt.requireNotOvertaken();
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
    const auto connecting = host();
    try {
        CallOut([&] { return connecting->Connect(); });
    } catch (...) {
        const Error error = CurrentError();
        const bool isOwn = error.source() == ThisModule().name;
        attempt.fail(L"Connection Error: " +
                     (isOwn ? Text(L" (kelSDK::Connect) ") : L" (" + error.source() + L") ") +
                     error.description());
    }
    if (attempt.run.isOvertaken()) {
        // The back-end may have connected after it was told to disconnect.
        Ignoring([&] { CallOut([&] { return connecting->Disconnect(); }); });
        return;
    }
    // A back-end that reports itself connected counts as connected even when Connect failed.
    attempt.connected = isConnected();
    if (!attempt.connected && attempt.error.empty()) {
        attempt.error = L"Connection Failed: Check the connection information";
    }
}

// Tells the session's listeners of the outcome, and the controls of a connection while it stands.
void Dbms::announce(const ConnectAttempt& attempt) noexcept {
    if (!attempt.connected) {
        Ignoring([&] {
            core::WriteLog(sessionName_ + L" Connection failed '" + attempt.error + L"'",
                           core::kTraceLevel);
        });
        Ignoring([&] {
            const Bstr text(attempt.error);
            const auto listener = attempt.session
                                      ? attempt.session
                                      : ThreadRegistry::Current().sessionCallback(sessionKey_);
            CallOut([&] { return listener->SessionConnectionFailed(text.get()); });
        });
        return;
    }
    Ignoring([&] { core::WriteLog(sessionName_ + L" Connection Made", core::kTraceLevel); });
    Ignoring([&] { CallOut([&] { return attempt.session->SessionConnection(); }); });
    forEachKeyField([&](const Text& key) {
        if (!attempt.run.isOvertaken()) {
            tellField(key, [](_kelFieldCallBack& callback) { return callback.FldConnected(); });
        }
    });
}

STDMETHODIMP Dbms::Disconnect() noexcept {
    return ComMethod([&] { disconnect(); });
}

void Dbms::disconnect() noexcept {
    const ComPtr<_kelDBMS> keep(self());
    ConnectionState::Disconnecting run(connection_);
    if (ConnectionState::Steps* const steps = run.steps()) {
        connectionErrMsg_.clear();
        steps->filesLeft = fileVarList_ ? fileVarList_->Count() : 0;
        takeSteps(*steps);
    }
}

// Takes the steps of a Disconnect that are left. Each may let a Connect in, which takes the others
// itself and connects; then nothing is left here.
void Dbms::takeSteps(ConnectionState::Steps& steps) noexcept {
    while (steps.filesLeft > 0) {
        const long last = steps.filesLeft--;
        Ignoring([&] { closeFile(FileVarList().Key(last).view()); });
        PumpMessages();
    }
    if (!std::exchange(steps.hasEndedConnection, true)) {
        const ComPtr<_mviHostDLL> ending = host_;
        // Whatever a window has opened meanwhile.
        closeFiles(ending.get(), std::exchange(fileVarList_, nullptr));
        if (ending) {
            Ignoring([&] { CallOut([&] { return ending->Disconnect(); }); });
        }
    }
    if (!std::exchange(steps.hasToldSession, true)) {
        Ignoring([&] {
            // An engine that outlives its apartment's registry has nobody left to tell.
            if (ThreadRegistry* registry = ThreadRegistry::IfAny()) {
                const auto session = registry->sessionCallback(sessionKey_);
                CallOut([&] { return session->SessionDisconnect(); });
            }
        });
    }
    if (!steps.lastRow) {
        steps.lastRow = lastRow();
    }
    while (steps.nextRow <= *steps.lastRow) {
        const long row = steps.nextRow;
        const Text key = keyFieldAt(row);
        if (!key.empty()) {
            dropRecordState(key);
        }
        // A Connect that came in with the closing of the select list has told the key field.
        if (steps.nextRow == row) {
            ++steps.nextRow;
            if (!key.empty()) {
                tellField(key,
                          [](_kelFieldCallBack& callback) { return callback.FldDisconnected(); });
            }
        }
        PumpMessages();
    }
    if (!std::exchange(steps.hasLetGo, true)) {
        letGoOfBackend();
    }
}

// Lets go of the back-end and of all that belongs to its connection: also what was opened while the
// session disconnected, and the records of key fields that are tied to no session or to another.
// Forgotten first: client code that the calls let in finds a session without a back-end.
void Dbms::letGoOfBackend() noexcept {
    const ComPtr<_mviHostDLL> leaving = std::exchange(host_, nullptr);
    List files = std::exchange(fileVarList_, nullptr);
    const List infos = std::exchange(infoList_, nullptr);
    closeFiles(leaving.get(), std::move(files));
    for (long i = infos ? infos->Count() : 0; i >= 1; --i) {
        Ignoring([&] {
            const ComPtr<RecordInfo> record = infoIn(infos->ItemByIndex(i).get());
            if (record->state.selectList) {
                closeSelectList(leaving.get(), *record);
            }
        });
    }
}

}  // namespace kel::engine
