// The field and date utilities of the tools object. They need no session.
#pragma once

#include "automation/text.h"

namespace kel::client {

// Position, from 1, of the occurrence number `occurrence` of `part` in `text`; 0 when there are
// fewer. The search resumes one character after the beginning of each match, so occurrences may
// overlap. Exact comparison.
//   throws  6 when a match beyond 32766 is met while more are sought
long Index(automation::TextView text, automation::TextView part, short occurrence);

// The field number `number` of `text`; "" when there are fewer. A field begins one character after
// the beginning of the delimiter before it, whatever the delimiter's length.
//   throws  6 for a position that 16 bits do not hold
automation::Text Field(automation::TextView text, automation::TextView delimiter, short number);

// Days from 31 December 1967 to today, local date.
long InternalDate();

// Seconds since midnight, local time, rounded to even halves: 86400 in the last half second.
long InternalTime();

// What Wait stands on; a test puts another clock and another pump in its place.
struct WaitEnvironment {
    // Seconds since midnight with a fraction; falls back to 0 at midnight.
    float (*clock)();
    // Lets the client's window messages be handled, sleeping until some arrive or a while passes.
    void (*yield)();
};

// The real clock and message queue.
const WaitEnvironment& SystemWait() noexcept;

// Waits `seconds` while the client's windows keep working: until the clock has reached the sum,
// rounded to a whole second. A wait across midnight first waits for the clock to fall back.
void Wait(short seconds, const WaitEnvironment& environment);

}  // namespace kel::client
