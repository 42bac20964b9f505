// Who goes first when a session is connected and disconnected from within one another. Knows no
// back-end and runs no client code: the engine asks here and acts.
#pragma once

#include <optional>

namespace kel::engine {

// Connecting and disconnecting run client code, which may do either in its turn:
//
//   entered      inside                       comes to
//   Connect      a Connect still without      nothing: it answers False
//                outcome
//   Connect      a Connect that tells its     nothing while the connection stands: it answers
//                outcome                      True; otherwise a Connect of its own
//   Connect      a Disconnect                 the rest of that Disconnect, then a Connect of its
//                                             own, which stays
//   Disconnect   a Disconnect                 nothing: the one under way goes on
//   Disconnect   a Connect                    a Disconnect; the Connect then fails, or tells nobody
//                                             further
//
// So handlers that answer a disconnection with Connect and a connection with Disconnect would go on
// for ever; kMostTelling ends them. One thread.
class ConnectionState {
public:
    // What is left to do of a Disconnect. A step is counted as done before it is taken: whoever
    // comes in meanwhile and has to bring the Disconnect to its end goes on behind it.
    struct Steps {
        long filesLeft = 0;  // of those open at the beginning, the last one first
        bool hasEndedConnection = false;
        bool hasToldSession = false;
        std::optional<long> lastRow;  // where the table of key fields ended when the walk began
        long nextRow = 0;
        bool hasLetGo = false;
    };

    class Connecting;
    class Disconnecting;

    // True until the outermost Connect or Disconnect ends; a Connect ends with its outcome.
    bool isBusy() const noexcept { return running_ > 0; }
    // How the last one of either ended.
    bool isConnected() const noexcept { return connected_; }

    // A Connect entered here answers False and does nothing.
    bool refusesConnect() const noexcept { return isConnecting_ || telling_ >= kMostTelling; }
    // A Connect entered here answers True and does nothing when the back-end is connected.
    bool isTelling() const noexcept { return telling_ > 0 && underWay_ == nullptr; }

    // The Disconnect under way, for the Connect that brings it to its end; null when there is none.
    Steps* underWay() const noexcept { return underWay_; }
    void ended() noexcept { underWay_ = nullptr; }

private:
    // More attempts than a person makes from an event's handler, and far from the stack's end.
    static constexpr int kMostTelling = 32;

    int running_ = 0;
    int telling_ = 0;  // Connects that tell their outcome, one inside the other
    bool isConnecting_ = false;
    bool connected_ = false;
    Steps* underWay_ = nullptr;
    unsigned long disconnects_ = 0;  // entered so far
};

// One Connect, while the variable lives.
class ConnectionState::Connecting {
public:
    explicit Connecting(ConnectionState& state) noexcept
        : state_(state), disconnects_(state.disconnects_) {
        ++state_.running_;
        state_.isConnecting_ = true;
    }
    Connecting(const Connecting&) = delete;
    Connecting& operator=(const Connecting&) = delete;
    ~Connecting() {
        if (!isSettled_) {
            settle(false);
        }
        --state_.telling_;
    }

    // To be called once: the outcome is there, and is told from here on.
    void settle(bool connected) noexcept {
        isSettled_ = true;
        --state_.running_;
        state_.isConnecting_ = false;
        state_.connected_ = connected;
        ++state_.telling_;
    }

    // Somebody has disconnected, or asked for it, since this Connect was entered.
    bool isOvertaken() const noexcept { return state_.disconnects_ != disconnects_; }

private:
    ConnectionState& state_;
    const unsigned long disconnects_;
    bool isSettled_ = false;
};

// One call of Disconnect, while the variable lives.
class ConnectionState::Disconnecting {
public:
    explicit Disconnecting(ConnectionState& state) noexcept
        : state_(state), isFirst_(state.underWay_ == nullptr) {
        ++state_.disconnects_;
        if (isFirst_) {
            ++state_.running_;
            state_.connected_ = false;
            state_.underWay_ = &steps_;
        }
    }
    Disconnecting(const Disconnecting&) = delete;
    Disconnecting& operator=(const Disconnecting&) = delete;
    ~Disconnecting() {
        if (isFirst_) {
            --state_.running_;
        }
        if (state_.underWay_ == &steps_) {
            state_.ended();
        }
    }

    // Null when another one is under way, which does the work.
    Steps* steps() noexcept { return isFirst_ ? &steps_ : nullptr; }

private:
    ConnectionState& state_;
    const bool isFirst_;
    Steps steps_;
};

}  // namespace kel::engine
