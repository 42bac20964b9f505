// What the states of a connection are, Connect, Disconnect, the back-end's number.
#include "engine/connection.h"

#include "automation/message_pump.h"
#include "automation/module.h"
#include "automation/property.h"
#include "backend/discovery.h"
#include "core/log.h"
#include "engine/select_lists.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below
using registry::ThreadRegistry;

namespace {

constexpr long kNoOsType = kObjectError + 1;
constexpr const wchar_t* kObjectType = L"object";

}  // namespace

// One run of Connect: its outcome so far.
struct Connection::Attempt {
    explicit Attempt(ConnectionState& state) noexcept : run(state) {}

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

Connection::Connection(TextView sessionName,
                       HostLink& host,
                       RecordStates& states,
                       FileVariables& files,
                       KeyFields& fields)
    : host_(host), states_(states), files_(files), fields_(fields), sessionName_(sessionName) {}

void Connection::rename(TextView sessionName) {
    fields_.rename(sessionName);
    sessionName_ = sessionName;
}

bool Connection::hasFailed() const noexcept {
    bool failed = false;
    Ignoring([&] { failed = GetFlag(*host_.host(), &_mviHostDLL::get_ConnectFailed); });
    return failed;
}

// The client says which back-end it wants until there is one; afterwards the back-end says.
short Connection::askedOsType() {
    if (host_.ifAny()) {
        return GetNumber(*host_.host(), &_mviHostDLL::get_OsType);
    }
    const bool wasAsking = std::exchange(isAskingOsType_, true);
    short number = 0;
    Ignoring([&] {
        const auto session = ThreadRegistry::Current().sessionCallback(fields_.session());
        const Bstr name(L"OsType");
        Bstr answer;
        CallOut([&] { return session->GetPropertyValue(name.get(), answer.put()); });
        number = ToShort(answer.view());
    });
    isAskingOsType_ = wasAsking;
    return number;
}

short Connection::osType() {
    return host_.ifAny() || !isAskingOsType_ ? askedOsType() : short{0};
}

bool Connection::connect() {
    if (state_.refusesConnect()) {
        return false;
    }
    if (state_.isTelling() && host_.isConnected()) {
        return true;
    }
    const BusyPointer busy;
    Attempt attempt(state_);
    try {
        tryToConnect(attempt);
    } catch (...) {
        const Error error = CurrentError();
        attempt.connected = false;
        attempt.fail(L"Connection Configuration Error: " + DecimalText(error.number()) +
                     L" (kelSDK::Connect::" + error.source() + L") " + error.description());
    }
    attempt.run.settle(attempt.connected);
    errorMessage_ = attempt.error;
    announce(attempt);
    // A listener may have disconnected what was connected, or connected after a failure.
    return state_.isConnected();
}

void Connection::tryToConnect(Attempt& attempt) {
    if (ConnectionState::Steps* const steps = state_.underWay()) {
        takeSteps(*steps);
        state_.ended();
    }
    errorMessage_.clear();
    core::WriteLog(sessionName_ + L" Connecting...", core::kTraceLevel);
    attempt.session = ThreadRegistry::Current().sessionCallback(fields_.session());
    prepareHost(attempt);
    if (attempt.ended) {
        return;
    }
    passProperties(*attempt.session);
    attempt.connected = GetFlag(*host_.host(), &_mviHostDLL::get_IsConnected);
    if (!attempt.connected) {
        callHostConnect(attempt);
    }
    attempt.requireNotOvertaken();
}

// Settles which back-end is used: the one there is, or a new one when there is none or the client
// asks for another kind.
void Connection::prepareHost(Attempt& attempt) {
    attempt.osType = askedOsType();
    if (attempt.osType < 1) {
        throw Error(kNoOsType, L"kelDBMS::Connection", L"No OS Type has been assigned.");
    }
    if (host_.ifAny()) {
        const auto current = host_.host();
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
    host_.set(std::move(made));
}

// Asks the client for every property that is a text and hands the answers to the back-end, afresh
// at every connection. Object-valued properties are the client's own business.
void Connection::passProperties(_kelSessionCallBack& session) {
    const short count = GetNumber(*host_.host(), &_mviHostDLL::PropertyCount);
    for (short i = 1; i <= count && i > 0; ++i) {
        Bstr name;
        Bstr type;
        const auto namer = host_.host();
        CallOut([&] { return namer->GetPropertyName(i, name.inOut(), type.inOut()); });
        if (LowerEquals(type.view(), kObjectType)) {
            continue;
        }
        Bstr value;
        CallOut([&] { return session.GetPropertyValue(name.get(), value.put()); });
        const auto taker = host_.host();
        CallOut([&] { return taker->put_PropertyValue(name.get(), value.get()); });
    }
}

void Connection::callHostConnect(Attempt& attempt) {
    const auto connecting = host_.host();
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
    attempt.connected = host_.isConnected();
    if (!attempt.connected && attempt.error.empty()) {
        attempt.error = L"Connection Failed: Check the connection information";
    }
}

// Tells the session's listeners of the outcome, and the controls of a connection while it stands.
void Connection::announce(const Attempt& attempt) noexcept {
    if (!attempt.connected) {
        Ignoring([&] {
            core::WriteLog(sessionName_ + L" Connection failed '" + attempt.error + L"'",
                           core::kTraceLevel);
        });
        Ignoring([&] {
            const Bstr text(attempt.error);
            const auto listener =
                attempt.session ? attempt.session
                                : ThreadRegistry::Current().sessionCallback(fields_.session());
            CallOut([&] { return listener->SessionConnectionFailed(text.get()); });
        });
        return;
    }
    Ignoring([&] { core::WriteLog(sessionName_ + L" Connection Made", core::kTraceLevel); });
    Ignoring([&] { CallOut([&] { return attempt.session->SessionConnection(); }); });
    fields_.forEach([&](const Text& key) {
        if (!attempt.run.isOvertaken()) {
            TellField(key, [](_kelFieldCallBack& callback) { return callback.FldConnected(); });
        }
    });
}

void Connection::disconnect() noexcept {
    ConnectionState::Disconnecting run(state_);
    if (ConnectionState::Steps* const steps = run.steps()) {
        errorMessage_.clear();
        steps->filesLeft = files_.count();
        takeSteps(*steps);
    }
}

// Takes the steps of a Disconnect that are left. Each may let a Connect in, which takes the others
// itself and connects; then nothing is left here.
void Connection::takeSteps(ConnectionState::Steps& steps) noexcept {
    while (steps.filesLeft > 0) {
        files_.closeAt(steps.filesLeft--);
        PumpMessages();
    }
    if (!std::exchange(steps.hasEndedConnection, true)) {
        const ComPtr<_mviHostDLL> ending = host_.ifAny();
        // Whatever a window has opened meanwhile.
        FileVariables::closeAll(ending.get(), files_.takeAll());
        if (ending) {
            Ignoring([&] { CallOut([&] { return ending->Disconnect(); }); });
        }
    }
    if (!std::exchange(steps.hasToldSession, true)) {
        Ignoring([&] {
            // An engine that outlives its apartment's registry has nobody left to tell.
            if (ThreadRegistry* registry = ThreadRegistry::IfAny()) {
                const auto session = registry->sessionCallback(fields_.session());
                CallOut([&] { return session->SessionDisconnect(); });
            }
        });
    }
    if (!steps.lastRow) {
        steps.lastRow = KeyFields::lastRow();
    }
    while (steps.nextRow <= *steps.lastRow) {
        const long row = steps.nextRow;
        const Text key = fields_.at(row);
        if (!key.empty()) {
            dropRecordState(key);
        }
        // A Connect that came in with the closing of the select list has told the key field.
        if (steps.nextRow == row) {
            ++steps.nextRow;
            if (!key.empty()) {
                TellField(key,
                          [](_kelFieldCallBack& callback) { return callback.FldDisconnected(); });
            }
        }
        PumpMessages();
    }
    if (!std::exchange(steps.hasLetGo, true)) {
        letGoOfBackend();
    }
}

// Taken out of the list first: what comes in while the select list is closed finds none of it.
void Connection::dropRecordState(TextView key) noexcept {
    Ignoring([&] { SelectLists::closeIn(*states_.take(key), host_.ifAny().get()); });
}

// Lets go of the back-end and of all that belongs to its connection: also what was opened while the
// session disconnected, and the records of key fields that are tied to no session or to another.
// Forgotten first: client code that the calls let in finds a session without a back-end.
void Connection::letGoOfBackend() noexcept {
    const ComPtr<_mviHostDLL> leaving = host_.take();
    FileVariables::Taken files = files_.takeAll();
    const RecordStates::Taken states = states_.takeAll();
    FileVariables::closeAll(leaving.get(), std::move(files));
    RecordStates::forEach(states, [&](RecordInfo& record) {
        if (record.state.selectList) {
            SelectLists::closeIn(record, leaving.get());
        }
    });
}

}  // namespace kel::engine
