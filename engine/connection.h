// Connecting and disconnecting a session: the one place where a back-end comes and goes.
#pragma once

#include "engine/connection_state.h"
#include "engine/file_variables.h"
#include "engine/host_link.h"
#include "engine/key_fields.h"
#include "engine/record_states.h"

namespace kel::engine {

// Connect and Disconnect run client code that may do either in its turn, or let go of the session:
// callers keep the engine alive over them. One thread.
class Connection {
public:
    Connection(TextView sessionName,
               HostLink& host,
               RecordStates& states,
               FileVariables& files,
               KeyFields& fields);

    const Text& sessionName() const noexcept { return sessionName_; }
    void rename(TextView sessionName);

    // Connects unless it is connected, and tells the session and its key fields of the outcome,
    // which is the answer. No failure is raised: errorMessage() says what it was.
    bool connect();
    // Closes files and select lists, forgets record states, tells the session and its key fields.
    void disconnect() noexcept;

    bool isBusy() const noexcept { return state_.isBusy(); }
    bool hasFailed() const noexcept;
    const Text& errorMessage() const noexcept { return errorMessage_; }
    // The back-end's number: its own answer, or the client's until there is one. 0 for a client
    // that is being asked for it, and asks back.
    short osType();

private:
    struct Attempt;

    short askedOsType();
    void tryToConnect(Attempt& attempt);
    void prepareHost(Attempt& attempt);
    void passProperties(_kelSessionCallBack& session);
    void callHostConnect(Attempt& attempt);
    void announce(const Attempt& attempt) noexcept;
    void takeSteps(ConnectionState::Steps& steps) noexcept;
    void dropRecordState(TextView key) noexcept;
    void letGoOfBackend() noexcept;

    HostLink& host_;
    RecordStates& states_;
    FileVariables& files_;
    KeyFields& fields_;
    Text sessionName_;
    ConnectionState state_;
    bool isAskingOsType_ = false;  // the client is being asked for it
    Text errorMessage_;
};

}  // namespace kel::engine
