// Compares elements and searches them in order.
#include "hosts/multivalue/text/locate.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <optional>

namespace kel::text {

namespace {

// An integer of any length: sign, then digits without leading zeros.
struct Integer {
    bool negative;
    TextView digits;
};

bool AllDigits(TextView text) {
    for (std::size_t i = 0; i < text.size(); i += kScanBlock) {
        const std::size_t block = std::min(kScanBlock, text.size() - i);
        const std::uint64_t digits = RangeMask(text.data() + i, block, {u'0', u'9'});
        const std::uint64_t all =
            block == kScanBlock ? ~std::uint64_t{0} : (std::uint64_t{1} << block) - 1;
        if (digits != all) {
            return false;
        }
    }
    return true;
}

std::optional<Integer> ParseInteger(TextView text) {
    const bool sign = !text.empty() && (text[0] == u'-' || text[0] == u'+');
    std::size_t at = sign ? 1 : 0;
    if (at == text.size()) {
        return std::nullopt;
    }
    while (at < text.size() && text[at] == u'0') {
        ++at;
    }
    const TextView digits(text.data() + at, text.size() - at);
    if (!AllDigits(digits)) {
        return std::nullopt;
    }
    return Integer{sign && text[0] == u'-' && !digits.empty(), digits};
}

int ByLengthThenUnits(TextView a, TextView b) {
    if (a.size() != b.size()) {
        return a.size() < b.size() ? -1 : 1;
    }
    return CompareLeft(a, b);
}

int CompareIntegers(const Integer& a, const Integer& b) {
    if (a.negative != b.negative) {
        return a.negative ? -1 : 1;
    }
    const int size = ByLengthThenUnits(a.digits, b.digits);
    return a.negative ? -size : size;
}

// Compares many elements with one searched text that is taken apart only once.
class Comparison {
public:
    Comparison(TextView search, bool rightJustified)
        : search_(search),
          right_(rightJustified),
          integer_(rightJustified ? ParseInteger(search) : std::nullopt),
          plain_(!search.empty() && IsPlainStart(search[0])) {}

    int Against(TextView element) const {
        if (!right_) {
            return CompareLeft(element, search_);
        }
        // An integer without sign and leading zeros sorts by length, then units, as other text
        // does: between two such there is nothing to find out.
        if (integer_ && !(plain_ && !element.empty() && IsPlainStart(element[0]))) {
            if (const std::optional<Integer> other = ParseInteger(element)) {
                return CompareIntegers(*other, *integer_);
            }
        }
        return ByLengthThenUnits(element, search_);
    }

private:
    static bool IsPlainStart(char16_t unit) { return unit != u'+' && unit != u'-' && unit != u'0'; }

    TextView search_;
    bool right_;
    std::optional<Integer> integer_;
    bool plain_;
};

bool Equal(TextView a, TextView b) {
    return a.size() == b.size() &&
           (a.empty() ||
            (a[0] == b[0] && std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0));
}

// Calls `visit(element)` for the elements of `text` in order until it answers true. Returns the
// number of elements visited.
template <typename Visitor>
std::size_t VisitElements(TextView text, char16_t mark, Visitor visit) {
    std::size_t visited = 0;
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); i += kScanBlock) {
        std::uint64_t mask =
            RangeMask(text.data() + i, std::min(kScanBlock, text.size() - i), {mark, mark});
        for (; mask != 0; mask &= mask - 1) {
            const std::size_t end = i + static_cast<std::size_t>(std::countr_zero(mask));
            ++visited;
            if (visit(TextView(text.data() + start, end - start))) {
                return visited;
            }
            start = end + 1;
        }
    }
    visit(text.substr(start));
    return visited + 1;
}

}  // namespace

SortOrder SortOrder::Parse(TextView text) {
    SortOrder order;
    const char16_t first = text.empty() ? u' ' : text[0];
    if (first == u'A' || first == u'a') {
        order.direction = Direction::kAscending;
    } else if (first == u'D' || first == u'd') {
        order.direction = Direction::kDescending;
    }
    order.rightJustified = text.size() > 1 && (text[1] == u'R' || text[1] == u'r');
    return order;
}

int CompareLeft(TextView a, TextView b) {
    const std::size_t common = std::min(a.size(), b.size());
    std::size_t i = 0;
    // Neighbours in sorted data begin alike: pass over what is equal four units at a time.
    for (; i + 4 <= common; i += 4) {
        std::uint64_t left;
        std::uint64_t right;
        std::memcpy(&left, a.data() + i, sizeof(left));
        std::memcpy(&right, b.data() + i, sizeof(right));
        if (left != right) {
            break;
        }
    }
    for (; i < common; ++i) {
        if (a[i] != b[i]) {
            return a[i] < b[i] ? -1 : 1;
        }
    }
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

int CompareRight(TextView a, TextView b) {
    return Comparison(b, true).Against(a);
}

LocateResult LocateIn(TextView text, Level level, TextView search, SortOrder order) {
    if (text.empty()) {
        return {search.empty(), 1};
    }
    const char16_t mark = MarkOf(level);
    bool found = false;
    if (order.direction == SortOrder::Direction::kNone) {
        const std::size_t visited = VisitElements(text, mark, [&](TextView element) {
            found = Equal(element, search);
            return found;
        });
        return {found, found ? visited : visited + 1};
    }
    bool passedBy = false;
    const int after = order.direction == SortOrder::Direction::kAscending ? 1 : -1;
    const Comparison comparison(search, order.rightJustified);
    const std::size_t visited = VisitElements(text, mark, [&](TextView element) {
        const int difference = comparison.Against(element);
        found = difference == 0;
        passedBy = difference * after > 0;
        return found || passedBy;
    });
    return {found, found || passedBy ? visited : visited + 1};
}

}  // namespace kel::text
