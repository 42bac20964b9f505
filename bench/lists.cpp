// The keyed list against the standard library's hash map, over the same texts and without any call
// by name.
#include <numeric>
#include <unordered_map>

#include "bench/client.h"
#include "core/fast_collection.h"

namespace kel::bench {
namespace {

using core::FastCollection;
using Map = std::unordered_map<Text, long>;

VARIANT NumberValue(long number) {
    VARIANT value{};
    V_VT(&value) = VT_I4;
    V_I4(&value) = number;
    return value;
}

struct ListWork {
    std::vector<Text> keys;
    FastCollection list;
    Map map;

    explicit ListWork(long size) {
        for (long i = 0; i < size; ++i) {
            keys.push_back(Numbered(i));
            list.Add(NumberValue(i), keys.back());
            map.emplace(keys.back(), i);
        }
    }

    // One key after the other, in an order that no cache likes.
    template <typename Step>
    Batch withKeys(Step step) {
        return Repeating([this, step, at = std::size_t{0}]() mutable {
            constexpr std::size_t kStride = 7919;
            at = (at + kStride) % keys.size();
            step(keys[at]);
        });
    }
};

void CompareAt(long size) {
    ListWork work(size);
    FastCollection& list = work.list;
    Map& map = work.map;
    const auto parts = static_cast<double>(size);
    const std::string suffix = ", " + std::to_string(size) + " keys";
    long sum = 0;
    Compare({"look-up" + suffix,
             work.withKeys([&](const Text& key) { sum += V_I4(&list.ItemByKey(key)); })},
            {"std::unordered_map", work.withKeys([&](const Text& key) { sum += map.at(key); })});
    Compare({"adding all, and clearing" + suffix,
             Repeating([&] {
                 FastCollection fresh;
                 for (const Text& key : work.keys) {
                     fresh.Add(NumberValue(1), key);
                 }
                 fresh.Clear();
             }),
             parts},
            {"std::unordered_map",
             Repeating([&] {
                 Map fresh;
                 for (const Text& key : work.keys) {
                     fresh.emplace(key, 1);
                 }
                 fresh.clear();
             }),
             parts});
    const struct {
        const char* what;
        long index;
    } places[] = {{"first", 1}, {"middle", (size + 1) / 2}, {"last", size}};
    for (const auto& [what, index] : places) {
        const std::string name = std::string("removing the ") + what + ", adding" + suffix;
        Compare({name, Repeating([&list, index = index] {
                     const automation::Bstr key = list.Key(index);
                     list.RemoveByIndex(index);
                     list.Add(NumberValue(1), key.view());
                 })},
                {"std::unordered_map", work.withKeys([&](const Text& key) {
                     map.erase(key);
                     map.emplace(key, 1);
                 })});
    }
    Check(sum != 0 || size == 1 ? S_OK : E_FAIL);
}

}  // namespace

void MeasureLists() {
    PrintHead("the keyed list, called directly");
    for (const long size : {10L, 1000L, 100000L}) {
        CompareAt(size);
    }
}

}  // namespace kel::bench
