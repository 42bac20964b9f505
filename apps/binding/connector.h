// The client's side of a connection: answers what a session asks while it connects, and keeps the
// reason when it fails.
#pragma once

#include <map>
#include <utility>

#include "apps/binding/client.h"
#include "apps/binding/events.h"

namespace kel::binding {

// Connection properties by name, with what is to be answered. The number of the back-end is one of
// them.
using Properties = std::map<Text, Text, NameLess>;
inline constexpr const wchar_t* kOsType = L"OsType";

class Connector {
public:
    using Observer = std::function<void(SessionEvent event, const Arguments& arguments)>;

    // Answers for `session` from here on. A property that is not among `properties` is answered
    // with an empty text, which leaves it at its default. `observer` is told of every event once it
    // has been dealt with, so that it sees the answer beside the question.
    explicit Connector(Session session, Properties properties = {}, Observer observer = {})
        : session_(std::move(session)),
          properties_(std::move(properties)),
          observer_(std::move(observer)),
          subscription_(Listen(
              session_.raw(),
              [this](SessionEvent event, const Arguments& arguments) { Hear(event, arguments); })) {
    }
    Connector(const Connector&) = delete;
    Connector& operator=(const Connector&) = delete;

    const Session& session() const { return session_; }
    Properties& properties() { return properties_; }

    //   returns  false when the session could not be connected; failure() says why
    bool Connect() {
        failure_.clear();
        return session_.Connect();
    }
    // Reason of the last failed attempt, as the session tells it.
    const Text& failure() const { return failure_; }

private:
    void Hear(SessionEvent event, const Arguments& arguments) {
        if (event == SessionEvent::kConnectionFailed) {
            failure_ = arguments.text(0);
        } else if (event == SessionEvent::kPropertyValue) {
            const auto known = properties_.find(arguments.text(0));
            arguments.answer(1, known != properties_.end() ? TextView(known->second) : TextView());
        }
        if (observer_) {
            observer_(event, arguments);
        }
    }

    const Session session_;
    Properties properties_;
    const Observer observer_;
    Text failure_;
    const Subscription subscription_;  // ends first
};

}  // namespace kel::binding
