// Finding and counting marks in plain runs of units. Everything positional rests on these loops, so
// they look at 64 units at a time and answer from a bit mask.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kel::text {

inline constexpr std::size_t kScanBlock = 64;

// A closed range of units: one mark, or every mark from a level upward.
struct UnitRange {
    char16_t low;
    char16_t high;

    bool Holds(char16_t unit) const { return unit >= low && unit <= high; }
};

// Bit i is set when units[i] lies in `range`, for i below count; count is at most kScanBlock.
inline std::uint64_t RangeMask(const char16_t* units, std::size_t count, UnitRange range) {
    std::uint64_t mask = 0;
    std::size_t i = 0;
#if defined(__SSE2__)
    const __m128i low = _mm_set1_epi16(static_cast<short>(range.low));
    const __m128i width = _mm_set1_epi16(static_cast<short>(range.high - range.low));
    const __m128i zero = _mm_setzero_si128();
    // A unit below `low` wraps around to a large one, so one saturated subtraction tests both ends.
    auto inRange = [&](const char16_t* at) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
        return _mm_cmpeq_epi16(_mm_subs_epu16(_mm_sub_epi16(x, low), width), zero);
    };
    for (; i + 16 <= count; i += 16) {
        const __m128i packed = _mm_packs_epi16(inRange(units + i), inRange(units + i + 8));
        const auto bits = static_cast<std::uint32_t>(_mm_movemask_epi8(packed));
        mask |= std::uint64_t{bits} << i;
    }
    if (i + 8 <= count) {
        const __m128i packed = _mm_packs_epi16(inRange(units + i), zero);
        const auto bits = static_cast<std::uint32_t>(_mm_movemask_epi8(packed)) & 0xFFU;
        mask |= std::uint64_t{bits} << i;
        i += 8;
    }
#endif
    for (; i < count; ++i) {
        mask |= std::uint64_t{range.Holds(units[i])} << i;
    }
    return mask;
}

// The index of the first unit in `range`, or `count`.
inline std::size_t FindInRange(const char16_t* units, std::size_t count, UnitRange range) {
    // Most elements are short: look at a few units before setting up whole blocks.
    const std::size_t nearby = std::min<std::size_t>(count, 8);
    for (std::size_t i = 0; i < nearby; ++i) {
        if (range.Holds(units[i])) {
            return i;
        }
    }
    for (std::size_t i = nearby; i < count; i += kScanBlock) {
        const std::uint64_t mask = RangeMask(units + i, std::min(kScanBlock, count - i), range);
        if (mask != 0) {
            return i + static_cast<std::size_t>(std::countr_zero(mask));
        }
    }
    return count;
}

inline std::size_t CountInRange(const char16_t* units, std::size_t count, UnitRange range) {
    std::size_t found = 0;
    for (std::size_t i = 0; i < count; i += kScanBlock) {
        found += static_cast<std::size_t>(
            std::popcount(RangeMask(units + i, std::min(kScanBlock, count - i), range)));
    }
    return found;
}

struct SkipResult {
    std::size_t offset;  // just past the last mark passed, or where the walk was stopped
    std::size_t passed;
    bool stopped;  // met a unit above the wanted mark; offset is that unit
};

// Walks past up to `wanted` (> 0) units equal to marks.low and stops at any higher unit of `marks`.
// With neither, offset is `count`.
inline SkipResult SkipInRun(const char16_t* units,
                            std::size_t count,
                            UnitRange marks,
                            std::size_t wanted) {
    std::size_t passed = 0;
    for (std::size_t i = 0; i < count; i += kScanBlock) {
        const std::size_t block = std::min(kScanBlock, count - i);
        std::uint64_t mask = RangeMask(units + i, block, marks);
        if (mask == 0) {
            continue;
        }
        if (marks.low == marks.high) {
            const auto inBlock = static_cast<std::size_t>(std::popcount(mask));
            if (passed + inBlock < wanted) {
                passed += inBlock;
                continue;
            }
        }
        for (; mask != 0; mask &= mask - 1) {
            const std::size_t at = i + static_cast<std::size_t>(std::countr_zero(mask));
            if (units[at] != marks.low) {
                return {at, passed, true};
            }
            if (++passed == wanted) {
                return {at + 1, passed, false};
            }
        }
    }
    return {count, passed, false};
}

}  // namespace kel::text
