// What a single-threaded client needs while a member takes its time: its window messages handled
// and its pointer showing that it waits.
#pragma once

#include <windows.h>

namespace kel::automation {

// Handles the window messages that wait for the thread when the pumping begins: what was posted and
// typed, windows to be painted, timers that are due, what other threads sent. What handlers post,
// and timers that are due again meanwhile, are left to the next time, so that a busy client cannot
// hold up who pumps. Client code may run.
//
// A quit message ends the pumping and is put back for the client's own loop; the answer then is
// false.
bool PumpMessages() noexcept;

// Shows the hourglass from construction to destruction and puts the former pointer back.
class BusyPointer {
public:
    BusyPointer() noexcept : former_(SetCursor(LoadCursorW(nullptr, IDC_WAIT))) {}
    BusyPointer(const BusyPointer&) = delete;
    BusyPointer& operator=(const BusyPointer&) = delete;
    ~BusyPointer() { SetCursor(former_); }

private:
    HCURSOR former_;
};

}  // namespace kel::automation
