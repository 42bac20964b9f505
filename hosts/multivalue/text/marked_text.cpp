// Keeps the chunks and groups of a text, and counts of their marks.
#include "hosts/multivalue/text/marked_text.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kel::text {

namespace {

// A chunk is short enough to scan or shift in a fraction of a microsecond and long enough that the
// counts beside it weigh little. An edited chunk may grow to kMaxChunk before it is divided, and
// joins its neighbour below kMinChunk.
constexpr std::size_t kChunk = 1024;
constexpr std::size_t kMaxChunk = 2 * kChunk;
constexpr std::size_t kMinChunk = kChunk / 4;
constexpr std::size_t kGroup = 64;  // chunks in a new group
constexpr std::size_t kMaxGroup = 2 * kGroup;

void CopyUnits(char16_t* target, TextView units) {
    if (!units.empty()) {
        std::memcpy(target, units.data(), units.size() * sizeof(char16_t));
    }
}

}  // namespace

std::uint32_t MarkedText::Counts::Above(Level level) const {
    switch (level) {
        case Level::kAttribute:
            return 0;
        case Level::kValue:
            return byLevel[0];
        default:
            return byLevel[0] + byLevel[1];
    }
}

void MarkedText::Counts::Add(const Counts& other) {
    for (std::size_t i = 0; i < 3; ++i) {
        byLevel[i] += other.byLevel[i];
    }
}

void MarkedText::Counts::Remove(const Counts& other) {
    for (std::size_t i = 0; i < 3; ++i) {
        byLevel[i] -= other.byLevel[i];
    }
}

MarkedText::Counts MarkedText::Counts::In(TextView text) {
    Counts counts;
    for (std::size_t i = 0; i < text.size(); i += kScanBlock) {
        const char16_t* units = text.data() + i;
        const std::size_t block = std::min(kScanBlock, text.size() - i);
        // Text without any mark is the common case and costs one test per block.
        if (RangeMask(units, block, EndMarks(Level::kSubvalue)) == 0) {
            continue;
        }
        for (std::size_t level = 0; level < 3; ++level) {
            const char16_t mark = MarkOf(static_cast<Level>(level));
            counts.byLevel[level] +=
                static_cast<std::uint32_t>(std::popcount(RangeMask(units, block, {mark, mark})));
        }
    }
    return counts;
}

void MarkedText::Group::Recount() {
    counts = Counts{};
    for (const Chunk& chunk : chunks) {
        counts.Add(chunk.counts);
    }
}

MarkedText::MarkedText(Text text)
    : original_(std::make_shared<const Text>(std::move(text))),
      length_(original_->size()),
      tail_(*original_) {}

void MarkedText::Swap(MarkedText& other) noexcept {
    original_.swap(other.original_);
    std::swap(length_, other.length_);
    groups_.swap(other.groups_);
    std::swap(tail_, other.tail_);
}

// Cuts one more group off the tail. Always a whole new group: the cursor that meant "end of the
// groups" then means its first unit.
void MarkedText::IndexMore() const {
    Group group;
    group.chunks.reserve(std::min(kGroup, tail_.size() / kChunk + 1));
    TextView rest = tail_;
    while (!rest.empty() && group.chunks.size() < kGroup) {
        Chunk chunk;
        chunk.borrowed = rest.substr(0, kChunk);
        chunk.counts = Counts::In(chunk.borrowed);
        group.counts.Add(chunk.counts);
        rest.remove_prefix(chunk.borrowed.size());
        group.chunks.push_back(std::move(chunk));
    }
    groups_.push_back(std::move(group));
    tail_ = rest;
}

// Walks a cursor that an edit left past the end of its chunk or group to the place it means.
bool MarkedText::Settle(Cursor& at) const {
    for (;;) {
        if (at.group >= groups_.size()) {
            if (tail_.empty()) {
                return false;
            }
            IndexMore();
            continue;
        }
        const Group& group = groups_[at.group];
        if (at.chunk >= group.chunks.size()) {
            at.chunk -= static_cast<std::uint32_t>(group.chunks.size());
            ++at.group;
            continue;
        }
        const std::size_t length = group.chunks[at.chunk].Units().size();
        if (at.offset < length) {
            return true;
        }
        at.offset -= static_cast<std::uint32_t>(length);
        ++at.chunk;
    }
}

