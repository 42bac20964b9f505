// The test back-end in a test program, and sweeps over everything in it that can fail.
#pragma once

#include <gtest/gtest.h>

#include "tests/backend/test_backend.h"

namespace kel::tests {

// The test back-end of this process: the very DLL that COM loads, registered on first use. Throws
// when it is not there.
TestBackend& LoadTestBackend();

// A fresh test back-end for each test; what the test leaves alive in it is a failure.
class BackendTest : public testing::Test {
protected:
    BackendTest();
    void TearDown() override;

    TestBackend& backend;
};

// Runs `act` once to learn which back-end calls it makes, then once for each of these calls with
// that call failing. `arrange` prepares everything afresh each time (the back-end is reset before
// it); `check` is told the number and the text of the call that failed and looks at the outcome.
//
//     SweepFailures(
//         backend, SampleFailure(),
//         [&] { backend.putRecord(L"CUST", L"17", L"Smith"); connect(); },
//         [&] { code = tools->mvRead(...); },
//         [&](long number, const Text& call) { EXPECT_EQ(ErrorOf(code), SampleFailure()); });
//
// The number of calls that `act` made when nothing failed.
template <typename Arrange, typename Act, typename Check>
long SweepFailures(
    TestBackend& backend, const Failure& failure, Arrange&& arrange, Act&& act, Check&& check) {
    const auto prepare = [&] {
        backend.reset();
        arrange();
        backend.clearCalls();
    };
    prepare();
    act();
    const Lines calls = backend.takeCalls();
    for (std::size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE("call " + std::to_string(i + 1) + " failing: " + Narrow(calls[i]));
        prepare();
        backend.failCall(static_cast<long>(i + 1), failure);
        act();
        check(static_cast<long>(i + 1), calls[i]);
    }
    return static_cast<long>(calls.size());
}

}  // namespace kel::tests
