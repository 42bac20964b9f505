// The client's side of the demonstration's sessions: what each is asked and tells goes to the log.
#pragma once

#include <utility>
#include <vector>

#include "apps/demo/event_log.h"

namespace kel::demo {

// What the embedded database needs to open an account.
Properties EmbeddedAccount(TextView path);

class SessionListener {
public:
    SessionListener(EventLog& log, TextView name, Session session, Properties properties)
        : log_(log),
          name_(name),
          connector_(
              std::move(session),
              std::move(properties),
              [this](SessionEvent event, const Arguments& arguments) { Hear(event, arguments); }) {}

    const Session& session() const { return connector_.session(); }
    // Answers the property like this from now on.
    void Answer(TextView property, TextView value) {
        connector_.properties()[Text(property)] = value;
    }
    // The properties asked for since the last call, in order, with the answers given.
    std::vector<std::pair<Text, Text>> TakeAsked() { return std::exchange(asked_, {}); }
    bool Connect() { return connector_.Connect(); }
    // Reason of the last failed attempt to connect.
    const Text& failure() const { return connector_.failure(); }

private:
    void Hear(SessionEvent event, const Arguments& arguments);

    EventLog& log_;
    const Text name_;
    std::vector<std::pair<Text, Text>> asked_;
    Connector connector_;
};

}  // namespace kel::demo
