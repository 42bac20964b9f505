// What the listeners heard and did, in the order in which it happened.
#pragma once

#include <utility>
#include <vector>

#include "apps/demo/data.h"

namespace kel::demo {

struct Event {
    Text who;   // the listener
    Text what;  // the event with its arguments, or what the listener did about it

    friend bool operator==(const Event&, const Event&) = default;
};

class EventLog {
public:
    void Add(TextView who, TextView what) { events_.push_back({Text(who), Text(what)}); }
    // Everything since the last call.
    std::vector<Event> Take() { return std::exchange(events_, {}); }

private:
    std::vector<Event> events_;
};

}  // namespace kel::demo
