// What a dictionary item knows of itself, and its combined display text.
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

// Needs no session: the item alone.
class DictItemDefinition : public testing::Test {
protected:
    ComPtr<_kelDictItem> item = automation::Make<client::DictItem>();
    Dispatch late{item.get()};
};

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
    for (const wchar_t* name : {L"NAME", L"NAME", L""}) {
        EXPECT_EQ(item.as<IDictItemState>()->SetDictRead(DictReadFailed), S_OK);
        late.put(L"DictName", {name});
        EXPECT_EQ(late.get(L"DictRead").text(), L"0") << Narrow(name);
    }
}

}  // namespace
}  // namespace kel::tests
