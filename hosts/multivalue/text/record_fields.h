// A record whose attributes are read, not changed: plain text as it comes from a scan, or a record
// somebody is working on. Finds as many attribute marks as were asked for and remembers them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hosts/multivalue/text/dynamic_array.h"
#include "hosts/multivalue/text/text.h"

namespace kel::text {

class RecordFields {
public:
    RecordFields() = default;
    explicit RecordFields(TextView record) { Read(record); }

    // What is read is borrowed until the next call and must not change meanwhile.
    void Read(TextView record);
    // Takes a copy of the record when something of it is asked for.
    void Read(const DynamicArray& record);

    // An attribute, from 1; "" past the end. Holds until the next Read.
    TextView Attribute(std::int32_t number);

    // The whole record. Holds until the next Read.
    TextView Whole();

private:
    const DynamicArray* array_ = nullptr;  // not yet copied to whole_
    Text whole_;
    TextView text_;
    std::vector<std::size_t> ends_;  // of the attributes in the part scanned so far
    std::size_t scanned_ = 0;        // past the size of text_: ends_ has the last
};

// The n-th element, from 1, of `text` at the level that `mark` parts; "" past the end.
TextView ElementOf(TextView text, char16_t mark, std::int32_t number);

}  // namespace kel::text