Cursor MarkedText::End() const {
    while (!tail_.empty()) {
        IndexMore();
    }
    return {static_cast<std::uint32_t>(groups_.size()), 0, 0};
}

bool MarkedText::IsAt(Cursor at, char16_t unit) const {
    return Settle(at) && groups_[at.group].chunks[at.chunk].Units()[at.offset] == unit;
}

Cursor MarkedText::Next(Cursor at) const {
    ++at.offset;
    Settle(at);
    return at;
}

Cursor MarkedText::Previous(Cursor at) const {
    while (at.offset == 0) {
        if (at.chunk == 0) {
            --at.group;
            at.chunk = static_cast<std::uint32_t>(groups_[at.group].chunks.size());
        }
        --at.chunk;
        at.offset = static_cast<std::uint32_t>(groups_[at.group].chunks[at.chunk].Units().size());
    }
    --at.offset;
    return at;
}

std::size_t MarkedText::SkipMarks(Cursor& at, Level level, std::size_t wanted) const {
    const char16_t mark = MarkOf(level);
    std::size_t passed = 0;
    while (passed < wanted && Settle(at)) {
        const Group& group = groups_[at.group];
        if (at.chunk == 0 && at.offset == 0 && group.counts.Above(level) == 0 &&
            passed + group.counts.Of(level) < wanted) {
            passed += group.counts.Of(level);
            ++at.group;
            continue;
        }
        if (at.offset == 0) {
            while (at.chunk < group.chunks.size()) {
                const Counts& counts = group.chunks[at.chunk].counts;
                if (counts.Above(level) != 0 || passed + counts.Of(level) >= wanted) {
                    break;
                }
                passed += counts.Of(level);
                ++at.chunk;
            }
            if (at.chunk == group.chunks.size()) {
                continue;
            }
        }
        const Chunk& chunk = group.chunks[at.chunk];
        const TextView units = chunk.Units().substr(at.offset);
        const UnitRange marks{mark, chunk.counts.Above(level) != 0 ? kAttributeMark : mark};
        const SkipResult walk = SkipInRun(units.data(), units.size(), marks, wanted - passed);
        passed += walk.passed;
        at.offset += static_cast<std::uint32_t>(walk.offset);
        if (walk.stopped) {
            break;
        }
    }
    Settle(at);
    return passed;
}

Cursor MarkedText::ElementEnd(Cursor from, Level level) const {
    const UnitRange marks = EndMarks(level);
    while (Settle(from)) {
        const Group& group = groups_[from.group];
        if (from.offset == 0) {
            if (from.chunk == 0 && group.counts.Ending(level) == 0) {
                ++from.group;
                continue;
            }
            if (group.chunks[from.chunk].counts.Ending(level) == 0) {
                ++from.chunk;
                continue;
            }
        }
        const TextView units = group.chunks[from.chunk].Units().substr(from.offset);
        const std::size_t found = FindInRange(units.data(), units.size(), marks);
        from.offset += static_cast<std::uint32_t>(found);
        if (found < units.size()) {
            break;
        }
    }
    return from;
}

// Hands the chunks' parts of [from, to) to `visit(units, chunk)` in order.
template <typename Visitor>
void MarkedText::VisitRuns(Cursor from, Cursor to, Visitor visit) const {
    while (!(from == to) && Settle(from) && !(from == to)) {
        const Chunk& chunk = groups_[from.group].chunks[from.chunk];
        TextView units = chunk.Units();
        if (from.group == to.group && from.chunk == to.chunk) {
            units = units.substr(0, to.offset);
        }
        visit(units.substr(from.offset), chunk);
        if (from.group == to.group && from.chunk == to.chunk) {
            return;
        }
        ++from.chunk;
        from.offset = 0;
    }
}

std::size_t MarkedText::Count(Cursor from, Cursor to, UnitRange range) const {
    std::size_t found = 0;
    const bool isMark = range.low == range.high && EndMarks(Level::kSubvalue).Holds(range.low);
    VisitRuns(from, to, [&](TextView units, const Chunk& chunk) {
        if (isMark && units.size() == chunk.Units().size()) {
            found += chunk.counts.byLevel[kAttributeMark - range.low];
        } else {
            found += CountInRange(units.data(), units.size(), range);
        }
    });
    return found;
}

