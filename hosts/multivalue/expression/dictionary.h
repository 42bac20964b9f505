// What a file's dictionary says about a field: where it is or how it is worked out, how it is
// shown.
//
// Dictionaries hold items of both families, whatever the account's own:
//
//     attribute   A, S                        D, I                            PH
//     1           A or S                      D or I, then any text           PH, then any text
//     2           attribute, 0 for the id     attribute, or the expression    names
//     3           heading                     conversion
//     4           association                 heading
//     5                                       format, such as 10L or 8R
//     6                                       S or M: one value or several
//     7           conversion                  name of the association
//     8           correlative
//     9, 10       justification, width
#pragma once

#include <cstdint>
#include <optional>

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/text/text.h"

namespace kel::expression {

// The prefix that tells an expression from the other correlatives.
inline constexpr TextView kExpressionPrefix = u"I;";

struct DictionaryItem {
    enum class Kind {
        kField,   // A, S, D, I
        kPhrase,  // PH: words that stand for the item's name in a sentence
        kOther,   // anything else a dictionary may hold; only `kind` counts
    };

    Kind kind = Kind::kField;
    std::int32_t attribute = 0;     // from 1; 0 is the record's id
    Text conversion;                // codes parted by value marks
    Text heading;                   // lines parted by value marks; "" for the item's own name
    Text correlative;               // as correlative.h reads it; an expression starts with "I;"
    char16_t justification = u'L';  // L, R, T (breaks between words) or U (runs over)
    std::int32_t width = 10;
    Text format;              // the D or I item's whole format; "" when the two above say it all
    bool multivalued = true;  // false: one value by definition
    Text association;         // as the item has it
    Text phrase;              // of a phrase
};

// The part of an item that a form knows and can write back.
struct DictionaryForm {
    std::int32_t attribute = 0;
    Text conversion;
    Text heading;
    Text justification;
    Text correlative;
    std::int32_t width = 0;
};

DictionaryItem ReadDictionaryItem(TextView record);

DictionaryForm FormOf(const DictionaryItem& item);

// The record for a form: an A item in an R83 account, a D item in a Uni account, but always of a
// kind that has room for the correlative: an I item for an expression, an A item for any other.
// What `existing`, the record to be replaced ("" if there is none), holds beyond the form stays
// where the kind allows it.
Text WriteDictionaryItem(const DictionaryForm& form, Family family, TextView existing);

// An item of the dictionary of `file`, by name: as it is written, then in capitals; then what every
// file has: @ID, the record's id; F1, F2 ... in a Uni account and 1, 2 ... in an R83 account, its
// attributes. Empty when there is nothing of the name. An empty `file` has the latter only. Raises
// what the environment raises; a file that is not there raises kNoSuchFile.
std::optional<DictionaryItem> FindDictionaryItem(Environment& environment,
                                                 TextView file,
                                                 TextView name);

}  // namespace kel::expression
