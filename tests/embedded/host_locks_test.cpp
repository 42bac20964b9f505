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

TEST_F(EmbeddedLocks, KeepOthersFromLockingButNotFromReading) {
    EXPECT_EQ(session.read(L"17", true), kRead);
    EXPECT_EQ(session.read(L"17", true), kRead) << "the owner may again";
    EXPECT_EQ(other.read(L"17", true), kLocked);
    EXPECT_EQ(other.lastError, ErrorFields());
    EXPECT_FALSE(other.buffer);
    EXPECT_EQ(other.read(L"17"), kRead);
    EXPECT_EQ(other.bufferText(), L"Smith");
    EXPECT_EQ(other.read(L"18", true), kMissing) << "another record";
    EXPECT_EQ(other.release(L"17"), ErrorFields()) << "nobody gives up another's lock";
    EXPECT_EQ(other.read(L"17", true), kLocked);
}

TEST_F(EmbeddedLocks, MayBeTakenOnAMissingRecord) {
    EXPECT_EQ(session.read(L"new", true), kMissing);
    EXPECT_EQ(other.read(L"new", true), kLocked);
    EXPECT_EQ(other.read(L"new"), kMissing);
    EXPECT_EQ(session.release(L"new"), ErrorFields());
    EXPECT_EQ(other.read(L"new", true), kMissing);
}

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

TEST_F(EmbeddedLocks, EndWithTheBackEndObject) {
    {
        EmbeddedSession third;
        ASSERT_EQ(third.connect(account), ErrorFields());
        third.file = third.open(L"CUST");
        ASSERT_EQ(third.read(L"17", true), kRead);
        ASSERT_EQ(other.read(L"17", true), kLocked);
    }
    EXPECT_EQ(other.read(L"17", true), kRead);
}

TEST_F(EmbeddedLocks, AreTakenByAWriteThatKeepsThem) {
    session.setBuffer(L"Jones");
    EXPECT_EQ(session.write(L"20", true), ErrorFields());
    EXPECT_EQ(other.read(L"20", true), kLocked);
    // They advise; a write does not ask.
    other.setBuffer(L"Brown");
    EXPECT_EQ(other.write(L"20"), ErrorFields());
    EXPECT_EQ(session.read(L"20"), kRead);
    EXPECT_EQ(session.bufferText(), L"Brown");
    EXPECT_EQ(other.read(L"20", true), kLocked) << "the write took nothing from its owner";
}

TEST_F(EmbeddedLocks, AreWaitedForAsLongAsAsked) {
    ASSERT_EQ(session.read(L"17", true), kRead);
    other->Disconnect();
    ASSERT_EQ(other.connect(account, {{L"LockWait", L"0.4"}}), ErrorFields());
    other.file = other.open(L"CUST");
    ULONGLONG began = GetTickCount64();
    EXPECT_EQ(other.read(L"17", true), kLocked);
    EXPECT_GE(GetTickCount64() - began, 380U);
    EXPECT_LT(GetTickCount64() - began, 10000U);
    began = GetTickCount64();
    EXPECT_EQ(other.read(L"17"), kRead);
    EXPECT_EQ(other.read(L"18", true), kMissing);
    EXPECT_LT(GetTickCount64() - began, 350U) << "only for a lock of somebody else";
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