TextView MarkedText::View(Cursor from, Cursor to, Text& storage) const {
    TextView together;
    bool inPlace = true;
    bool firstBorrows = true;
    std::size_t length = 0;
    VisitRuns(from, to, [&](TextView units, const Chunk& chunk) {
        length += units.size();
        if (together.empty()) {
            together = units;
            firstBorrows = chunk.own.empty();
        } else if (firstBorrows && chunk.own.empty() &&
                   units.data() == together.data() + together.size()) {
            together = TextView(together.data(), together.size() + units.size());
        } else {
            inPlace = false;
        }
    });
    if (inPlace) {
        return together;
    }
    storage.clear();
    storage.reserve(length);
    VisitRuns(from, to, [&](TextView units, const Chunk&) { storage.append(units); });
    return storage;
}

void MarkedText::CopyTo(char16_t* target) const {
    for (const Group& group : groups_) {
        for (const Chunk& chunk : group.chunks) {
            const TextView units = chunk.Units();
            CopyUnits(target, units);
            target += units.size();
        }
    }
    CopyUnits(target, tail_);
}

Cursor MarkedText::Splice(Cursor from, Cursor to, TextView text) {
    const bool hasUnit = Settle(from);
    Settle(to);
    if (from == to && text.empty()) {
        return from;
    }
    if (!hasUnit && !groups_.empty()) {
        // At the end: grow the last chunk.
        from.group = static_cast<std::uint32_t>(groups_.size() - 1);
        from.chunk = static_cast<std::uint32_t>(groups_.back().chunks.size() - 1);
        from.offset = static_cast<std::uint32_t>(groups_.back().chunks.back().Units().size());
        to = from;
    }
    if (from.group < groups_.size()) {
        Group& group = groups_[from.group];
        Chunk& chunk = group.chunks[from.chunk];
        const bool sameChunk = from.group == to.group && from.chunk == to.chunk;
        // `to` at the very beginning of what follows means the end of this chunk.
        const bool toNext = to.offset == 0 &&
                            (from.group == to.group ? to.chunk == from.chunk + 1
                                                    : to.group == from.group + 1 && to.chunk == 0 &&
                                                          from.chunk + 1 == group.chunks.size());
        if (sameChunk || toNext) {
            const std::size_t stop = sameChunk ? to.offset : chunk.Units().size();
            if (SpliceInChunk(chunk, group, from, stop - from.offset, text)) {
                Settle(from);
                return from;
            }
        }
    }
    Rebuild(from, to, text);
    Settle(from);
    return from;
}

// The common edit: stays within one chunk. False, with nothing changed, when the chunk would become
// too long, or empty, or so short that it should join the next one.
bool MarkedText::SpliceInChunk(
    Chunk& chunk, Group& group, Cursor from, std::size_t removed, TextView text) {
    const TextView units = chunk.Units();
    const std::size_t length = units.size() - removed + text.size();
    if (length > kMaxChunk || length == 0) {
        return false;
    }
    if (length < kMinChunk && from.chunk + 1 < group.chunks.size() &&
        length + group.chunks[from.chunk + 1].Units().size() <= kChunk) {
        return false;
    }
    Counts less = Counts::In(units.substr(from.offset, removed));
    const Counts more = Counts::In(text);
    if (chunk.own.empty()) {
        Text copy;
        copy.reserve(std::max(length, units.size()) + length / 8);
        copy.append(units.substr(0, from.offset));
        copy.append(text);
        copy.append(units.substr(from.offset + removed));
        chunk.own = std::move(copy);
    } else {
        chunk.own.replace(from.offset, removed, text);
    }
    chunk.counts.Remove(less);
    chunk.counts.Add(more);
    group.counts.Remove(less);
    group.counts.Add(more);
    length_ = length_ - removed + text.size();
    return true;
}

