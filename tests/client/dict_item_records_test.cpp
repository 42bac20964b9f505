// A dictionary item's members on the whole record.
#include <gtest/gtest.h>

#include "tests/client/client_fixture.h"

namespace kel::tests {
namespace {

using client::DictItem;

class DictItemRecords : public ClientTest {
protected:
    DictItemRecords() { connect(); }

    void setRecNo(const wchar_t* number) const { recordState()->put_RecNo(Bstr(number).get()); }
    bool flag(HRESULT (STDMETHODCALLTYPE _kelInfo::*getter)(VARIANT_BOOL*)) const {
        VARIANT_BOOL value = VARIANT_FALSE;
        EXPECT_EQ((recordState().get()->*getter)(&value), S_OK);
        return value != VARIANT_FALSE;
    }

    ComPtr<DictItem> item = makeItem();
    short result = 77;
};

TEST_F(DictItemRecords, WritesTheBufferAndCountsItAsRead) {
    recordState();
    EXPECT_EQ(item->WriteRecord(&result), S_OK);
    EXPECT_EQ(result, 1) << "no number, no record; yet";
    EXPECT_TRUE(flag(&_kelInfo::get_IsRead));
    recordState()->put_IsRead(VARIANT_FALSE);
    setRecNo(L"20");
    item->definition.amc = 1;
    EXPECT_EQ(item->put_InternalValue(0, Str(L"Jones")), S_OK);
    EXPECT_FALSE(flag(&_kelInfo::get_IsRead));
    backend.clearCalls();
    EXPECT_EQ(item->WriteRecord(&result), S_OK);
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(flag(&_kelInfo::get_IsRead));
    EXPECT_EQ(backend.record(kFile, L"20"), L"Jones");
    EXPECT_EQ(backend.locks(), Lines());
    item->definition.writeU = true;
    EXPECT_EQ(item->WriteRecord(&result), S_OK);
    EXPECT_EQ(backend.locks(), (Lines{L"CUST 20 1"}));
    EXPECT_EQ(backend.takeCalls(),
              (Lines{L"mvWrite(False,20,file#1,array#1)", L"mvWrite(True,20,file#1,array#1)"}));
}

TEST_F(DictItemRecords, CountsAtTheFirstOpenPosition) {
    struct Case {
        long amc, vmc, smc;
        long count;
        Lines calls;
    };
    const Case cases[] = {
        {0, 0, 0, 3, {L"Dcount(\xFE,array#2,0,0,0)"}},
        {0, 2, 5, 0, {L"Dcount(\xFE,array#2,0,2,5)"}},
        {2, 0, 0, 3, {L"Dcount(\xFD,array#2,2,0,0)"}},
        {2, 0, 4, 3, {L"Dcount(\xFD,array#2,2,0,4)"}},
        {3, 1, 0, 2, {L"Dcount(\xFC,array#2,3,1,0)"}},
        {9, 0, 0, 0, {L"Dcount(\xFD,array#2,9,0,0)"}},
        {3, 1, 2, 0, {}},
        {-1, -1, -1, 0, {}},
    };
    readRecord();
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        const auto counter = makeItem(one.amc, one.vmc, one.smc);
        short count = 77;
        EXPECT_EQ(counter->Count(&count), S_OK);
        EXPECT_EQ(count, one.count);
        EXPECT_EQ(backend.takeCalls(), one.calls);
    }
}

TEST_F(DictItemRecords, AnswersZeroForACountThatFailsOrDoesNotFit) {
    readRecord();
    struct Case {
        long counted;
        short count;
    };
    for (const Case& one : {Case{32767, 32767},
                            Case{32768, 0},
                            Case{-32768, -32768},
                            Case{-32769, 0},
                            Case{70000, 0}}) {
        backend.answer(Member::kDcount, Value(one.counted));
        short count = 77;
        EXPECT_EQ(item->Count(&count), S_OK);
        EXPECT_EQ(count, one.count) << one.counted;
    }
    // No key field is trapped as well, and so is no session.
    for (const wchar_t* name : {kSession, L"Gone"}) {
        item->definition.keyId = L"";
        item->definition.session = name;
        short count = 77;
        EXPECT_EQ(item->Count(&count), S_OK);
        EXPECT_EQ(count, 0);
    }
}

TEST_F(DictItemRecords, DoNothingWithoutASession) {
    item->definition.keyId = L"Unknown";
    Bstr value(L"kept");
    EXPECT_EQ(item->ReadRecord(&result), S_OK);
    EXPECT_EQ(result, 0);
    result = 77;
    EXPECT_EQ(item->WriteRecord(&result), S_OK);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(item->DeleteRecord(), S_OK);
    EXPECT_EQ(item->ClearRecord(), S_OK);
    EXPECT_EQ(item->CallProg(Str(L"P"), Str(L"D"), value.inOut()), S_OK);
    EXPECT_EQ(value.view(), L"kept");
    EXPECT_EQ(backend.takeCalls(), Lines());
    // A session of which only the name is left is a failure.
    item->definition.session = L"Gone";
    for (const HRESULT code :
         {item->ReadRecord(&result), item->DeleteRecord(), item->ClearRecord()}) {
        EXPECT_EQ(automation::NumberOfCode(code), automation::kInvalidArrayIndex);
    }
}

}  // namespace
}  // namespace kel::tests
