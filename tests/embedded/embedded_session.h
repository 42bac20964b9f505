// Sessions with the registered embedded back-end.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/backend_session.h"
#include "tests/support/environment.h"

namespace kel::tests {

// Numbers that only this back-end raises.
inline constexpr long kCannotOpen = automation::kObjectError + 0x204;
inline constexpr long kNotAnAccount = automation::kObjectError + 0x205;
inline constexpr long kReadOnlyAccount = automation::kObjectError + 0x207;

class EmbeddedSession : public BackendSession {
public:
    EmbeddedSession() : BackendSession({L"kelos1", L"Database"}) {}
};

// A folder with an account of one file, CUST, and a session with it.
class EmbeddedTest : public testing::Test {
protected:
    EmbeddedTest();

    TempFolder folder;
    const Text account = folder / L"test.account";
    EmbeddedSession session;
};

}  // namespace kel::tests