// The general edit: what remains of the first and the last chunk touched, and `text` between,
// become new chunks of even length, and the groups touched are laid out anew. Costs two groups'
// chunk heads, so it must stay rare: once per kChunk units that grow or shrink, or at a chunk's
// border.
void MarkedText::Rebuild(Cursor from, Cursor to, TextView text) {
    const std::size_t firstGroup = from.group;
    const bool toEnd = to.group >= groups_.size();
    const std::size_t endGroup =
        std::min<std::size_t>(groups_.size(), toEnd ? groups_.size() : to.group + std::size_t{1});

    TextView left;
    std::size_t keptBefore = 0;  // chunks of the first group before the edit
    if (firstGroup < groups_.size()) {
        keptBefore = from.chunk;
        left = groups_[firstGroup].chunks[from.chunk].Units().substr(0, from.offset);
    }
    TextView right[2];          // the rest of the last chunk and, to fill up, the chunk after it
    std::size_t nextChunk = 0;  // of the last group: the first chunk that stays as it is
    if (!toEnd) {
        const std::vector<Chunk>& chunks = groups_[to.group].chunks;
        right[0] = chunks[to.chunk].Units().substr(to.offset);
        nextChunk = to.chunk + std::size_t{1};
        if (nextChunk < chunks.size() && left.size() + text.size() + right[0].size() < kMinChunk) {
            right[1] = chunks[nextChunk++].Units();
        }
    }

    // New chunks, all of them before anything changes.
    const TextView parts[] = {left, text, right[0], right[1]};
    std::size_t total = 0;
    for (TextView part : parts) {
        total += part.size();
    }
    const std::size_t pieceCount = (total + kChunk - 1) / kChunk;
    std::vector<Chunk> pieces(pieceCount);
    std::size_t part = 0;
    std::size_t partOffset = 0;
    for (std::size_t i = 0; i < pieceCount; ++i) {
        const std::size_t length = total * (i + 1) / pieceCount - total * i / pieceCount;
        Text& own = pieces[i].own;
        own.reserve(length);
        while (own.size() < length) {
            const TextView more = parts[part].substr(partOffset, length - own.size());
            own.append(more);
            partOffset += more.size();
            if (partOffset == parts[part].size()) {
                ++part;
                partOffset = 0;
            }
        }
        pieces[i].counts = Counts::In(own);
    }

    // New groups, with room for the chunks that move over.
    const std::size_t keptAfter = toEnd ? 0 : groups_[to.group].chunks.size() - nextChunk;
    const std::size_t chunkCount = keptBefore + pieceCount + keptAfter;
    const std::size_t groupCount =
        chunkCount <= kMaxGroup ? (chunkCount != 0 ? 1 : 0) : (chunkCount + kGroup - 1) / kGroup;
    std::vector<Group> fresh(groupCount);
    const std::size_t perGroup = groupCount == 0 ? 0 : (chunkCount + groupCount - 1) / groupCount;
    for (Group& group : fresh) {
        group.chunks.reserve(perGroup);
    }
    groups_.reserve(groups_.size() + groupCount);

    // From here on nothing can fail.
    std::size_t filled = 0;
    auto moveOver = [&](Chunk& chunk) {
        fresh[filled++ / perGroup].chunks.push_back(std::move(chunk));
    };
    std::size_t removed = 0;
    for (std::size_t g = firstGroup; g < endGroup; ++g) {
        for (const Chunk& chunk : groups_[g].chunks) {
            removed += chunk.Units().size();
        }
    }
    for (std::size_t i = 0; i < keptBefore; ++i) {
        moveOver(groups_[firstGroup].chunks[i]);
    }
    for (Chunk& piece : pieces) {
        moveOver(piece);
    }
    for (std::size_t i = 0; i < keptAfter; ++i) {
        moveOver(groups_[to.group].chunks[nextChunk + i]);
    }
    std::size_t added = 0;
    for (Group& group : fresh) {
        group.Recount();
        for (const Chunk& chunk : group.chunks) {
            added += chunk.Units().size();
        }
    }
    const auto first = groups_.begin() + static_cast<std::ptrdiff_t>(firstGroup);
    const auto last = groups_.begin() + static_cast<std::ptrdiff_t>(endGroup);
    const auto reused =
        std::min<std::ptrdiff_t>(last - first, static_cast<std::ptrdiff_t>(groupCount));
    std::move(fresh.begin(), fresh.begin() + reused, first);
    if (reused < last - first) {
        groups_.erase(first + reused, last);
    } else {
        groups_.insert(last,
                       std::make_move_iterator(fresh.begin() + reused),
                       std::make_move_iterator(fresh.end()));
    }
    length_ = length_ - removed + added;
}

}  // namespace kel::text
