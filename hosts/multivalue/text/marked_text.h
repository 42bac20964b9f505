// Text with marks, kept so that the n-th element is found and edited without touching the rest.
// Knows levels and cursors, not the rules of positions: those are DynamicArray's.
//
// The text is a list of chunks of about a thousand units, each with the number of its marks per
// level; chunks are held in groups of about a hundred, which carry the sums. A walk over n marks
// steps over whole groups, then whole chunks, and scans two chunks at most. A chunk borrows from
// the text the object was made of until the first edit inside it, so an untouched text costs its
// own copy and little else. Chunks are made as far as somebody looked, from left to right.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "hosts/multivalue/text/mark_scan.h"
#include "hosts/multivalue/text/text.h"

namespace kel::text {

enum class Level : std::uint8_t { kAttribute, kValue, kSubvalue };

constexpr char16_t MarkOf(Level level) {
    return static_cast<char16_t>(kAttributeMark - static_cast<char16_t>(level));
}

// The marks that end an element of `level`: its own and those of the levels above.
constexpr UnitRange EndMarks(Level level) {
    return {MarkOf(level), kAttributeMark};
}

// A place in a MarkedText: before a unit, or at the end. Cursors handed out compare equal exactly
// when they mean the same place. An edit leaves cursors before the edited place valid; those after
// it are void.
struct Cursor {
    std::uint32_t group = 0;
    std::uint32_t chunk = 0;
    std::uint32_t offset = 0;

    friend bool operator==(const Cursor&, const Cursor&) = default;
};

// Not safe for use from several threads at once, const members included: they index on demand.
class MarkedText {
public:
    MarkedText() = default;
    explicit MarkedText(Text text);
    MarkedText(const MarkedText&) = default;
    MarkedText(MarkedText&& other) noexcept { Swap(other); }
    MarkedText& operator=(MarkedText other) noexcept {
        Swap(other);
        return *this;
    }
    ~MarkedText() = default;

    std::size_t Length() const { return length_; }
    void CopyTo(char16_t* target) const;  // exactly Length() units

    Cursor End() const;
    // Whether the unit at `at` is `unit`; false at the end.
    bool IsAt(Cursor at, char16_t unit) const;
    Cursor Next(Cursor at) const;      // not at the end
    Cursor Previous(Cursor at) const;  // not at the beginning

    // Moves `at` past up to `wanted` marks of `level` and returns how many were passed. When there
    // are fewer before the enclosing element ends, `at` is left at that end.
    std::size_t SkipMarks(Cursor& at, Level level, std::size_t wanted) const;

    // The end of the element of `level` that `from` lies in: its end mark or the end of the text.
    Cursor ElementEnd(Cursor from, Level level) const;

    // Number of units of `range` in [from, to).
    std::size_t Count(Cursor from, Cursor to, UnitRange range) const;

    // The units of [from, to): a view into this object if they lie together, otherwise into
    // `storage`. Valid until the next edit of either.
    TextView View(Cursor from, Cursor to, Text& storage) const;

    // Puts `text`, which must not be a view into this object, in place of [from, to). Returns the
    // cursor that now means what `from` meant. Either done or, when memory runs out, not begun.
    Cursor Splice(Cursor from, Cursor to, TextView text);

private:
    struct Counts {
        std::uint32_t byLevel[3] = {0, 0, 0};

        std::uint32_t Of(Level level) const { return byLevel[static_cast<std::size_t>(level)]; }
        std::uint32_t Above(Level level) const;
        std::uint32_t Ending(Level level) const { return Above(level) + Of(level); }
        void Add(const Counts& other);
        void Remove(const Counts& other);
        static Counts In(TextView text);
    };

    struct Chunk {
        TextView borrowed;  // used while `own` is empty
        Text own;
        Counts counts;

        TextView Units() const { return own.empty() ? borrowed : TextView(own); }
    };

    struct Group {
        std::vector<Chunk> chunks;
        Counts counts;

        void Recount();
    };

    void Swap(MarkedText& other) noexcept;
    bool Settle(Cursor& at) const;  // canonical form; false at the end
    void IndexMore() const;
    template <typename Visitor>
    void VisitRuns(Cursor from, Cursor to, Visitor visit) const;
    bool SpliceInChunk(Chunk& chunk, Group& group, Cursor from, std::size_t removed, TextView text);
    void Rebuild(Cursor from, Cursor to, TextView text);

    std::shared_ptr<const Text> original_;  // what borrowed chunks and the tail point into
    std::size_t length_ = 0;
    mutable std::vector<Group> groups_;  // no empty group, no empty chunk
    mutable TextView tail_;  // of original_: not yet cut into chunks, follows the groups
};

}  // namespace kel::text
