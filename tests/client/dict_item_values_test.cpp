// A dictionary item's value in stored and displayed form, and the rows of a multivalued field.
#include <gtest/gtest.h>

#include "tests/client/client_fixture.h"

namespace kel::tests {
namespace {

using client::DictItem;

constexpr IndexedGetter kInternal = &_kelDictItem::get_InternalValue;
constexpr IndexedGetter kExternal = &_kelDictItem::get_ExternalValue;

// A failure as the value members raise it again.
ErrorFields Prefixed(ErrorFields error) {
    error.description = L"kelDictItem:Get ExternalValue:" + error.description;
    return error;
}

class DictItemValues : public ClientTest {
protected:
    DictItemValues() {
        connect();
        readRecord();
    }

    bool isNew() const {
        VARIANT_BOOL value = VARIANT_FALSE;
        EXPECT_EQ(recordState()->get_IsNew(&value), S_OK);
        return value != VARIANT_FALSE;
    }
    void setProgram(const wchar_t* name, const wchar_t* answer) {
        const Text text = answer;
        backend.putProgram(name, [this, text](VARIANT* const* arguments) {
            programKinds += Shown(*arguments[2]).substr(0, 1);
            programValues += Shown(*arguments[3]) + L";";
            VariantClear(arguments[3]);
            *arguments[3] = Value(text).detach();
        });
    }

