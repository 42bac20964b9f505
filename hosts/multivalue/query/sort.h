// Puts the entries of a selection in order.
//
// Left-justified keys sort by their units. Right-justified ones sort an empty value as 0, numbers
// by value, and other text the shorter first. Where the values of a right-justified key are numbers
// as well as other text, those rules name no single order (9 comes before Z, Z before 007, and 007
// before 9); then entries are put, as they come, into a tree by them, which gives the order that
// people know from databases of this kind.
// Of entries with equal keys the one that was found last comes first.
#pragma once

#include <cstdint>
#include <vector>

#include "hosts/multivalue/query/select_list.h"
#include "hosts/multivalue/query/tree.h"

namespace kel::query {

class EntrySorter {
public:
    explicit EntrySorter(const std::vector<SortKey>& keys);

    // `values` holds one for each key. At most 2^32 - 2 entries; raises kTooLong beyond.
    void Add(SelectedId entry, const std::vector<TextView>& values);
    void Sort();

    // After Sort: the entries in order.
    bool Next(SelectedId& entry);

private:
    struct Key {
        bool isRight;
        bool descending;
        bool hasNumbers = false;
        bool hasOthers = false;
    };
    struct Entry {
        SelectedId selected;
        std::size_t keys;  // where its keys begin in units_
    };

    void Append(TextView text);
    TextView Read(std::size_t& at) const;
    int Compare(std::uint32_t left, std::uint32_t right, bool mixed) const;
    bool SortByInsertion();

    std::vector<Key> keys_;
    std::vector<Entry> entries_;
    Text units_;  // for each key its length and units; for right-justified ones the value besides
    std::vector<std::uint32_t> order_;
    std::size_t next_ = 0;
};

}  // namespace kel::query
