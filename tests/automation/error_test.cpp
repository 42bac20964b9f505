// Numbers, texts and error objects on their way out of a member and back from a foreign one.
#include <gtest/gtest.h>

#include <stdexcept>

#include "automation/com_method.h"
#include "automation/safe_array.h"
#include "tests/support/errors.h"

namespace kel::tests {
namespace {

using automation::CallOut;
using automation::ComMethod;
using automation::Error;
using automation::Out;

HRESULT Code(unsigned long code) {
    return static_cast<HRESULT>(code);
}

TEST(Error, PublishesEveryField) {
    struct Case {
        Error error;
        HRESULT code;
        ErrorFields fields;
    };
    const Case cases[] = {
        {Error(5), Code(0x800A0005), {5, L"kelSDK", L"Invalid procedure call or argument"}},
        {Error(457, L"here"),
         Code(0x800A01C9),
         {457, L"here", L"This key is already associated with an element of this collection"}},
        {Error(-2147221503, L"mvDBMS::Extract", L"No Key Id"),
         Code(0x80040001),
         {-2147221503, L"mvDBMS::Extract", L"No Key Id"}},
        // A number that is no failure must not look like success to the caller.
        {Error(0, L"zero", L"nothing"), E_FAIL, {E_FAIL, L"zero", L"nothing"}},
        // The platform's error object ends texts at a zero; the rest must not go with it.
        {Error(5, L"a", Text(L"key 'x\0y'", 9)), Code(0x800A0005), {5, L"a", L"key 'x y'"}},
        {Error(65535, L"largest", L"fits"), Code(0x800AFFFF), {65535, L"largest", L"fits"}},
        {Error(65536, L"large", L"too large"), E_FAIL, {E_FAIL, L"large", L"too large"}},
    };
    for (const Case& one : cases) {
        const HRESULT code = one.error.publish();
        EXPECT_EQ(code, one.code);
        EXPECT_EQ(ErrorOf(code), one.fields);
    }
}

TEST(Error, MakesDoWithoutAnErrorObject) {
    for (const HRESULT code :
         {E_ACCESSDENIED, Code(0x80040001), Code(0x80131234), Code(0x800A0000)}) {
        const ErrorFields error = ThrownBy([&] { CallOut([&] { return code; }); });
        EXPECT_EQ(error.number, code);
        EXPECT_EQ(error.source, L"kelSDK");
        EXPECT_FALSE(error.description.empty());
        EXPECT_FALSE(error.description.ends_with(L'\n'));
    }
    EXPECT_EQ(ThrownBy([] { CallOut([] { return Code(0x800A005B); }); }),
              (ErrorFields{91, L"kelSDK", L"Object variable or With block variable not set"}));
}

TEST(Error, TakesNothingLeftOverFromAnEarlierCall) {
    const ErrorFields fields{10201, L"kelos7.Read", L"Record \"17\" is gone", L"kel.hlp", 4711};
    EXPECT_EQ(ThrownBy([&] { CallOut([&] { return Raise(fields); }); }), fields) << "whole";
    Raise({5, L"stale", L"stale"});
    const ErrorFields error = ThrownBy([] { CallOut([] { return E_ACCESSDENIED; }); });
    EXPECT_EQ(error.source, L"kelSDK");
    EXPECT_NE(error.description, L"stale");
    // Success with an error object left about is success.
    EXPECT_EQ(ThrownBy([] {
                  CallOut([] {
                      Raise({5, L"stale", L"stale"});
                      return S_FALSE;
                  });
              }),
              ErrorFields());
}

TEST(ComMethod, TurnsWhateverIsThrownIntoCodeAndText) {
    struct Case {
        std::function<void()> body;
        ErrorFields fields;
    };
    const ErrorFields outOfMemory{7, L"kelSDK", L"Out of memory"};
    const ErrorFields unexpected{E_UNEXPECTED, L"kelSDK", L"Unexpected internal error"};
    const Case cases[] = {
        {[] { throw Error(13, L"there"); }, {13, L"there", L"Type mismatch"}},
        {[] { throw std::bad_alloc(); }, outOfMemory},
        {[] { throw std::length_error("too long"); }, outOfMemory},
        {[] { automation::Check(E_OUTOFMEMORY); }, outOfMemory},
        {[] { throw std::runtime_error("what"); }, unexpected},
        {[] { throw 17; }, unexpected},
        {[] { CallOut([]() -> HRESULT { throw std::runtime_error("foreign"); }); },
         {E_UNEXPECTED, L"kelSDK", L"Automation error"}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        EXPECT_EQ(ErrorOf(ComMethod(one.body)), one.fields);
    }
}

TEST(ComMethod, EmptiesOutputsBeforeItFails) {
    // What an out parameter holds on entry is not the callee's: it is overwritten, never freed.
    long number = 17;
    auto text = reinterpret_cast<BSTR>(&number);
    auto* object = reinterpret_cast<IDispatch*>(&number);
    VARIANT value;
    V_VT(&value) = VT_BSTR;
    V_BSTR(&value) = text;
    const HRESULT code = ComMethod([&] {
        Out numberOut{&number};
        Out textOut{&text};
        Out objectOut{&object};
        Out valueOut{&value};
        throw Error(5);
    });
    EXPECT_EQ(code, Code(0x800A0005));
    EXPECT_EQ(number, 0);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(V_VT(&value), VT_EMPTY);
    EXPECT_EQ(ComMethod([] { Out out{static_cast<BSTR*>(nullptr)}; }), E_POINTER);
    SetErrorInfo(0, nullptr);
}

TEST(ComMethod, GivesEmptyTextsAsStringsNotAsNull) {
    Bstr text;
    EXPECT_EQ(ComMethod([&] {
                  Out out{text.put()};
                  out = TextView();
              }),
              S_OK);
    EXPECT_NE(text.get(), nullptr);
}

}  // namespace
}  // namespace kel::tests
