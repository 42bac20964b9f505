// The definition properties of a dictionary item.
#include <gtest/gtest.h>

#include "tests/client/client_fixture.h"

namespace kel::tests {
namespace {

// Needs no session: the item alone.
class DictItemDefinition : public testing::Test {
protected:
    ComPtr<_kelDictItem> item = automation::Make<client::DictItem>();
    Dispatch late{item.get()};
};

TEST_F(DictItemDefinition, KeepsEveryPropertyApart) {
    const wchar_t* const texts[] = {L"DictName",
                                    L"Conversion",
                                    L"Correlative",
                                    L"InternalCorrelative",
                                    L"Justification",
                                    L"Label",
                                    L"KeyId",
                                    L"FileName",
                                    L"Session",
                                    L"ReadKeyId",
                                    L"ControlType",
                                    L"ControlName",
                                    L"DefaultProg",
                                    L"ValidationProg",
                                    L"ErrMsg"};
    const wchar_t* const numbers[] = {L"AMC", L"VMC", L"SMC", L"Length", L"ReadType"};
    const wchar_t* const flags[] = {L"ReadU", L"WriteU", L"UpdateOnly"};
    for (const wchar_t* name : texts) {
        EXPECT_EQ(late.get(name).text(), L"") << Narrow(name);
    }
    for (const wchar_t* name : texts) {
        EXPECT_TRUE(late.put(name, {Text(name) + L"\xFE\xFD!"}).ok()) << Narrow(name);
    }
    int next = -32760;
    for (const wchar_t* name : numbers) {
        EXPECT_EQ(late.get(name).text(), L"0") << Narrow(name);
        EXPECT_TRUE(late.put(name, {next++}).ok()) << Narrow(name);
    }
    for (const wchar_t* name : texts) {
        EXPECT_EQ(late.get(name).text(), Text(name) + L"\xFE\xFD!") << Narrow(name);
    }
    next = -32760;
    for (const wchar_t* name : numbers) {
        EXPECT_EQ(late.get(name).text(), std::to_wstring(next++)) << Narrow(name);
    }
    // One at a time, so that none stands for another.
    for (const wchar_t* set : flags) {
        EXPECT_TRUE(late.put(set, {true}).ok());
        for (const wchar_t* name : flags) {
            EXPECT_EQ(late.get(name).text(), name == set ? L"True" : L"False") << Narrow(name);
        }
        EXPECT_TRUE(late.put(set, {0}).ok());
    }
    EXPECT_TRUE(late.put(L"Length", {100000}).ok());
    EXPECT_EQ(late.get(L"Length").text(), L"100000");
    EXPECT_EQ(late.put(L"ReadType", {40000}).code, DISP_E_OVERFLOW);
}

TEST_F(DictItemDefinition, ReadsWithItsOwnKeyUntilAnotherIsSet) {
    late.put(L"KeyId", {L"Cust"});
    EXPECT_EQ(late.get(L"ReadKeyId").text(), L"Cust");
    late.put(L"KeyId", {L"Order"});
    EXPECT_EQ(late.get(L"ReadKeyId").text(), L"Order");
    late.put(L"ReadKeyId", {L"Line"});
    EXPECT_EQ(late.get(L"ReadKeyId").text(), L"Line");
    EXPECT_EQ(late.get(L"KeyId").text(), L"Order");
    late.put(L"ReadKeyId", {L""});
    EXPECT_EQ(late.get(L"ReadKeyId").text(), L"Order");
}

TEST_F(DictItemDefinition, ForgetsTheInternalFormOfAnotherCorrelative) {
    struct Case {
        const wchar_t* written;
        const wchar_t* kept;
    };
    late.put(L"Correlative", {L"A;1"});
    for (const Case& one : {Case{L"A;1", L"internal"}, Case{L"a;1", L""}, Case{L"", L""}}) {
        late.put(L"InternalCorrelative", {L"internal"});
        late.put(L"Correlative", {one.written});
        EXPECT_EQ(late.get(L"InternalCorrelative").text(), one.kept) << Narrow(one.written);
        EXPECT_EQ(late.get(L"Correlative").text(), one.written);
    }
}

TEST_F(DictItemDefinition, IsReadAnewAfterAnyWriteOfItsName) {
    const auto state = item.as<IDictItemState>();
    ASSERT_TRUE(state);
    for (const wchar_t* name : {L"NAME", L"NAME", L""}) {
        EXPECT_EQ(state->SetDictRead(DictReadFailed), S_OK);
        EXPECT_EQ(state->SetDictErrMsg(Str(L"why")), S_OK);
        EXPECT_EQ(late.get(L"DictRead").text(), L"2");
        late.put(L"DictName", {name});
        EXPECT_EQ(late.get(L"DictRead").text(), L"0") << Narrow(name);
        EXPECT_EQ(late.get(L"DictErrMsg").text(), L"why");
    }
}

TEST_F(DictItemDefinition, KeepsItsStateFromClients) {
    for (const wchar_t* name : {L"DictRead", L"DictErrMsg"}) {
        EXPECT_EQ(late.put(name, {1}).code, DISP_E_MEMBERNOTFOUND) << Narrow(name);
    }
    EXPECT_EQ(late.call(L"SetDictRead", {1}).code, DISP_E_UNKNOWNNAME);
}

TEST_F(DictItemDefinition, RefusesNullPointers) {
    EXPECT_EQ(item->get_AMC(nullptr), E_POINTER);
    EXPECT_EQ(item->get_DictName(nullptr), E_POINTER);
    EXPECT_EQ(item->get_ReadU(nullptr), E_POINTER);
    EXPECT_EQ(item->get_DictRead(nullptr), E_POINTER);
    EXPECT_EQ(item->get_InternalValue(0, nullptr), E_POINTER);
    EXPECT_EQ(item->get_CommonValue(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(item->ReadRecord(nullptr), E_POINTER);
    EXPECT_EQ(item->Count(nullptr), E_POINTER);
    EXPECT_EQ(item->mvInfo(nullptr), E_POINTER);
    EXPECT_EQ(item->Tools(nullptr), E_POINTER);
    SetErrorInfo(0, nullptr);
}

}  // namespace
}  // namespace kel::tests
