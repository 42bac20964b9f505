// Lays text into masks.
#include "hosts/multivalue/conversion/mask.h"

#include <algorithm>

#include "hosts/multivalue/conversion/codes.h"

namespace kel::conversion {

namespace {

// Calls `place(fill, count)` and `literal(unit)` for the parts of a mask.
template <typename Place, typename Literal>
void ForEachPart(TextView mask, Place place, Literal literal) {
    for (CodeReader reader(mask); !reader.AtEnd();) {
        const char16_t unit = reader.Next();
        if (!IsMaskPlace(unit)) {
            literal(unit);
            continue;
        }
        const int count = reader.TakeNumber().value_or(1);
        const char16_t fill = unit == u'#' ? u' ' : unit == u'%' ? u'0' : u'*';
        place(fill, static_cast<std::size_t>(count));
    }
}

}  // namespace

bool AppendMasked(Text& out, TextView value, TextView mask, bool fromRight) {
    std::size_t places = 0;
    std::size_t width = 0;
    ForEachPart(
        mask,
        [&](char16_t, std::size_t count) {
            places += count;
            width += count;
        },
        [&](char16_t) { ++width; });
    if (width > kMaxFieldWidth) {
        return false;
    }
    // Places still to come from the left; those beyond the value are filled.
    std::size_t empty = places > value.size() ? places - value.size() : 0;
    if (fromRight) {
        value.remove_prefix(value.size() > places ? value.size() - places : 0);
    }
    ForEachPart(
        mask,
        [&](char16_t fill, std::size_t count) {
            const std::size_t before = fromRight ? std::min(empty, count) : 0;
            const std::size_t taken = std::min(value.size(), count - before);
            out.append(before, fill);
            out.append(value.substr(0, taken));
            out.append(count - before - taken, fill);
            value.remove_prefix(taken);
            empty -= before;
        },
        [&](char16_t unit) { out.push_back(unit); });
    return true;
}

}  // namespace kel::conversion
