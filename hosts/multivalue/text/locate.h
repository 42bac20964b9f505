// Searching the elements of one level of a text, with or without an order.
#pragma once

#include <cstdint>

#include "hosts/multivalue/text/marked_text.h"
#include "hosts/multivalue/text/text.h"

namespace kel::text {

struct SortOrder {
    enum class Direction { kNone, kAscending, kDescending };

    Direction direction = Direction::kNone;
    bool rightJustified = false;

    // "AL", "AR", "DL", "DR" in either case. Without A or D in front there is no order; without R
    // behind it the order is that of left-justified text.
    static SortOrder Parse(TextView text);
};

struct LocateResult {
    bool found;
    std::size_t position;  // from 1; when not found, where the element would have to go
};

// Left-justified: unit by unit. Right-justified: integers by size ("7" equals "+07"), anything else
// the shorter first, then unit by unit. Negative, zero or positive.
int CompareLeft(TextView a, TextView b);
int CompareRight(TextView a, TextView b);

// Looks for an element of `level` in `text` that is equal to `search`, case kept; in a
// right-justified order an integer of the same size is equal. Found: the position of the first.
// Not found: one past the last without an order, otherwise the place before the first element that
// has to follow `search`. An ordered search stops there, so it may miss what unordered text holds.
// Text that is "" has one element for a search of "" and none otherwise.
LocateResult LocateIn(TextView text, Level level, TextView search, SortOrder order);

}  // namespace kel::text
