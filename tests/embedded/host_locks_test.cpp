// Record locks of the embedded back-end, between two sessions.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "tests/embedded/embedded_session.h"

namespace kel::tests {
namespace {

constexpr short kRead = 0;
constexpr short kMissing = 1;
constexpr short kLocked = 2;

class EmbeddedLocks : public EmbeddedTest {
protected:
    EmbeddedLocks() {
        EXPECT_EQ(other.connect(account), ErrorFields());
        other.file = other.open(L"CUST");
        session.setBuffer(L"Smith");
        session.write(L"17");
    }

    EmbeddedSession other;
};

TEST_F(EmbeddedLocks, EndInTheWaysThatEndThem) {
    struct Case {
        const char* how;
        bool ends;
        std::function<void()> step;
    };
    const Case cases[] = {
        {"write", true, [&] { session.write(L"17"); }},
        {"write with lock", false, [&] { session.write(L"17", true); }},
        {"delete", true, [&] { session.remove(L"17"); }},
        {"release", true, [&] { session.release(L"17"); }},
        {"read", false, [&] { session.read(L"17"); }},
        {"write of another record", false, [&] { session.write(L"18"); }},
        {"close of the file",
         false,
         [&] {
             session->CloseFile(session.file.inOut());
             session.file = session.open(L"CUST");
         }},
        {"disconnect",
         true,
         [&] {
             session->Disconnect();
             session.connect(account);
             session.file = session.open(L"CUST");
         }},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.how);
        session.setBuffer(L"Smith");
        session.write(L"17");
        ASSERT_EQ(session.read(L"17", true), kRead);
        ASSERT_EQ(other.read(L"17", true), kLocked);
        one.step();
        EXPECT_EQ(session.lastError, ErrorFields());
        EXPECT_EQ(other.read(L"17", true) != kLocked, one.ends);
        other.release(L"17");
        session.release(L"17");
    }
}

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
