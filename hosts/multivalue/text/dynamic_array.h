// A record as programs see it: attributes, values and subvalues addressed by position.
//
// Positions count from 1; 0 means the whole enclosing level:
//
//     {0, 0, 0}  the record            {2, 0, 0}  its second attribute
//     {2, 3, 0}  a value of that       {2, 3, 1}  a subvalue of that
//
// With value 0 the subvalue is not looked at. With attribute 0 and a lower position given, edits
// mean attribute 1 and reads find nothing. Past the end everything reads as "", and edits pad with
// marks. A negative position reads as "" and, in Replace and Insert, appends at its level; a lower
// position then has nothing to count in, so a negative one means 1.
//
// Reading, replacing, inserting and deleting cost about the same wherever the element lies and
// however long the record is. Text may hold any 16-bit units.
//
// One thread at a time, const members included. Every edit is done or, when it throws, not begun:
// Error (kTooLong) when the record would pass kMaxRecordUnits, std::bad_alloc.
#pragma once

#include <array>
#include <cstdint>

#include "hosts/multivalue/text/locate.h"
#include "hosts/multivalue/text/marked_text.h"
#include "hosts/multivalue/text/text.h"

namespace kel::text {

struct Position {
    std::int32_t attribute = 0;
    std::int32_t value = 0;
    std::int32_t subvalue = 0;
};

// How delimiters of several units are counted when they overlap ("aa" in "aaa").
enum class Overlap { kNo, kYes };

class DynamicArray {
public:
    DynamicArray() = default;
    explicit DynamicArray(Text text);
    explicit DynamicArray(TextView text) : DynamicArray(Text(text)) {}

    std::size_t Length() const { return text_.Length(); }  // in units
    Text ToText() const;
    void CopyTo(char16_t* target) const { text_.CopyTo(target); }  // exactly Length() units

    Text Extract(Position position) const;
    // Extract without a copy where the element lies in one piece; otherwise it is put into
    // `storage`. The view holds until this array or `storage` changes.
    TextView View(Position position, Text& storage) const;

    // `value` may hold marks. It must not be a view into this same array.
    void Replace(Position position, TextView value);
    // As Replace beyond the end and for an empty last element; otherwise the element at the
    // position and those after it move up by one. {0, 0, 0} inserts before the first attribute.
    void Insert(Position position, TextView value);
    // Takes the element out together with one mark. No change for what is not there.
    void Delete(Position position);

    // Searches the attributes of the record (attribute 0), the values of an attribute (value 0) or
    // the subvalues of a value for an element equal to `search`. See locate.h for orders and
    // answers.
    LocateResult Locate(TextView search,
                        std::int32_t attribute,
                        std::int32_t value,
                        SortOrder order) const;

    // Parts of the addressed element between delimiters: 0 for "", otherwise delimiters plus one.
    // An empty delimiter counts units.
    std::size_t Dcount(TextView delimiter, Position position, Overlap overlap = Overlap::kNo) const;

private:
    using Levels = std::array<std::int32_t, 3>;

    struct Place {
        Levels positions{};
        std::size_t depth = 0;  // levels addressed: 1 to 3
        std::size_t level = 0;  // level the walk ended at; depth - 1 when found
        bool found = false;
        Cursor enclosing;         // start of the element around `at`'s level
        Cursor at;                // start of the element, or the end of its enclosing element
        std::size_t missing = 0;  // marks lacking before the element, when not found
    };

    // Where the last search at each level came to; lets a sequence of positions go on from there.
    struct Finger {
        std::int32_t position = 0;
        Cursor start;
    };

    static Place Addressed(Position position);
    void Walk(Place& place) const;
    void Fill(const Place& place, TextView value);
    void Splice(Cursor from, Cursor to, TextView text, std::size_t level);
    bool ElementRange(Position position, Cursor& from, Cursor& to) const;
    void RequireRoom(std::size_t more) const;

    MarkedText text_;
    mutable std::array<Finger, 3> fingers_;
    mutable std::size_t fingerCount_ = 0;  // fingers_[0 .. fingerCount_) are good
};

}  // namespace kel::text
