// The keyed collection's enumerator: one item a step, and collections that change during the walk.
#include <gtest/gtest.h>

#include <functional>

#include "core/fast_collection.h"
#include "tests/support/values.h"

namespace kel::tests {
namespace {

using core::FastCollection;

void Fill(FastCollection& collection, std::initializer_list<const wchar_t*> keys) {
    for (const wchar_t* key : keys) {
        collection.Add(Value(key).get(), key);
    }
}

// The next value, or "end".
Text Step(IEnumVARIANT& walk) {
    Variant item;
    ULONG fetched = 99;
    const HRESULT code = walk.Next(1, item.put(), &fetched);
    EXPECT_EQ(fetched, code == S_OK ? 1U : 0U);
    return code == S_OK ? Shown(item.get()) : L"end";
}

TEST(FastEnumerator, SeesChangesMadeDuringTheWalk) {
    struct {
        const char* what;
        std::function<void(FastCollection&, const Text& given)> change;  // after each step
        const wchar_t* visited;
    } const cases[] = {
        {"nothing changes", [](auto&, auto&) {}, L"a b c d"},
        {"each item is removed once given",
         [](FastCollection& c, const Text& given) { c.RemoveByKey(given); },
         L"a b c d"},
        {"an item ahead is removed",
         [](FastCollection& c, const Text& given) {
             if (given == L"a") {
                 c.RemoveByKey(L"c");
             }
         },
         L"a b d"},
        {"two items behind are removed at once, one is made up for",
         [](FastCollection& c, const Text& given) {
             if (given == L"c") {
                 c.RemoveByKey(L"a");
                 c.RemoveByKey(L"b");
             }
         },
         L"a b c"},
        {"all items but the last are removed at the first",
         [](FastCollection& c, const Text& given) {
             if (given == L"a") {
                 c.RemoveByIndex(3);
                 c.RemoveByIndex(2);
                 c.RemoveByIndex(1);
             }
         },
         L"a d"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        FastCollection collection;
        Fill(collection, {L"a", L"b", L"c", L"d"});
        const auto walk = collection.NewEnum();
        Text visited;
        for (Text given = Step(*walk); given != L"end"; given = Step(*walk)) {
            visited += (visited.empty() ? L"" : L" ") + given;
            row.change(collection, given);
        }
        EXPECT_EQ(visited, row.visited);
    }
}

TEST(FastEnumerator, GivesOneItemWhateverIsAskedForAndSkipsWithoutBounds) {
    FastCollection collection;
    Fill(collection, {L"a", L"b", L"c"});
    const auto walk = collection.NewEnum();
    VARIANT items[3] = {};
    ULONG fetched = 0;
    EXPECT_EQ(walk->Next(3, items, &fetched), S_OK);
    EXPECT_EQ(fetched, 1U);
    EXPECT_EQ(Shown(items[0]), L"a");
    EXPECT_EQ(V_VT(&items[1]), VT_EMPTY);
    VariantClear(&items[0]);
    EXPECT_EQ(walk->Next(1, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(walk->Reset(), S_OK);
    EXPECT_EQ(walk->Skip(1), S_OK);
    EXPECT_EQ(Step(*walk), L"b");
    EXPECT_EQ(walk->Skip(1000), S_OK);
    EXPECT_EQ(Step(*walk), L"end");
    EXPECT_EQ(walk->Skip(0xFFFFFFFF), S_OK);  // wraps: still no item before the first
    EXPECT_EQ(Step(*walk), L"end");
    ComPtr<IEnumVARIANT> clone;
    EXPECT_EQ(walk->Clone(clone.put()), E_NOTIMPL);
}

}  // namespace
}  // namespace kel::tests
