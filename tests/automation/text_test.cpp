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
    EXPECT_FALSE(LowerEquals(L"A\0C"sv, L"a\0b"sv));
    EXPECT_EQ(Lower(L"\x0130").size(), 1U);
    const LCID former = GetThreadLocale();
    SetThreadLocale(MAKELCID(MAKELANGID(LANG_TURKISH, SUBLANG_DEFAULT), SORT_DEFAULT));
    EXPECT_EQ(Lower(L"TITLE Ä"), L"title ä") << "whatever the user's language";
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
        {L"5\0x"sv, 0, 13},
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

}  // namespace
}  // namespace kel::tests
