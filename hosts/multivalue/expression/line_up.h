// Multivalued operands lined up: the first value with the first, the second subvalue of the third
// value with the second subvalue of the third value. Where an operand has no element there it is
// "", unless it repeats: then its one element stands for all.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "hosts/multivalue/text/mark_scan.h"
#include "hosts/multivalue/text/text.h"

namespace kel::expression {

struct Operand {
    TextView text;
    bool repeats;
};

namespace line_up_internal {

inline bool Has(TextView text, UnitRange marks) {
    return FindInRange(text.data(), text.size(), marks) != text.size();
}

template <std::size_t kCount>
std::array<TextView, kCount> TextsOf(const std::array<Operand, kCount>& operands) {
    std::array<TextView, kCount> texts;
    for (std::size_t i = 0; i < kCount; ++i) {
        texts[i] = operands[i].text;
    }
    return texts;
}

// The first element of an operand's rest, which loses it; whether it was the last.
inline bool Cut(TextView& rest, char16_t mark, TextView& element) {
    const std::size_t end = FindInRange(rest.data(), rest.size(), {mark, mark});
    element = rest.substr(0, end);
    const bool last = end == rest.size();
    rest.remove_prefix(last ? end : end + 1);
    return last;
}

// `lowest` is the lowest mark that any of the operands has.
template <std::size_t kCount, typename Combine>
void LineUpLevel(const std::array<Operand, kCount>& operands,
                 char16_t mark,
                 char16_t lowest,
                 Text& out,
                 Combine& combine) {
    std::array<Operand, kCount> rest = operands;
    std::array<bool, kCount> stays{};  // the one element of an operand that repeats
    std::array<bool, kCount> ended{};
    for (std::size_t i = 0; i < kCount; ++i) {
        stays[i] = operands[i].repeats && !Has(operands[i].text, {mark, mark});
    }
    while (true) {
        std::array<Operand, kCount> elements = rest;
        bool more = false;
        for (std::size_t i = 0; i < kCount; ++i) {
            if (stays[i]) {
                continue;
            }
            if (ended[i]) {
                elements[i].text = {};
            } else {
                ended[i] = Cut(rest[i].text, mark, elements[i].text);
                more = more || !ended[i];
            }
        }
        if (mark == lowest) {
            combine(TextsOf(elements), out);
        } else {
            LineUpLevel(elements, static_cast<char16_t>(mark - 1), lowest, out, combine);
        }
        if (!more) {
            return;
        }
        out.push_back(mark);
    }
}

}  // namespace line_up_internal

// Appends to `out`, for each place of the operands lined up, what combine(elements, out) appends,
// with the marks between the places.
template <std::size_t kCount, typename Combine>
void LineUp(const std::array<Operand, kCount>& operands, Text& out, Combine combine) {
    using namespace line_up_internal;
    const auto haveAny = [&operands](UnitRange marks) {
        return std::any_of(operands.begin(), operands.end(), [marks](const Operand& operand) {
            return Has(operand.text, marks);
        });
    };
    if (!haveAny({kSubvalueMark, kAttributeMark})) {
        combine(TextsOf(operands), out);
        return;
    }
    char16_t highest = kAttributeMark;
    while (!haveAny({highest, kAttributeMark})) {
        --highest;
    }
    char16_t lowest = kSubvalueMark;
    while (!haveAny({kSubvalueMark, lowest})) {
        ++lowest;
    }
    LineUpLevel(operands, highest, lowest, out, combine);
}

}  // namespace kel::expression
