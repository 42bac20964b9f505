// Finds and edits elements by position.
#include "hosts/multivalue/text/dynamic_array.h"

#include <algorithm>
#include <utility>

#include "hosts/multivalue/text/error.h"

namespace kel::text {

namespace {

constexpr Level LevelAt(std::size_t index) {
    return static_cast<Level>(index);
}

[[noreturn]] void ThrowTooLong() {
    throw Error(ErrorKind::kTooLong, u"The record would be longer than a record can be.");
}

}  // namespace

DynamicArray::DynamicArray(Text text) {
    if (text.size() > kMaxRecordUnits) {
        ThrowTooLong();
    }
    text_ = MarkedText(std::move(text));
}

Text DynamicArray::ToText() const {
    Text text(text_.Length(), u'\0');
    text_.CopyTo(text.data());
    return text;
}

// The levels an edit addresses: attribute 0 under a lower position is attribute 1, and value 0
// hides the subvalue.
DynamicArray::Place DynamicArray::Addressed(Position position) {
    Place place;
    place.positions = {
        position.attribute == 0 ? 1 : position.attribute, position.value, position.subvalue};
    place.depth = position.value == 0 ? 1 : position.subvalue == 0 ? 2 : 3;
    return place;
}

// Finds the element, level by level from the record down.
void DynamicArray::Walk(Place& place) const {
    Cursor enclosing;
    for (std::size_t level = 0; level < place.depth; ++level) {
        const std::int32_t position = place.positions[level];
        place.level = level;
        place.enclosing = enclosing;
        if (position < 0) {
            place.at = level == 0 ? text_.End() : text_.ElementEnd(enclosing, LevelAt(level - 1));
            return;
        }
        Cursor at = enclosing;
        std::int32_t from = 1;
        if (level < fingerCount_ && fingers_[level].position <= position) {
            from = fingers_[level].position;
            at = fingers_[level].start;
        }
        if (level < fingerCount_ && from != position) {
            fingerCount_ = level;  // lower fingers belong to another element
        }
        const auto wanted = static_cast<std::size_t>(position - from);
        const std::size_t passed = text_.SkipMarks(at, LevelAt(level), wanted);
        if (passed < wanted) {
            fingerCount_ = level;
            place.at = at;
            place.missing = wanted - passed;
            return;
        }
        if (level >= fingerCount_ || fingers_[level].position != position) {
            fingers_[level] = {position, at};
            fingerCount_ = level + 1;
        }
        enclosing = at;
    }
    place.at = enclosing;
    place.found = true;
}

void DynamicArray::RequireRoom(std::size_t more) const {
    // Lengths are compared before what is replaced is taken off: near the limit it hardly matters,
    // and the sum cannot wrap.
    if (more > kMaxRecordUnits || text_.Length() > kMaxRecordUnits - more) {
        ThrowTooLong();
    }
}

// Every edit ends here. `level` is that of the edited place: fingers above it stay good, and the
// finger of the level itself if it does not lie behind the edit.
void DynamicArray::Splice(Cursor from, Cursor to, TextView text, std::size_t level) {
    RequireRoom(text.size());
    const Cursor now = text_.Splice(from, to, text);
    fingerCount_ = std::min(fingerCount_, level + 1);
    for (std::size_t i = 0; i < fingerCount_; ++i) {
        if (fingers_[i].start == from) {
            fingers_[i].start = now;
        }
    }
}

// Puts `value` where there is no element yet, with the marks that lead to it.
void DynamicArray::Fill(const Place& place, TextView value) {
    std::size_t marks[3] = {0, 0, 0};
    marks[place.level] = place.missing;
    if (place.positions[place.level] < 0 && !(place.enclosing == place.at)) {
        marks[place.level] = 1;
    }
    std::size_t total = marks[place.level];
    for (std::size_t level = place.level + 1; level < place.depth; ++level) {
        const std::int32_t position = place.positions[level];
        marks[level] = position > 1 ? static_cast<std::size_t>(position) - 1 : 0;
        RequireRoom(marks[level]);
        total += marks[level];
    }
    RequireRoom(total);
    RequireRoom(total + value.size());
    Text text;
    text.reserve(total + value.size());
    for (std::size_t level = 0; level < 3; ++level) {
        text.append(marks[level], MarkOf(LevelAt(level)));
    }
    text.append(value);
    Splice(place.at, place.at, text, place.level);
}

void DynamicArray::Replace(Position position, TextView value) {
    if (position.attribute == 0 && position.value == 0 && position.subvalue == 0) {
        *this = DynamicArray(value);
        return;
    }
    Place place = Addressed(position);
    Walk(place);
    if (place.found) {
        Splice(place.at, text_.ElementEnd(place.at, LevelAt(place.level)), value, place.level);
    } else {
        Fill(place, value);
    }
}

void DynamicArray::Insert(Position position, TextView value) {
    Place place = Addressed(position);
    Walk(place);
    if (!place.found) {
        Fill(place, value);
        return;
    }
    const char16_t mark = MarkOf(LevelAt(place.level));
    const bool isEmpty = text_.ElementEnd(place.at, LevelAt(place.level)) == place.at;
    if (isEmpty && !text_.IsAt(place.at, mark)) {
        Splice(place.at, place.at, value, place.level);  // an empty last element reads as missing
        return;
    }
    RequireRoom(value.size());
    Text text;
    text.reserve(value.size() + 1);
    text.append(value);
    text.push_back(mark);
    Splice(place.at, place.at, text, place.level);
}

void DynamicArray::Delete(Position position) {
    if (position.attribute < 0 || position.value < 0 || position.subvalue < 0) {
        return;
    }
    if (position.attribute == 0 && position.value == 0 && position.subvalue == 0) {
        *this = DynamicArray();
        return;
    }
    Place place = Addressed(position);
    Walk(place);
    if (!place.found) {
        return;
    }
    const Cursor end = text_.ElementEnd(place.at, LevelAt(place.level));
    if (text_.IsAt(end, MarkOf(LevelAt(place.level)))) {
        Splice(place.at, text_.Next(end), {}, place.level);
    } else if (!(place.at == place.enclosing)) {
        // The last of several goes with the mark before it; its finger would lie behind the edit.
        fingerCount_ = std::min(fingerCount_, place.level);
        Splice(text_.Previous(place.at), end, {}, place.level);
    } else {
        Splice(place.at, end, {}, place.level);
    }
}

// The range a read addresses; false when nothing is there.
bool DynamicArray::ElementRange(Position position, Cursor& from, Cursor& to) const {
    if (position.attribute == 0) {
        from = Cursor{};
        to = text_.End();
        return position.value == 0 && position.subvalue == 0;
    }
    Place place = Addressed(position);
    Walk(place);
    if (place.found) {
        from = place.at;
        to = text_.ElementEnd(from, LevelAt(place.level));
    }
    return place.found;
}

Text DynamicArray::Extract(Position position) const {
    Text storage;
    const TextView view = View(position, storage);
    if (storage.empty()) {
        storage = view;
    }
    return storage;
}

TextView DynamicArray::View(Position position, Text& storage) const {
    Cursor from;
    Cursor to;
    if (!ElementRange(position, from, to)) {
        return {};
    }
    return text_.View(from, to, storage);
}

LocateResult DynamicArray::Locate(TextView search,
                                  std::int32_t attribute,
                                  std::int32_t value,
                                  SortOrder order) const {
    // A negative position stands for the whole enclosing element, searched at the level below.
    const Level level = attribute == 0 ? Level::kAttribute
                        : value == 0   ? Level::kValue
                                       : Level::kSubvalue;
    Position enclosing;
    if (attribute > 0) {
        enclosing.attribute = attribute;
        enclosing.value = value > 0 ? value : 0;
    }
    Cursor from;
    Cursor to;
    if (!ElementRange(enclosing, from, to)) {
        return {false, 1};
    }
    Text storage;
    return LocateIn(text_.View(from, to, storage), level, search, order);
}

std::size_t DynamicArray::Dcount(TextView delimiter, Position position, Overlap overlap) const {
    Cursor from;
    Cursor to;
    if (!ElementRange(position, from, to) || from == to) {
        return 0;
    }
    if (delimiter.empty()) {
        return text_.Count(from, to, {0, 0xFFFF});
    }
    if (delimiter.size() == 1) {
        return text_.Count(from, to, {delimiter[0], delimiter[0]}) + 1;
    }
    Text storage;
    const TextView text = text_.View(from, to, storage);
    const std::size_t step = overlap == Overlap::kYes ? 1 : delimiter.size();
    std::size_t parts = 1;
    for (std::size_t at = text.find(delimiter); at != TextView::npos;
         at = text.find(delimiter, at + step)) {
        ++parts;
    }
    return parts;
}

}  // namespace kel::text
