// The state of a key field's record: when there is one, when it has a buffer, what it knows; and
// the file variables behind it.
#include <gtest/gtest.h>

#include "tests/registry/session.h"

namespace kel::tests {
namespace {

using automation::GetText;

using RecordState = SessionTest;

TEST_F(RecordState, IsOneForAllSpellings) {
    const auto first = info(L"Cust");
    ASSERT_TRUE(first);
    EXPECT_EQ(info(L"CUST").get(), first.get());
    EXPECT_EQ(GetText(*first, &_kelInfo::get_KeyId), L"Cust");
    EXPECT_NE(info(L"Cust2").get(), first.get());
    EXPECT_EQ(get(L"mvInfo", {L""}).text(), L"Nothing");
}

TEST_F(RecordState, GetsItsBufferAtTheFirstUseWhileConnected) {
    addField(L"Cust");
    const auto state = info();
    EXPECT_EQ(recordLine(*state), L"Nothing|||---|0");
    ASSERT_TRUE(connect());
    EXPECT_EQ(recordLine(*state), L"Nothing|||---|0") << "not by connecting";
    backend.clearCalls();
    EXPECT_TRUE(call(L"Extract", {Item(L"cust", 1).get()}).ok());
    EXPECT_EQ(backend.takeCalls(),
              (Lines{L"IsConnected", L"CreateDynamicArray()", L"Extract(array#1,1,0,0)"}));
    EXPECT_EQ(recordLine(*state), L"|||---|0");
    EXPECT_TRUE(call(L"Extract", {Item(L"cust", 1).get()}).ok());
    EXPECT_EQ(backend.count(Member::kCreateDynamicArray), 0) << "once";
}

TEST_F(RecordState, LooksUpItsSessionAndItsOpenFile) {
    connectAndRead();
    const auto state = info();
    const Dispatch late(state.get());
    EXPECT_EQ(late.get(L"Session").text(), L"Main");
    EXPECT_EQ(backend.nameOf(late.get(L"FileVar").value.object<IUnknown>().get()), L"file#1");
    for (const wchar_t* name : {L"SelectList", L"ErrorList", L"MandatoryList"}) {
        EXPECT_TRUE(late.putRef(name, {static_cast<IDispatch*>(base.get())}).ok());
        EXPECT_EQ(late.get(name).value.object<_kelBase>().get(), base.get()) << Narrow(name);
        EXPECT_TRUE(late.putRef(name, {Nothing()}).ok());
    }
    backend.clearCalls();
    state->put_FileName(Str(L"ITEM"));
    EXPECT_EQ(late.get(L"FileVar").text(), L"Nothing") << "not open";
    base->SetKeyFieldSession(Str(L"Cust"), Str(L"Gone"));
    EXPECT_EQ(late.get(L"Session").text(), L"Gone");
    base->RemoveFieldCallBack(Str(L"Cust"));
    EXPECT_EQ(late.get(L"Session").text(), L"");
    EXPECT_EQ(backend.takeCalls(), Lines{}) << "looking opens nothing";
}

TEST_F(RecordState, SharesFilesThatAreOpenedOnceAndClosedOnce) {
    const auto variable = [this](const wchar_t* file) {
        return backend.nameOf(call(L"OpenFileVar", {file}).value.object<IUnknown>().get());
    };
    backend.createFile(L"CUST");
    backend.createFile(L"Cust");
    ASSERT_TRUE(connect());
    backend.clearCalls();
    EXPECT_EQ(variable(L"CUST"), L"Nothing");
    for (int times = 0; times < 2; ++times) {
        EXPECT_EQ(call(L"mvOpen", {L"CUST"}).text(), L"0");
        EXPECT_EQ(variable(L"CUST"), L"file#1");
    }
    EXPECT_EQ(variable(L"Cust"), L"Nothing") << "names are taken as they are written";
    EXPECT_EQ(call(L"mvOpen", {L"Cust"}).text(), L"0");
    EXPECT_EQ(call(L"mvOpen", {L""}).text(), L"1");
    EXPECT_EQ(backend.takeCalls(), (Lines{L"OpenFile(CUST)", L"OpenFile(Cust)"}));
    for (int times = 0; times < 2; ++times) {
        EXPECT_TRUE(call(L"mvCloseFile", {L"CUST"}).ok());
        EXPECT_EQ(variable(L"CUST"), L"Nothing");
    }
    EXPECT_EQ(backend.takeCalls(), Lines{L"CloseFile(file#1)"});
    EXPECT_EQ(call(L"mvOpen", {L"CUST"}).text(), L"0");
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
