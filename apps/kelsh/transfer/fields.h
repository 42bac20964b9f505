// What a transfer knows of columns: which place of a record a column means, and how values look
// outside. A dictionary stands behind this where there is one; NumberedFields does without.
#pragma once

#include <cstdint>
#include <optional>

#include "hosts/multivalue/text/text.h"

namespace kel::transfer {

using namespace text;

// How many values a field has.
enum class Values {
    kOne,     // a cell is one value, whatever it holds
    kMany,    // a cell is parted; written as an array even for one value
    kAsFound  // a cell is parted; written as an array when there are several values
};

struct TransferField {
    Text column;                 // its name outside
    std::int32_t attribute = 0;  // 0: the record's id; below 0: computed, cannot be imported
    Values values = Values::kAsFound;
    bool isNumber = false;  // written without quotes in JSON where the text is a number
};

// An element on its way out and in: letters as in binding/letters.h. The two marks that an element
// may hold (251 and 255) trade places with the codes of their letters, so that each comes back.
Text ElementToShown(TextView stored);
Text ElementToStored(TextView shown);

class TransferFields {
public:
    virtual ~TransferFields() = default;

    // Nothing: there is no such column.
    virtual std::optional<TransferField> Find(TextView column) = 0;

    // One value (or subvalue) on its way in and out. ToStored throws Error for one that cannot be
    // converted; the transfer says where it stands. As they are, unless overridden.
    virtual Text ToStored(const TransferField& field, TextView shown);
    virtual Text ToShown(const TransferField& field, TextView stored);

    // What a record has in a field, with marks: the attribute (or the id), unless overridden for
    // computed fields.
    virtual Text Stored(const TransferField& field, TextView id, TextView record);
};

// Columns "@ID" (the id), "1", "2" ... up to 9999999 (the attributes), and values as they are.
class NumberedFields final : public TransferFields {
public:
    std::optional<TransferField> Find(TextView column) override;
};

}  // namespace kel::transfer
