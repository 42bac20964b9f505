// The automation collection as its clients use it: by name, by For Each, and while it changes.
#include "core/collection.h"

#include <gtest/gtest.h>

#include "tests/core/witness.h"
#include "tests/support/dispatch.h"

namespace kel::tests {
namespace {

using automation::Make;
using CollectionPtr = ComPtr<core::Collection>;

ErrorFields Failure(long number) {
    return {number, L"kelSDK", automation::StandardText(number)};
}

Dispatch Client(const CollectionPtr& collection) {
    return Dispatch(static_cast<_Collection*>(collection.get()));
}

CollectionPtr Filled() {
    auto collection = Make<core::Collection>();
    const Dispatch client = Client(collection);
    for (const wchar_t* name : {L"Anna", L"Bert", L"Cleo"}) {
        EXPECT_TRUE(client.call(L"Add", {name, name}).ok());
    }
    return collection;
}

ComPtr<IEnumVARIANT> EnumeratorOf(const CollectionPtr& collection) {
    const Outcome outcome = Client(collection).invoke(DISPID_NEWENUM, DISPATCH_PROPERTYGET, {});
    EXPECT_EQ(outcome.code, S_OK);
    return outcome.value.object<IEnumVARIANT>();
}

// What For Each would see from here on.
Text Rest(IEnumVARIANT& all) {
    Text seen;
    for (Variant item; all.Next(1, item.put(), nullptr) == S_OK;) {
        seen += (seen.empty() ? L"" : L" ") + Shown(item.get());
    }
    return seen;
}

Text Order(const CollectionPtr& collection) {
    return Rest(*EnumeratorOf(collection));
}

TEST(Collection, AddsWhereItIsTold) {
    struct Case {
        Arguments place;
        TextView order;
    };
    const Case cases[] = {
        {{}, L"Anna Bert Cleo X"},
        {{Named(L"Before", 1)}, L"X Anna Bert Cleo"},
        {{Variant::Missing(), L"CLEO"}, L"Anna Bert X Cleo"},
        {{Named(L"After", 3)}, L"Anna Bert Cleo X"},
        {{Variant::Missing(), Variant::Missing(), L"anna"}, L"Anna X Bert Cleo"},
        {{Named(L"Key", L"k"), Named(L"After", 1)}, L"Anna X Bert Cleo"},
        {{Named(L"Key", L""), Named(L"Before", 2)}, L"Anna X Bert Cleo"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        const auto collection = Filled();
        Arguments arguments{L"X"};
        arguments.insert(arguments.end(), one.place.begin(), one.place.end());
        EXPECT_EQ(Client(collection).call(L"Add", arguments).code, S_OK);
        EXPECT_EQ(Order(collection), one.order);
    }
}

TEST(Collection, RaisesTheClassicErrors) {
    struct Case {
        const wchar_t* member;
        Arguments arguments;
        long number;
    };
    const Case cases[] = {
        {L"Item", {4}, 9},
        {L"Item", {1e12}, 9},
        {L"Item", {L"nobody"}, 5},
        {L"Item", {Variant()}, 13},
        {L"Item", {true}, 13},
        {L"Remove", {0}, 9},
        {L"Remove", {L"nobody"}, 5},
        {L"Add", {L"X", L"BERT"}, 457},
        {L"Add", {L"X", 17}, 13},
        {L"Add", {L"X", Variant::Missing(), 4}, 9},
        {L"Add", {L"X", Variant::Missing(), L"nobody"}, 5},
        {L"Add", {L"X", Variant::Missing(), Variant::Missing(), 0}, 9},
        {L"Add", {L"X", Variant::Missing(), 1, 1}, 5},
        {L"Add", {L"X", L"bert", 1}, 457},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        const auto collection = Filled();
        const Dispatch client = Client(collection);
        const bool isItem = TextView(one.member) == L"Item";
        const Outcome outcome =
            isItem ? client.get(one.member, one.arguments) : client.call(one.member, one.arguments);
        EXPECT_EQ(outcome.code, DISP_E_EXCEPTION);
        EXPECT_EQ(outcome.error, Failure(one.number));
        EXPECT_EQ(V_VT(&outcome.value.get()), VT_EMPTY);
        EXPECT_EQ(Order(collection), L"Anna Bert Cleo");
    }
}

TEST(Collection, KeepsTheContractOfEnumerators) {
    const auto all = EnumeratorOf(Filled());
    VARIANT items[4];
    ULONG fetched = 99;
    EXPECT_EQ(all->Next(1, nullptr, &fetched), E_POINTER);
    EXPECT_EQ(fetched, 0U);
    EXPECT_EQ(all->Next(2, items, &fetched), S_OK);
    EXPECT_EQ(fetched, 2U);
    EXPECT_EQ(Shown(items[1]), L"Bert");
    VariantClear(&items[0]);
    VariantClear(&items[1]);
    ComPtr<IEnumVARIANT> clone;
    ASSERT_EQ(all->Clone(clone.put()), S_OK);
    EXPECT_EQ(all->Next(4, items, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 1U);
    VariantClear(&items[0]);
    EXPECT_EQ(Rest(*clone), L"Cleo");
    EXPECT_EQ(all->Skip(1), S_FALSE);
    EXPECT_EQ(all->Reset(), S_OK);
    EXPECT_EQ(all->Skip(2), S_OK);
    EXPECT_EQ(Rest(*all), L"Cleo");
}

TEST(Collection, MayChangeDuringAWalk) {
    auto collection = Filled();
    const Dispatch client = Client(collection);
    const auto all = EnumeratorOf(collection);
    Variant item;
    ASSERT_EQ(all->Next(1, item.put(), nullptr), S_OK);
    client.call(L"Remove", {2});
    client.call(L"Add", {L"Dora"});
    EXPECT_EQ(Rest(*all), L"Cleo Dora");
    while (client.call(L"Remove", {1}).ok()) {
    }
    EXPECT_EQ(Rest(*all), L"");
    EXPECT_EQ(all->Skip(1), S_FALSE) << "the place lies behind the end now";
    client.call(L"Add", {L"Emil"});
    all->Reset();
    EXPECT_EQ(Rest(*all), L"Emil");
    collection.reset();
    EXPECT_EQ(all->Reset(), S_OK);
    EXPECT_EQ(Rest(*all), L"Emil") << "a walk keeps its collection";
}

}  // namespace
}  // namespace kel::tests