    Text programKinds;
    Text programValues;
};

TEST_F(DictItemValues, AddressTheRowAtTheFirstOpenPosition) {
    struct Case {
        long amc, vmc, smc;
        short index;
        Text call;
        Text value;
    };
    const Case cases[] = {
        {0, 0, 0, 2, L"Extract(array#2,2,0,0)", L"London\xFDParis\xFDRome"},
        {2, 0, 0, 3, L"Extract(array#2,2,3,0)", L"Rome"},
        {3, 1, 0, 2, L"Extract(array#2,3,1,2)", L"b"},
        {2, 1, 1, 3, L"Extract(array#2,2,1,1)", L"London"},  // no open position: no row
        {2, 0, 0, 0, L"Extract(array#2,2,0,0)", L"London\xFDParis\xFDRome"},
        {2, 0, 0, -1, L"Extract(array#2,2,0,0)", L"London\xFDParis\xFDRome"},
        {0, 2, 0, 2, L"Extract(array#2,2,2,0)", L"Paris"},
        {2, 0, 0, 32767, L"Extract(array#2,2,32767,0)", L""},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        const auto item = makeItem(one.amc, one.vmc, one.smc);
        const Text position = PositionOf(*item);
        EXPECT_EQ(ValueOf(*item, kInternal, one.index), one.value);
        EXPECT_EQ(backend.takeCalls(), (Lines{one.call}));
        EXPECT_EQ(PositionOf(*item), position) << "the row is no longer addressed";
    }
}

TEST_F(DictItemValues, ShowTheRowToTheEngineWhileItWorks) {
    const auto item = makeItem(2);
    Text during;
    backend.before(Member::kExtract, [&] { during = PositionOf(*item); });
    ValueOf(*item, kInternal, 3);
    EXPECT_EQ(during, L"2.3.0");
    backend.before(Member::kExtract, [&] { item->put_VMC(9); });
    ValueOf(*item, kInternal, 3);
    EXPECT_EQ(PositionOf(*item), L"2.9.0") << "what is written is the stored position";
}

TEST_F(DictItemValues, KeepTheOuterRowInNestedMembers) {
    const auto item = makeItem(2);
    item->definition.conversion = L"MCU";
    item->definition.defaultProg = L"C:DEFAULT";
    Text during;
    backend.putProgram(L"DEFAULT", [&](VARIANT* const*) { during = PositionOf(*item); });
    EXPECT_EQ(ValueOf(*item, kExternal, 2), L"PARIS");
    EXPECT_EQ(during, L"2.2.0") << "the inner value was read with index 0";
    EXPECT_EQ(PositionOf(*item), L"2.0.0");
    // An inner member with a row of its own ends the outer one.
    backend.putProgram(L"DEFAULT", [&](VARIANT* const*) {
        ValueOf(*item, kInternal, 1);
        during = PositionOf(*item);
    });
    EXPECT_EQ(ValueOf(*item, kExternal, 2), L"PARIS");
    EXPECT_EQ(during, L"2.0.0");
}

TEST_F(DictItemValues, AreTheRecordNumberAtAttributeZero) {
    const auto item = makeItem();
    EXPECT_EQ(ValueOf(*item, kInternal), L"") << "asked of the item's own session";
    item->definition.session = L"MAIN";
    EXPECT_EQ(ValueOf(*item, kInternal), L"17");
    EXPECT_EQ(backend.takeCalls(), Lines());
    item->definition.conversion = L"MD2";
    EXPECT_EQ(ValueOf(*item, kExternal), L"0.17");
    item->definition.session = L"Gone";
    EXPECT_EQ(ValueOf(*item, kInternal), L"") << "failures are ignored";
}

TEST_F(DictItemValues, StartANewRecordByAnotherNumber) {
    struct Case {
        const wchar_t* entered;
        const wchar_t* session;
        Lines events;
        Text recNo;
        bool updateOnly;
        bool isNew;
    };
    const Case cases[] = {
        {L"17", kSession, {}, L"17", false, false},
        {L"", kSession, {}, L"17", false, false},
        {L"18", L"", {}, L"17", false, false},
        {L"18", kSession, {}, L"18", true, false},
        {L"19", kSession, {L"Clear()"}, L"", false, true},
        {L"20", kSession, {}, L"20", false, true},  // new already
    };
    const auto item = makeItem();
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        item->definition.updateOnly = one.updateOnly;
        item->definition.session = one.session;
        EXPECT_EQ(item->put_InternalValue(0, Str(one.entered)), S_OK);
        EXPECT_EQ(fieldEvents->take(), one.events);
        EXPECT_EQ(recNo(), one.recNo);
        EXPECT_EQ(isNew(), one.isNew);
    }
    EXPECT_EQ(buffer(), L"");
}

TEST_F(DictItemValues, AreComputedByACorrelative) {
    struct Case {
        long amc;
        const wchar_t* call;
        const wchar_t* value;
    };
    for (const Case& one :
         {Case{1, L"ProcessCorrelative(array#2,Smith,17,CUST,0,F;1,)", L"F;1(Smith)"},
          Case{0, L"ProcessCorrelative(array#2,17,17,CUST,0,F;1,)", L"F;1(17)"}}) {
        const auto item = makeItem(one.amc);
        item->definition.correlative = L"F;1";
        item->definition.session = kSession;
        backend.clearCalls();
        EXPECT_EQ(ValueOf(*item, kInternal), one.value);
        EXPECT_EQ(backend.takeCalls().back(), one.call);
        EXPECT_EQ(item->put_InternalValue(0, Str(L"typed")), S_OK);
        EXPECT_EQ(backend.count(Member::kReplace), 0) << "a computed field is never written";
    }
}

TEST_F(DictItemValues, AreEmptyWhereAStepFails) {
    struct Case {
        const char* name;
        long amc;
        long vmc;
        short index;
        const wchar_t* correlative;
        Member failing;
    };
    const Case cases[] = {
        {"the record's value is not shown for it", 1, 0, 0, L"F;2", Member::kProcessCorrelative},
        {"nor that of a row", 2, 0, 2, L"F;1", Member::kProcessCorrelative},
        {"nor the attribute of the row's number", 0, 0, 2, L"F;1", Member::kProcessCorrelative},
        {"nor the record's id", 0, 0, 0, L"F;1", Member::kProcessCorrelative},
        {"a value number beyond 16 bits", 2, 40000, 0, L"F;1", Member::kCreate},
        {"a failing extraction", 1, 0, 0, L"", Member::kExtract},
    };
    for (const Case& one : cases) {
        for (const Failure& failure : {SampleFailure(), Late(SampleFailure())}) {
            SCOPED_TRACE(std::string(one.name) + (failure.late ? ", leaving a text" : ""));
            const auto item = makeItem(one.amc, one.vmc);
            item->definition.correlative = one.correlative;
            item->definition.session = kSession;
            backend.fail(one.failing, failure, kOnce);
            EXPECT_EQ(ValueOf(*item, kInternal, one.index), L"");
            backend.fail(one.failing, failure, kOnce);
            EXPECT_EQ(ValueOf(*item, kExternal, one.index), L"");
        }
    }
}

TEST_F(DictItemValues, AreDisplayedWhateverAConversionAnswers) {
    Variant null;
    V_VT(null.inOut()) = VT_NULL;
    Variant array;
    V_ARRAY(array.inOut()) = SafeArrayCreateVector(VT_I4, 0, 1);
    V_VT(array.inOut()) = VT_ARRAY | VT_I4;
    const auto item = makeItem(1);
    item->definition.conversion = L"MD2";
    const ComPtr<_kelTools> made = automation::Make<client::Tools>(kSession);
    const Dispatch tools(made.get());
    for (const Variant& answer : {null, array, Variant(static_cast<IDispatch*>(base.get()))}) {
        backend.answer(Member::kOconv, answer, {}, kAlways);
        EXPECT_EQ(ValueOf(*item, kExternal), L"");
        const Outcome converted = tools.call(L"Oconv", {L"1", L"MD2"});
        EXPECT_EQ(converted.error, ErrorFields{});
        EXPECT_EQ(converted.text(), L"");
        backend.reset();
    }
}

// The button's program runs first; its key field has no record state before.
TEST_F(DictItemValues, MayBeComputedBeforeTheirKeyFieldIsUsed) {
    addField(L"Fresh", kFile, kSession);
    const auto item = Item(L"Fresh", 1);
    item->definition.controlName = L"mvButton";
    setProgram(L"RUN", L"answer");
    Bstr value(L"in");
    EXPECT_EQ(ErrorOf(item->CallProg(Str(L"C:RUN"), Str(L"B"), value.inOut())), ErrorFields{});
    EXPECT_EQ(value.view(), L"answer");
}

TEST_F(DictItemValues, EndTheirRefreshesWhenADefaultAlwaysAsksForOne) {
    const auto item = makeItem(4);
    item->definition.defaultProg = L"C:DEFAULT";
    backend.putProgram(L"DEFAULT", [](VARIANT* const* arguments) {
        VariantClear(arguments[2]);
        *arguments[2] = Value(Marked(L"^^^^^^^^^2")).detach();
    });
    int shown = 0;
    fieldEvents->onEvent([&](Event&) {
        ASSERT_LT(++shown, 20);
        ValueOf(*makeItem(4), kExternal);
        ValueOf(*item, kExternal);
    });
    ValueOf(*item, kExternal);
    EXPECT_EQ(fieldEvents->take(), Lines{L"Refresh(0,0,0)"});
}

TEST_F(DictItemValues, NameTheMemberInTheTextOfFailures) {
    const auto item = makeItem(2);
    backend.fail(Member::kReplace, SampleFailure());
    EXPECT_EQ(ErrorOf(item->put_InternalValue(2, Str(L"x"))), Prefixed(SampleFailure()));
    EXPECT_EQ(PositionOf(*item), L"2.0.0");
    EXPECT_EQ(ErrorOf(item->put_ExternalValue(2, Str(L"x"))), Prefixed(SampleFailure()))
        << "by the inner member";
    item->definition.conversion = L"MD2";
    EXPECT_EQ(ErrorOf(item->put_ExternalValue(2, Str(L"x"))),
              (ErrorFields{automation::kTypeMismatch, L"kelos99", L"Type mismatch"}))
        << "its own failures come out as they are";
    item->definition.defaultProg = L"C:NONE";
    Bstr value(L"stale");
    EXPECT_EQ(ErrorOf(item->get_ExternalValue(2, value.put())),
              Prefixed({53, L"kelos99", L"No program NONE"}));
    EXPECT_EQ(value.get(), nullptr);
    EXPECT_EQ(PositionOf(*item), L"2.0.0");
    // A session of which only the name is left.
    item->definition.keyId = L"Unknown";
    item->definition.session = L"Gone";
    for (const HRESULT code :
         {item->put_InternalValue(0, Str(L"x")), item->get_ExternalValue(0, value.put())}) {
        EXPECT_EQ(automation::NumberOfCode(code), automation::kInvalidArrayIndex);
    }
    EXPECT_TRUE(ErrorOf(item->put_InternalValue(0, Str(L"x")))
                    .description.starts_with(Prefixed({}).description));
}

TEST_F(DictItemValues, PassThroughDefaultProgramAndConversion) {
    const auto item = makeItem(4);
    item->definition.defaultProg = L"C:DEFAULT";
    item->definition.conversion = L"MD2";
    setProgram(L"DEFAULT", L"12345");
    EXPECT_EQ(ValueOf(*item, kExternal), L"123.45");
    EXPECT_EQ(programKinds, L"D");
    EXPECT_EQ(programValues, L";");
    // A conversion that fails must not stop a display.
    backend.fail(Member::kOconv, SampleFailure());
    EXPECT_EQ(ValueOf(*item, kExternal), L"");
}

TEST_F(DictItemValues, AreDroppedByAValidationProgramWithoutAMessage) {
    const auto item = makeItem(2);
    item->definition.validationProg = L"C:CHECK";
    item->definition.conversion = L"MCU";
    setProgram(L"CHECK", L"checked");
    EXPECT_EQ(item->put_ExternalValue(3, Str(L"entered")), S_OK);
    EXPECT_EQ(programKinds, L"V");
    EXPECT_EQ(programValues, L"ENTERED;");
    EXPECT_EQ(buffer(),
              L"Smith\xFELondon\xFDParis\xFDRome\xFE"
              L"a\xFC"
              L"b");
    EXPECT_EQ(PositionOf(*item), L"2.3.0") << "the row stays in force";
    // Members without a row of their own work on it, one with a row ends it.
    EXPECT_EQ(ValueOf(*item, kInternal), L"Rome");
    EXPECT_EQ(ValueOf(*item, kInternal, 1), L"Rome") << "a row in force is not replaced";
    EXPECT_EQ(PositionOf(*item), L"2.0.0");
    EXPECT_EQ(ValueOf(*item, kInternal, 1), L"London");
}

TEST_F(DictItemValues, AreStoredByAValidationProgramWithAMessage) {
    const auto item = makeItem(2);
    item->definition.validationProg = L"C:CHECK";
    item->definition.errMsg = L"message";
    setProgram(L"CHECK", L"checked");
    EXPECT_EQ(item->put_ExternalValue(3, Str(L"entered")), S_OK);
    EXPECT_EQ(buffer(),
              L"Smith\xFELondon\xFDParis\xFD"
              L"checked\xFE"
              L"a\xFC"
              L"b");
    EXPECT_EQ(PositionOf(*item), L"2.0.0");
}

TEST_F(DictItemValues, InsertAndRemoveRows) {
    const auto item = makeItem(2);
    EXPECT_EQ(item->InsertRow(Str(L"Oslo"), 2), S_OK);
    EXPECT_EQ(item->RemoveRow(1), S_OK);
    EXPECT_EQ(backend.takeCalls(),
              (Lines{L"Insert(array#2,Oslo,2,2,0)", L"Delete(array#2,2,1,0)"}));
    EXPECT_EQ(fieldEvents->take(), (Lines{L"Refresh(2,2,0)", L"Refresh(2,1,0)"}));
    EXPECT_EQ(ValueOf(*item, kInternal), L"Oslo\xFDParis\xFDRome");
    for (const Member member : {Member::kInsert, Member::kDelete}) {
        backend.fail(member, SampleFailure());
    }
    // Without a session there is nothing to fail.
    for (const wchar_t* key : {kKey, L"Unknown"}) {
        item->definition.keyId = key;
        EXPECT_EQ(item->InsertRow(Str(L"x"), 1), S_OK);
        EXPECT_EQ(item->RemoveRow(1), S_OK);
        EXPECT_EQ(PositionOf(*item), L"2.0.0");
    }
    EXPECT_EQ(item->put_InternalValue(2, Str(L"x")), S_OK);
    EXPECT_EQ(ValueOf(*item, kInternal, 2), L"");
}

TEST_F(DictItemValues, SurviveTheEndOfTheirItemAndSession) {
    auto item = makeItem(2);
    DictItem* const raw = item.get();
    backend.before(Member::kExtract, [&] {
        item.reset();
        endSession();
    });
    EXPECT_EQ(ValueOf(*raw, kInternal, 2), L"Paris");
    EXPECT_EQ(backend.live(), LiveObjects());
}

}  // namespace
}  // namespace kel::tests
