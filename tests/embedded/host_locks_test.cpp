// Waiting for a record lock of the embedded back-end.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/embedded/embedded_session.h"

namespace kel::tests {
namespace {

constexpr short kRead = 0;

class EmbeddedLocks : public EmbeddedTest {
protected:
    EmbeddedLocks() {
        session.setBuffer(L"Smith");
        session.write(L"17");
    }
};

TEST_F(EmbeddedLocks, AreLeftByTheOtherWithinTheWait) {
    ASSERT_EQ(session.read(L"17", true), kRead);
    // A session may be used on a thread of its own; this one waits there.
    std::atomic<short> status = 77;
    std::thread waiting([&] {
        CoInitialize(nullptr);
        {
            EmbeddedSession waitingSession;
            waitingSession.connect(account, {{L"LockWait", L"20"}});
            waitingSession.file = waitingSession.open(L"CUST");
            status = waitingSession.read(L"17", true);
        }
        CoUninitialize();
    });
    Sleep(500);
    EXPECT_EQ(status, 77);
    const ULONGLONG began = GetTickCount64();
    session.release(L"17");
    waiting.join();
    EXPECT_EQ(status, kRead);
    EXPECT_LT(GetTickCount64() - began, 15000U);
}

}  // namespace
}  // namespace kel::tests
