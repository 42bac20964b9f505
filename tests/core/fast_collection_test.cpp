// The keyed collection: failures, sizes, positions, keys in both modes, and values whose release
// runs foreign code.
#include "core/fast_collection.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "tests/core/witness.h"
#include "tests/support/errors.h"

namespace kel::tests {
namespace {

using namespace std::string_view_literals;
using core::FastCollection;

using Keys = std::vector<Text>;

constexpr long kTextMode = 1;

void AddKey(FastCollection& collection, TextView key) {
    collection.Add(Value(key).get(), key);
}

// A collection with these keys, each item holding its own key as value.
void Fill(FastCollection& collection, const Keys& keys) {
    for (const Text& key : keys) {
        AddKey(collection, key);
    }
}

// "a b c": values in order; also checks that index and key agree.
Text Order(const FastCollection& collection) {
    Text order;
    for (long i = 1; i <= collection.Count(); ++i) {
        order += (i > 1 ? L" " : L"") + Shown(collection.ItemByIndex(i).get());
        const Bstr key = collection.Key(i);
        if (!key.view().empty()) {
            EXPECT_EQ(collection.IndexFromKey(key.view()), i);
        }
    }
    return order;
}

Keys KeysOf(const FastCollection& collection) {
    const Variant array = collection.Keys();
    EXPECT_EQ(V_VT(&array.get()), VT_ARRAY | VT_BSTR);
    SAFEARRAY* const texts = V_ARRAY(&array.get());
    LONG low = 0;
    LONG high = -1;
    SafeArrayGetLBound(texts, 1, &low);
    SafeArrayGetUBound(texts, 1, &high);
    Keys keys;
    for (LONG i = low; i <= high; ++i) {
        Bstr key;
        SafeArrayGetElement(texts, &i, key.put());
        keys.emplace_back(key.view());
    }
    return keys;
}

ErrorFields Failure(long number, TextView label, TextView description = {}) {
    return {number,
            Text(L"kelSDK.FastCollection.").append(label),
            description.empty() ? automation::StandardText(number) : Text(description),
            {},
            0};
}

Variant Date() {
    Variant date = Value(1.0);
    V_VT(date.inOut()) = VT_DATE;
    return date;
}

Variant Currency() {
    Variant currency;
    V_VT(currency.inOut()) = VT_CY;
    V_CY(currency.inOut()).int64 = 10000;
    return currency;
}

TEST(FastCollection, FailsWithItsOwnLabelsAndChangesNothing) {
    const Text notFound = L"Invalid property array index 'nokey'";
    struct Case {
        std::function<void(FastCollection&)> step;
        ErrorFields error;
    };
    const Variant before0 = Value(0);
    const Variant before4 = Value(4);
    const Variant afterMinus = Value(-1);
    const Variant after3 = Value(3);
    const Variant noKey = Value(L"nokey");
    const Variant item = Value(L"new");
    const auto add = [&](TextView key, const Variant* before, const Variant* after) {
        return [&item, key, before, after](FastCollection& c) {
            c.Add(item.get(),
                  key,
                  before != nullptr ? &before->get() : nullptr,
                  after != nullptr ? &after->get() : nullptr);
        };
    };
    const Variant flag = Value(true);
    const Case cases[] = {
        {add(L"", &before0, nullptr), Failure(5, L"Add")},
        {add(L"", &before4, nullptr), Failure(5, L"Add")},
        {add(L"", &noKey, nullptr), Failure(5, L"Add")},
        {add(L"", &flag, nullptr), Failure(5, L"Add")},
        {add(L"", nullptr, &afterMinus), Failure(5, L"Add")},
        {add(L"", nullptr, &after3), Failure(5, L"Add")},
        {add(L"", nullptr, &noKey), Failure(5, L"Add")},
        {add(L"b", nullptr, nullptr), Failure(457, L"Add")},
        {add(L"b", &before0, nullptr), Failure(5, L"Add")},
        {[](auto& c) { c.Item(Value(0).get()); }, Failure(381, L"Item (Get)")},
        {[](auto& c) { c.Item(Value(4).get()); }, Failure(381, L"Item (Get)")},
        {[](auto& c) { c.Item(Value(-1).get()); }, Failure(381, L"Item (Get)")},
        {[](auto& c) { c.Item(Value(1e10).get()); }, Failure(381, L"Item (Get)")},
        {[](auto& c) { c.Item(Value(L"nokey").get()); }, Failure(381, L"Item (Get)", notFound)},
        {[](auto& c) { c.Item(Value(L"").get()); },
         Failure(381, L"Item (Get)", L"Invalid property array index ''")},
        {[](auto& c) { c.Item(Variant().get()); }, Failure(5, L"Item (Get)")},
        {[](auto& c) { c.Item(Value(true).get()); }, Failure(5, L"Item (Get)")},
        {[](auto& c) { c.Item(Date().get()); }, Failure(5, L"Item (Get)")},
        {[](auto& c) { c.Item(Currency().get()); }, Failure(5, L"Item (Get)")},
        {[](auto& c) { c.LetItem(Value(4).get(), Value(1).get()); }, Failure(381, L"Item (Let)")},
        {[](auto& c) { c.LetItem(Value(true).get(), Value(1).get()); }, Failure(5, L"Item (Let)")},
        {[](auto& c) { c.SetItem(Value(0).get(), nullptr); }, Failure(381, L"Item (Set)")},
        {[](auto& c) { c.SetItem(Variant().get(), nullptr); }, Failure(5, L"Item (Set)")},
        {[](auto& c) { c.ItemByIndex(0); }, Failure(381, L"ItemByIndex")},
        {[](auto& c) { c.ItemByIndex(4); }, Failure(381, L"ItemByIndex")},
        {[](auto& c) { c.ItemByKey(L"nokey"); }, Failure(381, L"ItemByKey")},
        {[](auto& c) { c.Key(0); }, Failure(381, L"Key (Get)")},
        {[](auto& c) { c.SetKey(4, L"x"); }, Failure(381, L"Key (LET)")},
        {[](auto& c) { c.SetKey(1, L"c"); }, Failure(457, L"Key (LET)")},
        {[](auto& c) { c.SetKey(1, L"a"); }, Failure(457, L"Key (LET)")},
        {[](auto& c) { c.ChangeKey(L"a", L"c"); }, Failure(457, L"Key (LET)")},
        {[](auto& c) { c.RemoveByIndex(0); }, Failure(381, L"RemoveByIndex")},
        {[](auto& c) { c.RemoveByIndex(4); }, Failure(381, L"RemoveByIndex")},
        {[](auto& c) { c.Remove(Value(4).get()); }, Failure(381, L"RemoveByIndex")},
        {[](auto& c) { c.RemoveByKey(L"nokey"); }, Failure(5, L"RemoveByKey")},
        {[](auto& c) { c.Remove(Value(L"nokey").get()); }, Failure(5, L"RemoveByKey")},
        {[](auto& c) { c.Remove(Variant().get()); }, Failure(5, L"RemoveByKey")},
        {[](auto& c) { c.SetCompareMode(1); },
         Failure(387,
                 L"CompareMode (Let)",
                 L"Cannot change CompareMode. The collection contains items.")},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        FastCollection collection;
        Fill(collection, {L"a", L"b", L"c"});
        EXPECT_EQ(ThrownBy([&] { one.step(collection); }), one.error);
        EXPECT_EQ(Order(collection), L"a b c");
        EXPECT_EQ(KeysOf(collection), (Keys{L"a", L"b", L"c"}));
        EXPECT_EQ(collection.CompareMode(), 0);
        // What failed leaves nothing behind that would be in the way.
        AddKey(collection, L"x");
        EXPECT_EQ(Order(collection), L"a b c x");
    }
}

TEST(FastCollection, RefusesNewValuesWhenNotWritable) {
    FastCollection collection;
    Fill(collection, {L"a"});
    collection.SetItemsWritable(false);
    EXPECT_EQ(ThrownBy([&] { collection.LetItem(Value(1).get(), Value(2).get()); }),
              Failure(383, L"Item (Let)"));
    EXPECT_EQ(ThrownBy([&] { collection.SetItem(Value(L"a").get(), nullptr); }),
              Failure(383, L"Item (Set)"));
    EXPECT_EQ(ThrownBy([&] { collection.LetItem(Value(9).get(), Value(2).get()); }),
              Failure(383, L"Item (Let)"));
    collection.Add(Value(1).get());
    EXPECT_EQ(Order(collection), L"a 1");
    collection.Clear();
    collection.Add(Value(1).get());
    EXPECT_EQ(ThrownBy([&] { collection.LetItem(Value(1).get(), Value(2).get()); }), ErrorFields());
}

TEST(FastCollection, InsertsBeforeAndAfter) {
    struct Case {
        std::optional<Variant> before;
        std::optional<Variant> after;
        TextView order;
    };
    const Case cases[] = {
        {{}, {}, L"a b c X"},
        {Value(1), {}, L"X a b c"},
        {Value(3), {}, L"a b X c"},
        {Value(L"a"), {}, L"X a b c"},
        {Value(L"c"), {}, L"a b X c"},
        {{}, Value(0), L"X a b c"},
        {{}, Value(2), L"a b X c"},
        {{}, Value(L"a"), L"a X b c"},
        {{}, Value(L"c"), L"a b c X"},      // by key the last one is no exception
        {Value(2), Value(99), L"a X b c"},  // `after` is not even looked at
        {Value(short{2}), {}, L"a X b c"},
        {Value(1.6), {}, L"a X b c"},  // rounded by the platform
        {Variant::Missing(), Variant::Missing(), L"a b c X"},
        {Variant::Missing(), Value(1), L"a X b c"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        FastCollection collection;
        Fill(collection, {L"a", L"b", L"c"});
        collection.Add(Value(L"X").get(),
                       L"X",
                       one.before ? &one.before->get() : nullptr,
                       one.after ? &one.after->get() : nullptr);
        EXPECT_EQ(Order(collection), one.order);
    }
    FastCollection empty;
    EXPECT_EQ(ThrownBy([&] {
                  const Variant zero = Value(0);
                  empty.Add(Value(1).get(), {}, nullptr, &zero.get());
              }),
              Failure(5, L"Add"));
    EXPECT_EQ(empty.Count(), 0);
}

TEST(FastCollection, GrowsAndShrinksInSteps) {
    struct Case {
        long increment;  // what is set, 0: nothing
        long stored;
        long items;
        long grown;      // capacity with that many items
        long shrinksAt;  // first count at which it shrinks
        long shrunk;
    };
    const Case cases[] = {
        {0, 4000, 1000, 4000, -1, 4000},
        {0, 4000, 1001, 8000, 499, 4000},
        {0, 4000, 2001, 12000, 1499, 8000},
        {4000, 250, 1001, 4250, 968, 4000},  // 4250 - 375 > 968 * 4, and not for 969
        {10, 4, 1001, 4004, 999, 4000},
        {0, 4000, 0, 4000, -1, 4000},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        FastCollection collection;
        if (one.increment != 0) {
            collection.SetIncrement(one.increment);
        }
        EXPECT_EQ(collection.Increment(), one.stored);
        for (long i = 0; i < one.items; ++i) {
            collection.Add(Value(i).get());
        }
        EXPECT_EQ(collection.ItemsCapacity(), one.grown);
        long shrankAt = -1;
        while (collection.Count() > 0 && shrankAt < 0) {
            collection.RemoveByIndex(collection.Count());
            if (collection.ItemsCapacity() != one.grown) {
                shrankAt = collection.Count();
            }
        }
        EXPECT_EQ(shrankAt, one.shrinksAt);
        EXPECT_EQ(collection.ItemsCapacity(), one.shrunk);
    }
    FastCollection never;
    never.Add(Value(1).get());
    never.RemoveByIndex(1);
    EXPECT_EQ(never.ItemsCapacity(), 4000) << "one step stays";
}

TEST(FastCollection, StoresASixteenthOfItsIncrement) {
    FastCollection collection;
    struct Case {
        long set;
        long stored;
    };
    for (const Case& one :
         {Case{4000, 250}, {10, 4}, {64, 4}, {79, 4}, {80, 5}, {0, 4}, {-800, 4}}) {
        collection.SetIncrement(one.set);
        EXPECT_EQ(collection.Increment(), one.stored) << one.set;
    }
    collection.Clear();
    EXPECT_EQ(collection.Increment(), 4000);
}

TEST(FastCollection, ReadsByEveryKindOfIndex) {
    FastCollection collection;
    Fill(collection, {L"a", L"b", L"c"});
    Variant byte;
    V_VT(byte.inOut()) = VT_UI1;
    V_UI1(byte.inOut()) = 2;
    Variant single;
    V_VT(single.inOut()) = VT_R4;
    V_R4(single.inOut()) = 2.4F;
    Bstr key(L"b");
    long number = 2;
    Variant inner = Value(2);
    struct Case {
        Variant index;
    };
    const Case cases[] = {{Value(2)},
                          {Value(short{2})},
                          {Value(1.5)},
                          {Value(2.5)},  // halves go to the even neighbour
                          {single},
                          {byte},
                          {Value(L"b")},
                          {ByRef(key)},
                          {ByRef(&number)},
                          {ByRef(inner)}};
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        EXPECT_EQ(Shown(collection.Item(one.index.get()).get()), L"b");
        collection.LetItem(one.index.get(), Value(L"B").get());
        EXPECT_EQ(Shown(collection.ItemByIndex(2).get()), L"B");
        collection.LetItem(Value(2).get(), Value(L"b").get());
    }
    collection.LetItem(Value(L"nokey").get(), Value(L"lost").get());
    EXPECT_EQ(Order(collection), L"a b c") << "an unknown key is nobody's business";
    collection.Remove(Value(1.6).get());
    EXPECT_EQ(Order(collection), L"a c");
}

// Texts in which a linguistic comparison sees what is not there, or does not see what is.
constexpr TextView kComposed = L"caf\x00E9";
constexpr TextView kDecomposed = L"cafe\x0301";

TEST(FastCollection, TellsKeysApart) {
    struct Case {
        TextView first;
        TextView second;
        bool sameInBinary;
        bool sameInText;
    };
    const Case cases[] = {
        {L"Cust", L"Cust", true, true},
        {L"Cust", L"CUST", false, true},
        {L"Ärger", L"äRGER", false, true},
        {L"a\0b"sv, L"a\0b"sv, true, true},
        {L"a\0b"sv, L"a\0c"sv, false, false},
        {L"a\0b"sv, L"a", false, false},
        {L"co-op", L"coop", false, false},
        {kComposed, kDecomposed, false, false},
        {L"ss", L"ß", false, false},
        {L" a", L"a", false, false},
        {L"ORDERS,1", L"ORDERS.1", false, false},
    };
    for (const Case& one : cases) {
        for (const long mode : {0L, kTextMode}) {
            SCOPED_TRACE(Narrow(one.first) + " and " + Narrow(one.second) + ", mode " +
                         std::to_string(mode));
            const bool same = mode == kTextMode ? one.sameInText : one.sameInBinary;
            FastCollection collection;
            collection.SetCompareMode(mode);
            AddKey(collection, one.first);
            EXPECT_EQ(collection.KeyExists(one.second), same);
            EXPECT_EQ(collection.IndexFromKey(one.second), same ? 1 : -1);
            EXPECT_EQ(ThrownBy([&] { AddKey(collection, one.second); }).number, same ? 457 : 0);
            EXPECT_EQ(collection.Count(), same ? 1 : 2);
            collection.RemoveByKey(one.second);
            EXPECT_EQ(collection.KeyExists(one.second), false);
            EXPECT_EQ(collection.Count(), same ? 0 : 1);
        }
    }
}

TEST(FastCollection, KeepsKeysInLowerCaseInTextMode) {
    FastCollection collection;
    collection.SetCompareMode(kTextMode);
    Fill(collection, {L"Cust", L"ÄRGER"});
    EXPECT_EQ(collection.Key(1).view(), L"cust");
    EXPECT_EQ(KeysOf(collection), (Keys{L"cust", L"ärger"}));
    EXPECT_EQ(Shown(collection.ItemByKey(L"cUST").get()), L"Cust") << "values stay as given";
    EXPECT_EQ(ThrownBy([&] { collection.SetKey(1, L"CUST"); }).number, 457)
        << "even for the item itself";
    collection.Clear();
    EXPECT_EQ(collection.CompareMode(), kTextMode);
    AddKey(collection, L"A");
    EXPECT_TRUE(collection.KeyExists(L"a"));
    collection.Clear();
    collection.SetCompareMode(17);
    EXPECT_EQ(collection.CompareMode(), 17);
    AddKey(collection, L"A");
    EXPECT_FALSE(collection.KeyExists(L"a")) << "only 1 means text";
}

TEST(FastCollection, ChangesKeys) {
    FastCollection collection;
    Fill(collection, {L"a", L"b", L"c"});
    collection.Add(Value(L"unkeyed").get());
    collection.ChangeKey(L"b", L"B");
    collection.ChangeKey(L"nokey", L"x");
    EXPECT_EQ(KeysOf(collection), (Keys{L"a", L"B", L"c"}));
    EXPECT_EQ(collection.IndexFromKey(L"B"), 2);
    EXPECT_FALSE(collection.KeyExists(L"b"));
    collection.SetKey(4, L"d");
    EXPECT_EQ(Shown(collection.ItemByKey(L"d").get()), L"unkeyed");
    collection.SetKey(1, L"");
    EXPECT_EQ(collection.Key(1).view(), L"");
    EXPECT_FALSE(collection.KeyExists(L"a"));
    collection.SetKey(1, L"b");  // the key that item 2 has given up
    EXPECT_EQ(Order(collection), L"a b c unkeyed");
    EXPECT_EQ(KeysOf(collection), (Keys{L"b", L"B", L"c", L"d"}));
}

TEST(FastCollection, LetsUnkeyedItemsBe) {
    FastCollection collection;
    EXPECT_EQ(KeysOf(collection), Keys());
    collection.Add(Value(1).get(), L"");
    collection.Add(Value(2).get(), L"");
    EXPECT_FALSE(collection.KeyExists(L""));
    EXPECT_EQ(collection.IndexFromKey(L""), -1);
    EXPECT_EQ(collection.Key(2).view(), L"");
    EXPECT_EQ(KeysOf(collection), Keys());
    collection.RemoveByIndex(1);
    EXPECT_EQ(Order(collection), L"2");
}

TEST(FastCollection, StoresWhatByReferenceValuesReferTo) {
    FastCollection collection;
    {
        Bstr text(L"a\0b"sv);
        Variant inner = Value(7);
        collection.Add(ByRef(text).get());
        collection.Add(ByRef(inner).get());
        collection.LetItem(Value(2).get(), ByRef(text).get());
    }
    EXPECT_EQ(collection.ItemByIndex(1).text().view(), L"a\0b"sv);
    EXPECT_EQ(collection.ItemByIndex(2).text().view(), L"a\0b"sv);
}

TEST(FastCollection, ReleasesValuesInTheRightMoment) {
    FastCollection collection;
    Witness::Log log;
    const auto add = [&](const wchar_t* name) {
        collection.Add(Witness::Value(name, log).get(), name);
    };
    add(L"a");
    add(L"b");
    EXPECT_EQ(log.take(), L"");
    { const Variant copy = collection.ItemByKey(L"a"); }
    EXPECT_EQ(log.take(), L"") << "a copy is a reference of its own";
    collection.LetItem(Value(L"a").get(), Value(1).get());
    EXPECT_EQ(log.take(), L"a");
    collection.SetItem(Value(1).get(), Witness::Make(L"c", log).get());
    EXPECT_EQ(log.take(), L"");
    collection.SetItem(Value(1).get(), nullptr);
    EXPECT_EQ(log.take(), L"c");
    collection.RemoveByKey(L"b");
    EXPECT_EQ(log.take(), L"b");
    add(L"d");
    add(L"e");
    EXPECT_EQ(ThrownBy([&] { add(L"d"); }).number, 457);
    EXPECT_EQ(log.take(), L"d") << "the refused one";
    collection.Clear();
    EXPECT_EQ(log.take(), L"d e");
    {
        FastCollection other;
        other.Add(Witness::Value(L"f", log).get());
    }
    EXPECT_EQ(log.take(), L"f");
}

// A value's release runs foreign code, which may use the very collection that lets go of it.
TEST(FastCollection, CanBeUsedWhileItReleasesAValue) {
    struct Case {
        const char* name;
        std::function<void(FastCollection&)> release;
        TextView order;
    };
    const Case cases[] = {
        {"remove", [](FastCollection& c) { c.RemoveByIndex(2); }, L"a c late"},
        {"remove by key", [](FastCollection& c) { c.RemoveByKey(L"witness"); }, L"a c late"},
        {"let",
         [](FastCollection& c) { c.LetItem(Value(2).get(), Value(L"new").get()); },
         L"a new c late"},
        {"set",
         [](FastCollection& c) { c.SetItem(Value(L"witness").get(), nullptr); },
         L"a Nothing c late"},
        {"clear", [](FastCollection& c) { c.Clear(); }, L"late"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        FastCollection collection;
        Witness::Log log;
        Fill(collection, {L"a"});
        auto witness = Witness::Make(L"w", log);
        witness->onRelease = [&] {
            AddKey(collection, L"late");
            EXPECT_TRUE(collection.KeyExists(L"late"));
        };
        collection.Add(Value(witness.get()).get(), L"witness");
        Fill(collection, {L"c"});
        witness.reset();
        one.release(collection);
        EXPECT_EQ(Order(collection), one.order);
        EXPECT_EQ(log.take(), L"w");
    }
}

TEST(FastCollection, CanBeClearedByTheValueItReleases) {
    FastCollection collection;
    Witness::Log log;
    auto witness = Witness::Make(L"w", log);
    witness->onRelease = [&] { collection.Clear(); };
    collection.Add(Value(witness.get()).get(), L"w");
    Fill(collection, {L"a", L"b"});
    witness.reset();
    collection.RemoveByKey(L"w");
    EXPECT_EQ(collection.Count(), 0);
    Fill(collection, {L"a"});
    EXPECT_EQ(Order(collection), L"a");
}

TEST(FastCollection, HoldsAHundredThousandItems) {
    constexpr long kItems = 100000;
    FastCollection collection;
    const auto key = [](long i) { return L"CUST*" + std::to_wstring(i); };
    for (long i = 1; i <= kItems; ++i) {
        collection.Add(Value(i).get(), key(i));
    }
    EXPECT_EQ(collection.ItemsCapacity(), 400000);
    for (long i = 1; i <= kItems; i += 997) {
        ASSERT_EQ(V_I4(&collection.ItemByKey(key(i)).get()), i);
    }
    EXPECT_FALSE(collection.KeyExists(key(kItems + 1)));
    for (long i = kItems; i > kItems / 2; --i) {
        collection.RemoveByIndex(i);
    }
    EXPECT_EQ(collection.IndexFromKey(key(kItems / 2)), kItems / 2);
    EXPECT_FALSE(collection.KeyExists(key(kItems / 2 + 1)));
    collection.Clear();
    EXPECT_EQ(collection.ItemsCapacity(), FastCollection::kInitialCapacity);
}

TEST(FastCollection, KeepsAllItsMemoryInOnePrivateHeap) {
    const DWORD before = GetProcessHeaps(0, nullptr);
    {
        FastCollection first;
        FastCollection second;
        EXPECT_EQ(GetProcessHeaps(0, nullptr), before + 2);
        Fill(first, {L"a", L"b"});
        first.Clear();
        EXPECT_EQ(GetProcessHeaps(0, nullptr), before + 2);
    }
    EXPECT_EQ(GetProcessHeaps(0, nullptr), before);
}

}  // namespace
}  // namespace kel::tests
