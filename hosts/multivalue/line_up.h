// Multivalued operands lined up: the first value with the first, the second subvalue of the third
// value with the second subvalue of the third value. Where an operand has no element there it is
// "", unless it repeats: then its one element stands for all.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "hosts/multivalue/mark_scan.h"
#include "hosts/multivalue/text.h"

namespace kel::multivalue {

struct Operand {
    TextView text;
    bool repeats;
};

namespace line_up_internal {

inline bool Has(TextView text, UnitRange marks) {
    return FindInRange(text.data(), text.size(), marks) != text.size();
}

template <std::size_t kCount, typename Combine>
void LineUpLevel(const std::array<Operand, kCount>& operands,
                 char16_t mark,
                 Text& out,
                 Combine& combine) {
    while (std::none_of(operands.begin(), operands.end(), [mark](const Operand& operand) {
        return Has(operand.text, {mark, mark});
    })) {
        if (mark == kSubvalueMark) {
            std::array<TextView, kCount> elements;
            for (std::size_t i = 0; i < kCount; ++i) {
                elements[i] = operands[i].text;
            }
            combine(elements, out);
            return;
        }
        --mark;
    }
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
            TextView& left = rest[i].text;
            if (ended[i]) {
                elements[i].text = {};
                continue;
            }
            const std::size_t end = FindInRange(left.data(), left.size(), {mark, mark});
            elements[i].text = left.substr(0, end);
            ended[i] = end == left.size();
            left.remove_prefix(ended[i] ? end : end + 1);
            more = more || !ended[i];
        }
        if (mark == kSubvalueMark) {
            std::array<TextView, kCount> texts;
            for (std::size_t i = 0; i < kCount; ++i) {
                texts[i] = elements[i].text;
            }
            combine(texts, out);
        } else {
            LineUpLevel(elements, static_cast<char16_t>(mark - 1), out, combine);
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
    line_up_internal::LineUpLevel(operands, kAttributeMark, out, combine);
}

}  // namespace kel::multivalue
