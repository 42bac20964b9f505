// Keys that sort as values do: what to hand to an index, and what to compare when sorting, so that
// both ways to an order agree. Keys compare unit by unit, as Text does.
#pragma once

#include <optional>

#include "hosts/multivalue/text/text.h"

namespace kel::store {

enum class KeyOrder {
    kText,    // left-justified fields: by the units of the text
    kNumeric  // right-justified: nothing first, then numbers by value, then other text, the shorter
              // first and by its units within one length
};

// The key of one value (an attribute without marks, a value or a subvalue). A number is digits with
// at most one point and one leading sign, up to 300 of them either side of the point; equal numbers
// ("1", "+1.0") have equal keys. Every number keeps all its digits.
Text IndexKey(TextView value, KeyOrder order);

// The least key above all that begin with `prefix`, for a range that is exclusive there. Nothing
// when there is none (an empty prefix, or one of U+FFFF only).
std::optional<Text> KeyAfterPrefix(TextView prefix);

}  // namespace kel::store
