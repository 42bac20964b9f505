// The table of key fields, their sessions and files.
#include "registry/key_field_xref.h"

#include <algorithm>
#include <limits>

#include "automation/error.h"

namespace kel::registry {
namespace {

constexpr std::size_t kFirstRows = 11;
constexpr std::size_t kGrowth = 10;
// Row numbers are counted in 16 bits.
constexpr std::size_t kMostRows = std::numeric_limits<short>::max();

}  // namespace

void KeyFieldXRef::prepare() {
    if (rows_.empty()) {
        rows_.resize(kFirstRows);
    }
}

const KeyFieldXRef::Row* KeyFieldXRef::find(TextView keyField) const {
    const std::size_t found = firstRow(automation::Lower(keyField));
    return found != kNone ? &rows_[found] : nullptr;
}

std::size_t KeyFieldXRef::firstRow(const Text& key) const {
    if (!isIndexed_) {
        firstRows_.clear();
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            if (!rows_[i].keyField.empty()) {
                firstRows_.emplace(rows_[i].keyFieldKey, i);
            }
        }
        isIndexed_ = true;
    }
    if (key.empty()) {
        return firstBlankRow();
    }
    const auto found = firstRows_.find(key);
    return found != firstRows_.end() ? found->second : kNone;
}

std::size_t KeyFieldXRef::firstBlankRow() const {
    const auto blank = std::find_if(
        rows_.begin(), rows_.end(), [](const Row& row) { return row.keyField.empty(); });
    return blank != rows_.end() ? static_cast<std::size_t>(blank - rows_.begin()) : kNone;
}

KeyFieldXRef::Row& KeyFieldXRef::rowToSet(TextView keyField) {
    const Text key = automation::Lower(keyField);
    std::size_t at = firstRow(key);
    if (at == kNone) {
        at = firstBlankRow();
        if (at == kNone) {
            at = rows_.size();
            if (at >= kMostRows) {
                throw automation::Error(automation::kOverflow);
            }
            rows_.resize(at + kGrowth);
        }
        if (!key.empty()) {
            isIndexed_ = false;  // until all is done: memory may fail
            rows_[at].keyField = keyField;
            rows_[at].keyFieldKey = key;
            firstRows_.emplace(key, at);
            isIndexed_ = true;
        }
    }
    return rows_[at];
}

void KeyFieldXRef::setSession(TextView keyField, TextView session) {
    Row& row = rowToSet(keyField);
    row.session = session;
    row.sessionKey = automation::Lower(session);
}

void KeyFieldXRef::setFileName(TextView keyField, TextView fileName) {
    rowToSet(keyField).fileName = fileName;
}

void KeyFieldXRef::renameKeyField(long index, TextView keyField) {
    Row& row = rows_[static_cast<std::size_t>(index)];
    isIndexed_ = false;
    row.keyField = keyField;
    row.keyFieldKey = automation::Lower(keyField);
}

void KeyFieldXRef::renameSession(long index, TextView session) {
    Row& row = rows_[static_cast<std::size_t>(index)];
    row.session = session;
    row.sessionKey = automation::Lower(session);
}

void KeyFieldXRef::remove(TextView keyField) {
    const Text key = automation::Lower(keyField);
    isIndexed_ = false;
    for (Row& row : rows_) {
        if (row.keyFieldKey == key) {
            row = Row();
        }
    }
}

}  // namespace kel::registry
