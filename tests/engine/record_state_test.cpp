// The state of a key field's record: when there is one, when it has a buffer, what it knows.
#include <gtest/gtest.h>

#include "tests/engine/session.h"

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

TEST_F(RecordState, IsThereEvenWhenItsBufferCannotBeMade) {
    ASSERT_TRUE(connect());
    backend.fail(Member::kCreateDynamicArray, SampleFailure());
    EXPECT_EQ(record(), L"Nothing|||---|0");
    EXPECT_EQ(call(L"Insert", {L"x", Item(L"Cust", 1).get()}).error, SampleFailure());
    backend.setConnected(false);
    backend.clearCalls();
    EXPECT_EQ(record(), L"Nothing|||---|0");
    EXPECT_EQ(backend.takeCalls(), Lines{L"IsConnected"});
}

TEST_F(RecordState, IsWhatAClientWritesIntoIt) {
    addField(L"Cust");
    const auto state = info();
    const Dispatch late(state.get());
    struct Case {
        const wchar_t* name;
        Variant before;
        Variant after;
    };
    const Case cases[] = {
        {L"KeyId", Value(L"Cust"), Value(L"Client")},
        {L"FileName", Value(L""), Value(L"CUST")},
        {L"RecNo", Value(L""), Value(L"17")},
        {L"IsRead", Value(false), Value(true)},
        {L"IsNew", Value(false), Value(true)},
        {L"IsChanged", Value(false), Value(true)},
        {L"SelectListProcessed", Value(false), Value(true)},
        {L"ReadType", Value(short{0}), Value(short{-7})},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.name));
        EXPECT_EQ(late.get(one.name).text(), Shown(one.before.get()));
        EXPECT_TRUE(late.put(one.name, {one.after}).ok());
        EXPECT_EQ(late.get(one.name).text(), Shown(one.after.get()));
    }
    for (const wchar_t* name : {L"DynamicArray", L"SelectList", L"ErrorList", L"MandatoryList"}) {
        SCOPED_TRACE(Narrow(name));
        const bool isList = name[0] == L'E' || name[0] == L'M';
        EXPECT_EQ(late.get(name).text(), isList ? L"object" : L"Nothing");
        EXPECT_TRUE(late.putRef(name, {static_cast<IDispatch*>(base.get())}).ok());
        EXPECT_EQ(late.get(name).value.object<_kelBase>().get(), base.get());
        EXPECT_TRUE(late.putRef(name, {Nothing()}).ok());
        EXPECT_EQ(late.get(name).text(), L"Nothing");
    }
}

TEST_F(RecordState, LooksUpItsSessionAndItsOpenFile) {
    connectAndRead();
    const auto state = info();
    const Dispatch late(state.get());
    EXPECT_EQ(late.get(L"Session").text(), L"Main");
    EXPECT_EQ(backend.nameOf(late.get(L"FileVar").value.object<IUnknown>().get()), L"file#1");
    struct Case {
        const char* name;
        std::function<void()> change;
        const wchar_t* session;
    };
    const Case cases[] = {
        {"a file that is not open", [&] { state->put_FileName(Str(L"ITEM")); }, L"Main"},
        {"no file name", [&] { state->put_FileName(Str(L"")); }, L"Main"},
        {"a session without an engine",
         [&] { base->SetKeyFieldSession(Str(L"Cust"), Str(L"Gone")); },
         L"Gone"},
        {"no session", [&] { base->RemoveFieldCallBack(Str(L"Cust")); }, L""},
    };
    backend.clearCalls();
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        one.change();
        EXPECT_EQ(late.get(L"Session").text(), one.session);
        EXPECT_EQ(late.get(L"FileVar").text(), L"Nothing");
    }
    EXPECT_EQ(backend.takeCalls(), Lines{}) << "looking opens nothing";
}

}  // namespace
}  // namespace kel::tests
