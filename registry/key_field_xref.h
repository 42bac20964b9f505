// The cross-reference of key fields to sessions and file names.
#pragma once

#include <unordered_map>
#include <vector>

#include "automation/text.h"

namespace kel::registry {

using automation::Text;
using automation::TextView;

// A growable table of rows, index 0 to upper(). Rows are never removed or moved, only blanked and
// reused, so an index stays valid; whoever walks the table while client code may run reads each row
// anew. Look-ups take the first row and ignore case. One thread.
class KeyFieldXRef {
public:
    struct Row {
        Text keyField;  // as the client first gave it; "" marks a free row
        Text session;   // as given; "" for none
        Text fileName;  // as given; "" for none
        // The lower-case forms that look-ups compare.
        Text keyFieldKey;
        Text sessionKey;
    };

    // Makes the first rows; later calls change nothing.
    void prepare();

    // Highest valid index; -1 until prepared.
    long upper() const noexcept { return static_cast<long>(rows_.size()) - 1; }
    const Row& row(long index) const { return rows_[static_cast<std::size_t>(index)]; }

    // The first row of a key field, or null. The key field named "" has the first row without a
    // name, as long as no other takes that row.
    const Row* find(TextView keyField) const;

    // Write one field of the key field's row, which is made when there is none. A table that has
    // reached 32767 rows takes no further key field.
    void setSession(TextView keyField, TextView session);
    void setFileName(TextView keyField, TextView fileName);

    // Rewrite one field of a row that is there.
    void renameKeyField(long index, TextView keyField);
    void renameSession(long index, TextView session);

    // Blanks every row of a key field.
    void remove(TextView keyField);

private:
    static constexpr std::size_t kNone = SIZE_MAX;

    // The first row without a name, the free one that is used next.
    std::size_t firstBlankRow() const;
    // Index of the first row of a key field, by lower-case name.
    std::size_t firstRow(const Text& key) const;
    Row& rowToSet(TextView keyField);

    std::vector<Row> rows_;
    // The first row of each key field; made anew at the next look-up after a row was renamed or
    // blanked, which is rare.
    mutable std::unordered_map<Text, std::size_t> firstRows_;
    mutable bool isIndexed_ = true;
};

}  // namespace kel::registry
