// Indexes over fields: what is kept of a field when an index is made, and which keys its records
// have then.
//
// The description of an index is the field as it was compiled when the index was made, so the keys
// do not change with the dictionary. Where the values depend on the session's order of dates or
// family, the description says with which they are computed, in whatever session. A query uses an
// index only while the dictionary and the settings of its session compile to the same description.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/expression/dictionary.h"
#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/store/store.h"
#include "hosts/multivalue/text/text.h"

namespace kel::query {

// The number that a value is for comparisons, sorting and indexes alike.
std::optional<Number> ComparedNumber(TextView value);

// The key that sorts a value of a right-justified field: an empty value as 0, numbers by value,
// then other text, the shorter first.
Text NumericSortKey(TextView value);
bool IsNumberKey(TextView key);
inline constexpr TextView kNumberKeys = u"N";  // what the keys of numbers begin with ...
inline constexpr TextView kOtherKeys = u"T";   // ... and those of other text

// Left-justified fields: every value has a key of its text behind this prefix. A value that is a
// number has its number key besides, so that 1.50 is found by 1.5.
inline constexpr TextView kPlainKeys = u"X";
Text PlainKey(TextView value);

// The description for an index over a field. Empty when the field cannot have one: its values
// depend on more than the record.
std::optional<Text> IndexDescription(const DictionaryItem& item,
                                     TextView file,
                                     Environment& environment);

class FieldIndexKeys : public IndexKeys {
public:
    explicit FieldIndexKeys(Environment& environment);
    ~FieldIndexKeys() override;

    void KeysOf(FileNumber file,
                TextView description,
                TextView id,
                TextView record,
                std::vector<Text>& keys) override;

private:
    struct Compiled;

    Environment& environment_;
    std::map<Text, std::unique_ptr<Compiled>, std::less<>> compiled_;
};

}  // namespace kel::query
