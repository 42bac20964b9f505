// The client's side of a session: hears its events and answers its questions.
#pragma once

#include <map>
#include <utility>
#include <vector>

#include "apps/demo/event_log.h"
#include "apps/demo/listener.h"

namespace kel::demo {

// Connection properties by name; a property that is not among them is answered with an empty text,
// which leaves it at its default.
using Properties = std::map<Text, Text>;

// What the embedded database needs to open an account.
Properties EmbeddedAccount(TextView path);

class SessionListener final : public Listener<__kelSessionCallBack> {
public:
    SessionListener(EventLog& log, TextView name, Properties properties)
        : log_(log), name_(name), properties_(std::move(properties)) {}

    // Answers the property like this from now on.
    void Answer(TextView property, TextView value) { properties_[Text(property)] = value; }
    // The properties asked for since the last call, in order, with the answers given.
    std::vector<std::pair<Text, Text>> TakeAsked() { return std::exchange(asked_, {}); }
    // Reason of the last failed attempt to connect.
    const Text& failure() const { return failure_; }

private:
    void Hear(DISPID event, const Arguments& arguments) override;

    EventLog& log_;
    const Text name_;
    Properties properties_;
    std::vector<std::pair<Text, Text>> asked_;
    Text failure_;
};

}  // namespace kel::demo
