// Makes the n-th allocation of the component fail: C++ memory, automation strings and variants,
// task memory, private heaps and their blocks.
#pragma once

namespace kel::tests {

// Redirects the program's allocations through the counter; once, before the first Armed.
void InstallFailingMemory();

// While it lives, allocations on this thread count, and one of them fails.
class Armed {
public:
    explicit Armed(long number);
    Armed(const Armed&) = delete;
    Armed& operator=(const Armed&) = delete;
    ~Armed();
};

// Stands still while code of the test runs in the middle of the component's.
class Disarmed {
public:
    Disarmed();
    Disarmed(const Disarmed&) = delete;
    Disarmed& operator=(const Disarmed&) = delete;
    ~Disarmed();

private:
    bool former_;
};

// Allocations since the last Armed, and whether its turn came.
long AllocationsCounted();
bool AllocationFailed();

}  // namespace kel::tests
