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

TEST(FastCollection, FailsWithItsOwnLabelsAndChangesNothing) {
    struct Case {
        std::function<void(FastCollection&)> step;
        ErrorFields error;
    };
    const auto add = [](TextView key, Variant before, Variant after) {
        return [=](FastCollection& c) {
            c.Add(Value(L"new").get(), key, &before.get(), &after.get());
        };
    };
    const Variant none = Variant::Missing();
    const Case cases[] = {
        {add(L"", Value(0), none), Failure(5, L"Add")},
        {add(L"", Value(4), none), Failure(5, L"Add")},
        {add(L"", Value(L"nokey"), none), Failure(5, L"Add")},
        {add(L"", Value(true), none), Failure(5, L"Add")},
        {add(L"", none, Value(-1)), Failure(5, L"Add")},
        {add(L"", none, Value(3)), Failure(5, L"Add")},
        {add(L"b", none, none), Failure(457, L"Add")},
        {[](auto& c) { c.Item(Value(0).get()); }, Failure(381, L"Item (Get)")},
        {[](auto& c) { c.Item(Value(4).get()); }, Failure(381, L"Item (Get)")},
        {[](auto& c) { c.Item(Value(1e10).get()); }, Failure(381, L"Item (Get)")},
        {[](auto& c) { c.Item(Value(L"nokey").get()); },
         Failure(381, L"Item (Get)", L"Invalid property array index 'nokey'")},
        {[](auto& c) { c.Item(Variant().get()); }, Failure(5, L"Item (Get)")},
        {[](auto& c) { c.Item(Value(true).get()); }, Failure(5, L"Item (Get)")},
        {[](auto& c) { c.LetItem(Value(4).get(), Value(1).get()); }, Failure(381, L"Item (Let)")},
        {[](auto& c) { c.SetItem(Variant().get(), nullptr); }, Failure(5, L"Item (Set)")},
        {[](auto& c) { c.ItemByIndex(4); }, Failure(381, L"ItemByIndex")},
        {[](auto& c) { c.ItemByKey(L"nokey"); }, Failure(381, L"ItemByKey")},
        {[](auto& c) { c.Key(0); }, Failure(381, L"Key (Get)")},
        {[](auto& c) { c.SetKey(4, L"x"); }, Failure(381, L"Key (LET)")},
        {[](auto& c) { c.SetKey(1, L"a"); }, Failure(457, L"Key (LET)")},
        {[](auto& c) { c.ChangeKey(L"a", L"c"); }, Failure(457, L"Key (LET)")},
        {[](auto& c) { c.Remove(Value(4).get()); }, Failure(381, L"RemoveByIndex")},
        {[](auto& c) { c.Remove(Value(L"nokey").get()); }, Failure(5, L"RemoveByKey")},
        {[](auto& c) { c.SetCompareMode(1); },
         Failure(387,
                 L"CompareMode (Let)",
                 L"Cannot change CompareMode. The collection contains items.")},
        {[](auto& c) {
             c.SetItemsWritable(false);
             c.LetItem(Value(9).get(), Value(2).get());
         },
         Failure(383, L"Item (Let)")},
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

TEST(FastCollection, InsertsBeforeAndAfter) {
    struct Case {
        std::optional<Variant> before;
        std::optional<Variant> after;
        TextView order;
    };
    const Case cases[] = {
        {{}, {}, L"a b c X"},
        {Value(1), {}, L"X a b c"},
        {Value(L"c"), {}, L"a b X c"},
        {{}, Value(0), L"X a b c"},
        {{}, Value(2), L"a b X c"},
        {{}, Value(L"a"), L"a X b c"},
        {{}, Value(L"c"), L"a b c X"},      // by key the last one is no exception
        {Value(2), Value(99), L"a X b c"},  // `after` is not even looked at
        {Value(short{2}), {}, L"a X b c"},
        {Value(1.6), {}, L"a X b c"},  // rounded by the platform
        {Value(2.5), {}, L"a X b c"},  // halves go to the even neighbour
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
        {10, 4, 1001, 4004, 999, 4000},      // a sixteenth, and at least 4
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
            EXPECT_EQ(collection.Key(1).view(),
                      mode == kTextMode ? automation::Lower(one.first) : Text(one.first));
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
    EXPECT_EQ(Shown(collection.ItemByKey(L"d")), L"unkeyed");
    collection.SetKey(1, L"");
    EXPECT_EQ(collection.Key(1).view(), L"");
    EXPECT_FALSE(collection.KeyExists(L"a"));
    collection.SetKey(1, L"b");  // the key that item 2 has given up
    EXPECT_EQ(Order(collection), L"a b c unkeyed");
    EXPECT_EQ(KeysOf(collection), (Keys{L"b", L"B", L"c", L"d"}));
}

TEST(FastCollection, FindsAnItemThatWasRenamedToTheEmptyKey) {
    FastCollection collection;
    Fill(collection, {L"a", L"b"});
    collection.Add(Value(L"unkeyed").get(), L"");
    EXPECT_FALSE(collection.KeyExists(L"")) << "to Add an empty key is none";
    collection.ChangeKey(L"a", L"");
    EXPECT_EQ(Shown(collection.ItemByKey(L"")), L"a");
    EXPECT_EQ(collection.IndexFromKey(L""), 1);
    EXPECT_EQ(KeysOf(collection), (Keys{L"", L"b"}));
    for (const long index : {1L, 2L, 3L}) {
        EXPECT_EQ(ThrownBy([&] { collection.SetKey(index, L""); }).number, 457) << index;
    }
    collection.Add(Value(L"another").get(), L"");
    EXPECT_EQ(collection.Count(), 4);
    collection.ChangeKey(L"", L"A");
    EXPECT_EQ(Shown(collection.ItemByKey(L"A")), L"a");
    EXPECT_FALSE(collection.KeyExists(L""));
    collection.SetKey(3, L"");
    collection.RemoveByKey(L"");
    EXPECT_EQ(Order(collection), L"a b another");
    EXPECT_FALSE(collection.KeyExists(L""));
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

}  // namespace
}  // namespace kel::tests
