// What the listeners heard and did, in the order in which it happened.
#pragma once

#include <utility>
#include <vector>

#include "automation/text.h"

namespace kel::demo {

struct Event {
    automation::Text who;   // the listener
    automation::Text what;  // the event with its arguments, or what the listener did about it

    friend bool operator==(const Event&, const Event&) = default;
};

class EventLog {
public:
    void Add(automation::TextView who, automation::TextView what) {
        events_.push_back({automation::Text(who), automation::Text(what)});
    }
    // Everything since the last call.
    std::vector<Event> Take() { return std::exchange(events_, {}); }

private:
    std::vector<Event> events_;
};

}  // namespace kel::demo
