// Texts and variants at their edges.
#include <gtest/gtest.h>

#include "automation/error.h"
#include "automation/safe_array.h"
#include "tests/automation/probe.h"
#include "tests/support/errors.h"

namespace kel::tests {
namespace {

using namespace std::string_view_literals;
using automation::Lower;
using automation::LowerEquals;

TEST(Lower, MapsLettersOfEveryScriptAndKeepsTheLength) {
    struct Case {
        TextView text;
        TextView lower;
    };
    const Case cases[] = {
        {L"", L""},
        {L"CUST.Name-17", L"cust.name-17"},
        {L"ÄÖÜ É", L"äöü é"},
        {L"STRASSE ß", L"strasse ß"},
        {L"ΣΊΣΥΦΟΣ", L"σίσυφοσ"},  // one unit to one unit, no final sigma
        {L"ЖУК", L"жук"},
        {L"A\0B"sv, L"a\0b"sv},
        {L"Ü\0Ä"sv, L"ü\0ä"sv},
        {L"X\xD800Y", L"x\xD800y"},  // half a surrogate pair is a unit like any other
    };
    for (const Case& one : cases) {
        EXPECT_EQ(Lower(one.text), Text(one.lower));
        EXPECT_TRUE(LowerEquals(one.text, one.lower));
    }
    EXPECT_FALSE(LowerEquals(L"ab", L"abc"));
    EXPECT_FALSE(LowerEquals(L"ÄB", L"äc"));
    EXPECT_FALSE(LowerEquals(L"A\0C"sv, L"a\0b"sv));
    EXPECT_EQ(Lower(L"\x0130").size(), 1U);
}

TEST(Lower, DoesNotDependOnTheUsersLanguage) {
    const LCID former = GetThreadLocale();
    SetThreadLocale(MAKELCID(MAKELANGID(LANG_TURKISH, SUBLANG_DEFAULT), SORT_DEFAULT));
    EXPECT_EQ(Lower(L"TITLE"), L"title");
    EXPECT_EQ(Lower(L"TITLE Ä"), L"title ä");
    SetThreadLocale(former);
}

TEST(ToShort, FollowsThePlatformsCoercion) {
    struct Case {
        TextView text;
        short number;
        long error;
    };
    const Case cases[] = {
        {L"5", 5, 0},
        {L" 7 ", 7, 0},
        {L"-32768", -32768, 0},
        {L"32767", 32767, 0},
        {L"2.5", 2, 0},  // halves go to the even neighbour
        {L"3.5", 4, 0},
        {L"1e3", 1000, 0},
        {L"32768", 0, 6},
        {L"-32769", 0, 6},
        {L"99999999999", 0, 6},
        {L"", 0, 13},
        {L"abc", 0, 13},
        {L"5x", 0, 13},
        {L"c:\\kelSDK.log", 0, 13},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.text));
        short number = 0;
        EXPECT_EQ(ThrownBy([&] { number = automation::ToShort(one.text); }).number, one.error);
        EXPECT_EQ(number, one.number);
    }
    EXPECT_EQ(automation::DecimalText(-2147221503), L"-2147221503");
}

TEST(Bstr, CountsItsLength) {
    EXPECT_EQ(automation::View(nullptr).size(), 0U);
    const Bstr embedded(L"a\0b"sv);
    EXPECT_EQ(embedded.view(), L"a\0b"sv);
    EXPECT_EQ(Bstr(L"").get(), nullptr);
    Bstr first(L"first");
    Bstr second = std::move(first);
    first = Bstr(L"other");
    first = std::move(second);
    EXPECT_EQ(first.view(), L"first");
    *first.put() = SysAllocString(L"new");
    EXPECT_EQ(first.view(), L"new");
}

TEST(Variant, CopiesWhatItRefersTo) {
    Bstr text(L"a\0b"sv);
    Variant inner = ByRef(text);
    const Variant outer = ByRef(inner);
    const Variant through = Variant::Through(outer.get());
    EXPECT_EQ(V_VT(&through.get()), VT_BSTR);
    text.reset();
    EXPECT_EQ(through.text().view(), L"a\0b"sv);

    const auto probe = automation::Make<Probe>();
    IDispatch* object = probe.get();
    {
        const Variant held = Variant::Through(ByRef(&object).get());
        EXPECT_EQ(held.object<_Collection>().get(), probe.get());
        EXPECT_FALSE(held.object<_kelBase>());
    }
    EXPECT_EQ(probe->AddRef(), 2U);
    probe->Release();
}

TEST(Variant, ConvertsByThePlatformsRules) {
    const auto array = automation::SafeArray::OfTexts({});
    Variant null;
    V_VT(null.inOut()) = VT_NULL;
    struct Case {
        Variant value;
        TextView text;
        long textError;
        int truth;  // -1: type mismatch
    };
    const Case cases[] = {
        {Variant(), L"", 0, 0},
        {Value(true), L"True", 0, 1},
        {Value(false), L"False", 0, 0},
        {Value(-5), L"-5", 0, 1},
        {Value(short{0}), L"0", 0, 0},
        {Value(1.5), L"1.5", 0, 1},
        {Value(L"True"), L"True", 0, 1},
        {Value(L"0"), L"0", 0, 0},
        {Value(L"yes"), L"yes", 0, -1},
        {Value(L""), L"", 0, -1},
        {null, L"", 13, -1},
        {Variant::Missing(), L"", 13, -1},
        {Variant(static_cast<IDispatch*>(nullptr)), L"", 13, -1},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        Bstr text;
        EXPECT_EQ(ThrownBy([&] { text = one.value.text(); }).number, one.textError);
        EXPECT_EQ(text.view(), one.text);
        bool truth = false;
        EXPECT_EQ(ThrownBy([&] { truth = one.value.boolean(); }).number, one.truth < 0 ? 13 : 0);
        EXPECT_EQ(truth, one.truth == 1);
    }
}

TEST(Variant, KnowsAnOmittedArgument) {
    VARIANT other;
    V_VT(&other) = VT_ERROR;
    V_ERROR(&other) = DISP_E_TYPEMISMATCH;
    EXPECT_TRUE(automation::IsMissing(nullptr));
    EXPECT_TRUE(automation::IsMissing(&Variant::Missing().get()));
    EXPECT_FALSE(automation::IsMissing(&other));
    EXPECT_FALSE(automation::IsMissing(&Variant().get()));
}

TEST(SafeArray, HoldsTextsFromZeroOn) {
    const TextView texts[] = {L"a\0b"sv, L"", L"ü"};
    const auto array = automation::SafeArray::OfTexts(texts);
    LONG low = -1;
    LONG high = -1;
    SafeArrayGetLBound(array.get(), 1, &low);
    SafeArrayGetUBound(array.get(), 1, &high);
    EXPECT_EQ(low, 0);
    ASSERT_EQ(high, 2);
    for (LONG i = low; i <= high; ++i) {
        Bstr text;
        SafeArrayGetElement(array.get(), &i, text.put());
        EXPECT_EQ(text.view(), texts[i]);
    }
}

}  // namespace
}  // namespace kel::tests
