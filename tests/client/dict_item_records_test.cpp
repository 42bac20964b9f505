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

TEST_F(DictItemRecords, ReadsTheRecordOfItsNumber) {
    struct Case {
        const wchar_t* number;
        bool readU;
        short result;
        Lines calls;
        Lines events;
        Text buffer;
    };
    backend.lockRecord(kFile, L"18");
    const Case cases[] = {
        {L"17",
         false,
         0,
         {L"OpenFile(CUST)", L"mvRead(False,17,file#1,0)"},
         {L"ReadValid(17,True,0)"},
         L"Smith\xFELondon\xFDParis\xFDRome\xFE"
         L"a\xFC"
         L"b"},
        {L"18",
         true,
         2,
         {L"mvRead(True,18,file#1,0)", L"CreateDynamicArray()"},
         {L"ReadValid(18,False,2)"},
         L""},
        {L"99",
         false,
         1,
         {L"mvRead(False,99,file#1,0)", L"CreateDynamicArray()"},
         {L"ReadValid(99,True,1)"},
         L""},
        {L"", false, 1, {L"CreateDynamicArray()"}, {L"ReadValid(,True,1)"}, L""},
    };
    recordState();
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.number));
        setRecNo(one.number);
        item->definition.readU = one.readU;
        backend.clearCalls();
        result = 77;
        EXPECT_EQ(item->ReadRecord(&result), S_OK);
        EXPECT_EQ(result, one.result);
        EXPECT_EQ(backend.takeCalls(), one.calls);
        EXPECT_EQ(fieldEvents->take(), one.events);
        EXPECT_EQ(buffer(), one.buffer);
    }
}

TEST_F(DictItemRecords, WritesTheBufferAndCountsItAsRead) {
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
              (Lines{L"OpenFile(CUST)",
                     L"mvWrite(False,20,file#1,array#1)",
                     L"mvWrite(True,20,file#1,array#1)"}));
}

TEST_F(DictItemRecords, WithoutANumberIsNotWrittenYetCountsAsRead) {
    recordState();
    EXPECT_EQ(item->WriteRecord(&result), S_OK);
    EXPECT_EQ(result, 1);
    EXPECT_TRUE(flag(&_kelInfo::get_IsRead));
    EXPECT_EQ(backend.count(Member::kWrite), 0);
}

TEST_F(DictItemRecords, DeletesAndClears) {
    readRecord();
    const Text before = buffer();
    EXPECT_EQ(item->DeleteRecord(), S_OK);
    EXPECT_EQ(backend.takeCalls(), (Lines{L"mvDelete(17,file#1)"}));
    EXPECT_EQ(fieldEvents->take(), (Lines{L"Deleted(17)"}));
    EXPECT_FALSE(backend.record(kFile, L"17"));
    EXPECT_EQ(buffer(), before);
    EXPECT_EQ(item->ClearRecord(), S_OK);
    EXPECT_EQ(fieldEvents->take(), (Lines{L"Clear()"}));
    EXPECT_EQ(buffer(), L"");
    EXPECT_EQ(recNo(), L"");
    EXPECT_TRUE(flag(&_kelInfo::get_IsNew));
    EXPECT_FALSE(flag(&_kelInfo::get_IsRead));
    EXPECT_EQ(item->ClearRecord(), S_OK);
    EXPECT_EQ(fieldEvents->take(), (Lines{L"Refresh(0,0,0)"})) << "an unread buffer is only shown";
}

TEST_F(DictItemRecords, UsesTheKeyFieldForReadingWhenThereIsOne) {
    readRecord();
    item->definition.keyId = L"Other";
    item->definition.session = kSession;
    item->definition.readKeyId = kKey;
    EXPECT_EQ(item->ReadRecord(&result), S_OK);
    EXPECT_EQ(item->WriteRecord(&result), S_OK);
    EXPECT_EQ(backend.takeCalls(),
              (Lines{L"mvRead(False,17,file#1,0)", L"mvWrite(False,17,file#1,array#3)"}));
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
    backend.fail(Member::kDcount, SampleFailure());
    short count = 77;
    EXPECT_EQ(item->Count(&count), S_OK);
    EXPECT_EQ(count, 0);
    item->definition.keyId = L"";
    item->definition.session = kSession;
    count = 77;
    EXPECT_EQ(item->Count(&count), S_OK) << "no key field is trapped as well";
    EXPECT_EQ(count, 0);
    item->definition.session = L"Gone";
    EXPECT_EQ(item->Count(&count), S_OK);
}

TEST_F(DictItemRecords, CallsAProgramForTheField) {
    readRecord();
    Text parameters;
    backend.putProgram(L"PROG", [&](VARIANT* const* arguments) {
        parameters = Shown(*arguments[2]);
        VariantClear(arguments[3]);
        *arguments[3] = Value(L"answer").detach();
    });
    item->definition.amc = 2;
    item->definition.vmc = 1;
    item->definition.errMsg = L"message";
    Bstr value(L"entered");
    EXPECT_EQ(item->CallProg(Str(L"C:PROG"), Str(L"X"), value.inOut()), S_OK);
    EXPECT_EQ(value.view(), L"answer");
    EXPECT_EQ(parameters,
              L"X\xFE"
              L"2\xFD"
              L"1\xFD"
              L"0\xFE"
              L"customer\xFE"
              L"CUST\xFEMain\xFE\xFE\xFE\xFE\xFE"
              L"message");
    EXPECT_EQ(ErrorOf(item->CallProg(Str(L"C:NONE"), Str(L"X"), value.inOut())),
              (ErrorFields{53, L"kelos99", L"No program NONE"}));
    EXPECT_EQ(item->CallProg(nullptr, Str(L"X"), value.inOut()), S_OK);
    EXPECT_EQ(value.view(), L"answer");
}

TEST_F(DictItemRecords, RaisesWhatTheBackEndRaises) {
    readRecord();
    backend.fail(Member::kRead, SampleFailure());
    backend.fail(Member::kWrite, SampleFailure());
    backend.fail(Member::kDeleteRecord, SampleFailure());
    backend.fail(Member::kCreateDynamicArray, SampleFailure());
    result = 77;
    EXPECT_EQ(ErrorOf(item->ReadRecord(&result)), SampleFailure());
    EXPECT_EQ(result, 0);
    ErrorFields writing = SampleFailure();
    writing.source = L"kelDBMS::mvWrite";
    EXPECT_EQ(ErrorOf(item->WriteRecord(&result)), writing);
    EXPECT_EQ(ErrorOf(item->DeleteRecord()), SampleFailure());
    EXPECT_EQ(ErrorOf(item->ClearRecord()), SampleFailure());
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
