// The combined display text of a dictionary item.
#include <gtest/gtest.h>

#include "tests/client/client_fixture.h"

namespace kel::tests {
namespace {

class DictItemDisplay : public ClientTest {
protected:
    DictItemDisplay() {
        connect();
        readRecord();
    }

    ComPtr<client::DictItem> item = makeItem(1);
};

TEST_F(DictItemDisplay, JoinsValueAndDescription) {
    const auto other = static_cast<EnumDisplayType>(3);
    struct Case {
        EnumDisplayType type;
        const wchar_t* correlative;
        const wchar_t* description;
        const wchar_t* value;
        const wchar_t* shown;
        const wchar_t* descriptionAfter;
    };
    const Case cases[] = {
        {edtDescriptionOnly, L"", L"Text", L"A", L"Text", L"Text"},
        {edtValueDescription, L"", L"Text", L"A", L"A - Text", L"Text"},
        {edtDescriptionValue, L"", L"Text", L"A", L"Text - A", L"Text"},
        {other, L"", L"Text", L"A", L"", L"Text"},
        // The description equals the value.
        {edtValueDescription, L"", L"", L"A", L"A", L"A"},
        {edtValueDescription, L"", L"A", L"A", L"A", L"A"},
        {other, L"", L"A", L"A", L"A", L"A"},
        // The value of the field.
        {edtValueDescription, L"", L"", L"", L"Smith", L"Smith"},
        {edtValueDescription, L"", L"Text", L"", L"Smith - Text", L"Text"},
        // The correlative describes the value.
        {edtValueDescription, L"F;1", L"", L"A", L"A - F;1(A)", L"F;1(A)"},
        {edtDescriptionOnly, L"F;1", L"", L"A", L"F;1(A)", L"F;1(A)"},
        {edtDescriptionOnly, L"F;1", L"Text", L"A", L"Text", L"Text"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        item->definition.correlative = one.correlative;
        Bstr description(one.description);
        Bstr shown;
        EXPECT_EQ(
            item->get_DisplayValue(one.type, description.inOut(), Str(one.value), 0, shown.put()),
            S_OK);
        EXPECT_EQ(shown.view(), one.shown);
        EXPECT_EQ(description.view(), one.descriptionAfter);
    }
}

TEST_F(DictItemDisplay, TakesTheValueOfARow) {
    item->definition.amc = 2;
    Bstr description(L"City");
    Bstr shown;
    EXPECT_EQ(
        item->get_DisplayValue(edtValueDescription, description.inOut(), nullptr, 2, shown.put()),
        S_OK);
    EXPECT_EQ(shown.view(), L"Paris - City");
    EXPECT_EQ(PositionOf(*item), L"2.0.0");
}

TEST_F(DictItemDisplay, IgnoresEveryFailure) {
    item->definition.correlative = L"F;1";
    backend.fail(Member::kProcessCorrelative, SampleFailure());
    Bstr description;
    Bstr shown;
    EXPECT_EQ(
        item->get_DisplayValue(edtDescriptionOnly, description.inOut(), Str(L"A"), 0, shown.put()),
        S_OK);
    EXPECT_EQ(shown.view(), L"A");
    EXPECT_EQ(description.view(), L"A");
    // No session, nothing to show.
    item->definition.keyId = L"Unknown";
    description.reset();
    EXPECT_EQ(
        item->get_DisplayValue(edtDescriptionOnly, description.inOut(), nullptr, 0, shown.put()),
        S_OK);
    EXPECT_EQ(shown.view(), L"");
}

TEST_F(DictItemDisplay, FillsInWhatALateCallerLeavesOut) {
    const Dispatch late(ComPtr<_kelDictItem>(item).get());
    Bstr description;
    EXPECT_EQ(late.get(L"DisplayValue", {1, ByRef(description), L"A"}).text(), L"A");
    EXPECT_EQ(description.view(), L"A");
    EXPECT_EQ(late.get(L"DisplayValue", {2, L"Text", L"A"}).text(), L"Text - A")
        << "a description by value has nowhere to come back to";
    EXPECT_EQ(late.get(L"InternalValue").text(), L"Smith");
    EXPECT_TRUE(late.put(L"InternalValue", {0, L"Jones"}).ok());
    EXPECT_EQ(late.get(L"InternalValue", {0}).text(), L"Jones");
    EXPECT_TRUE(late.put(L"ExternalValue", {L"Brown"}).ok()) << "the index left out";
    EXPECT_EQ(late.get(L"ExternalValue").text(), L"Brown");
    EXPECT_EQ(late.call(L"Count").text(), L"1");
}

}  // namespace
}  // namespace kel::tests
