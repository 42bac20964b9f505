// What a failed call left behind, in a form that tests compare and print whole.
#pragma once

#include <ostream>

#include "automation/error.h"
#include "tests/support/values.h"

namespace kel::tests {

// The five fields of a failure; all empty for success. Numbers as clients see them: 1 to 65535, or
// a negative HRESULT.
struct ErrorFields {
    long number = 0;
    Text source = {};
    Text description = {};
    Text helpFile = {};
    DWORD helpContext = 0;

    friend bool operator==(const ErrorFields&, const ErrorFields&) = default;
};

void PrintTo(const ErrorFields& error, std::ostream* stream);

// The failure of a direct call; takes the thread's error object with it. Without an error object
// only the number is filled.
ErrorFields ErrorOf(HRESULT code);

// The failure in an EXCEPINFO; frees its texts.
ErrorFields ErrorOf(EXCEPINFO& exception);

// An error thrown inside the component, with all fields.
ErrorFields ErrorOf(const automation::Error& error);

// What `step` throws; empty when it throws nothing. Anything but Error passes through.
template <typename Step>
ErrorFields ThrownBy(Step&& step) {
    try {
        step();
        return {};
    } catch (const automation::Error& error) {
        return ErrorOf(error);
    }
}

// Leaves a failure in the thread's error object, as a foreign object would, and answers its
// HRESULT.
HRESULT Raise(const ErrorFields& error);

}  // namespace kel::tests
