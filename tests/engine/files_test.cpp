// File variables: opened once, kept until closed.
#include <gtest/gtest.h>

#include "tests/engine/session.h"

namespace kel::tests {
namespace {

class Files : public SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        backend.createFile(L"CUST");
        backend.createFile(L"Cust");
        ASSERT_TRUE(connect());
        backend.clearCalls();
    }
    Text variable(const wchar_t* file) const {
        return backend.nameOf(call(L"OpenFileVar", {file}).value.object<IUnknown>().get());
    }
};

TEST_F(Files, AreOpenedOnceAndClosedOnce) {
    EXPECT_EQ(variable(L"CUST"), L"Nothing");
    for (int times = 0; times < 2; ++times) {
        EXPECT_EQ(call(L"mvOpen", {L"CUST"}).text(), L"0");
        EXPECT_EQ(variable(L"CUST"), L"file#1");
    }
    EXPECT_EQ(variable(L"Cust"), L"Nothing") << "names are taken as they are written";
    EXPECT_EQ(call(L"mvOpen", {L"Cust"}).text(), L"0");
    EXPECT_EQ(variable(L"Cust"), L"file#2");
    EXPECT_EQ(backend.takeCalls(), (Lines{L"OpenFile(CUST)", L"OpenFile(Cust)"}));
    for (int times = 0; times < 2; ++times) {
        EXPECT_TRUE(call(L"mvCloseFile", {L"CUST"}).ok());
        EXPECT_EQ(variable(L"CUST"), L"Nothing");
    }
    EXPECT_TRUE(call(L"mvCloseFile", {L"never opened"}).ok());
    EXPECT_EQ(backend.takeCalls(), Lines{L"CloseFile(file#1)"});
    EXPECT_EQ(backend.live().files, 1);
}

TEST_F(Files, NeedAName) {
    EXPECT_EQ(call(L"mvOpen", {L""}).text(), L"1");
    EXPECT_TRUE(call(L"mvCloseFile", {L""}).ok());
    EXPECT_EQ(variable(L""), L"Nothing");
    EXPECT_EQ(backend.takeCalls(), Lines{});
}

TEST_F(Files, ThatCannotBeOpenedAreTheCallersError) {
    const ErrorFields missing = {10301, L"kelos99", L"No file NONE"};
    EXPECT_EQ(call(L"mvOpen", {L"NONE"}).error, missing);
    EXPECT_EQ(variable(L"NONE"), L"Nothing");
    backend.createFile(L"NONE");
    EXPECT_EQ(call(L"mvOpen", {L"NONE"}).text(), L"0") << "the failure is not remembered";
    call(L"Disconnect");
    EXPECT_EQ(call(L"mvOpen", {L"CUST"}).error, kNoBackend);
    EXPECT_EQ(call(L"mvOpen", {L""}).text(), L"1");
}

TEST_F(Files, AreForgottenEvenWhenClosingFails) {
    for (const Failure& failure : {SampleFailure(), BareFailure(E_FAIL), Late(SampleFailure())}) {
        EXPECT_EQ(call(L"mvOpen", {L"CUST"}).text(), L"0");
        backend.fail(Member::kCloseFile, failure, kOnce);
        EXPECT_EQ(call(L"mvCloseFile", {L"CUST"}).error, ErrorFields{});
        EXPECT_EQ(variable(L"CUST"), L"Nothing");
        EXPECT_EQ(backend.live().files, 0);
    }
}

TEST_F(Files, MayBeClosedWhileTheyAreClosed) {
    EXPECT_EQ(call(L"mvOpen", {L"CUST"}).text(), L"0");
    EXPECT_EQ(call(L"mvOpen", {L"Cust"}).text(), L"0");
    backend.before(
        Member::kCloseFile,
        [this] {
            call(L"mvCloseFile", {L"CUST"});
            call(L"mvCloseFile", {L"Cust"});
        },
        kOnce);
    EXPECT_TRUE(call(L"Disconnect").ok());
    EXPECT_EQ(backend.live(), LiveObjects());
}

}  // namespace
}  // namespace kel::tests
