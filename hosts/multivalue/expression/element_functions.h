// What is worked out over all elements of a text with marks: sums, extremes, numbering.
#pragma once

#include <vector>

#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/text/mark_scan.h"
#include "hosts/multivalue/text/text.h"

namespace kel::expression {

// The marks between elements that calculate on their own. A text mark is a unit like any other.
inline constexpr UnitRange kElementMarks{kSubvalueMark, kAttributeMark};

inline bool HasElements(TextView text) {
    return FindInRange(text.data(), text.size(), kElementMarks) != text.size();
}

Number TotalOf(TextView text);

// Sums up the lowest level that `text` has, so that the level above becomes the lowest.
void AppendSums(TextView text, Text& out);

// The largest (wanted 1) or smallest (-1) number; nothing when there is none.
void AppendExtreme(TextView text, int wanted, Text& out);

// How many subvalues the values of several fields have at most, value by value.
class ValueCounts {
public:
    explicit ValueCounts(std::size_t least) : counts_(least, 1) {}

    void Add(TextView field);
    void AppendValueNumbers(Text& out) const;     // 1]2]3
    void AppendSubvalueNumbers(Text& out) const;  // 1\2]1]1\2\3

private:
    std::vector<std::size_t> counts_;
};

}  // namespace kel::expression
