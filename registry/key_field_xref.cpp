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
    if (lastFound_ != kNone && automation::LowerEquals(keyField, rows_[lastFound_].keyFieldKey)) {
        return &rows_[lastFound_];
    }
    const Text key = automation::Lower(keyField);
    const auto found = std::find_if(
        rows_.begin(), rows_.end(), [&](const Row& row) { return row.keyFieldKey == key; });
    if (found == rows_.end()) {
        return nullptr;
    }
    lastFound_ = static_cast<std::size_t>(found - rows_.begin());
    return &*found;
}

KeyFieldXRef::Row& KeyFieldXRef::rowToSet(TextView keyField) {
    const Text key = automation::Lower(keyField);
    auto target = std::find_if(
        rows_.begin(), rows_.end(), [&](const Row& row) { return row.keyFieldKey == key; });
    if (target == rows_.end()) {
        const auto isFree = [](const Row& row) { return row.keyField.empty(); };
        target = std::find_if(rows_.begin(), rows_.end(), isFree);
        if (target == rows_.end()) {
            const std::size_t free = rows_.size();
            if (free >= kMostRows) {
                throw automation::Error(automation::kOverflow);
            }
            rows_.resize(free + kGrowth);
            target = rows_.begin() + static_cast<std::ptrdiff_t>(free);
        }
        lastFound_ = kNone;
        target->keyField = keyField;
        target->keyFieldKey = key;
    }
    return *target;
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
    lastFound_ = kNone;
    row.keyField = keyField;
    row.keyFieldKey = automation::Lower(keyField);
}

void KeyFieldXRef::renameSession(long index, TextView session) {
    Row& row = rows_[static_cast<std::size_t>(index)];
    row.session = session;
    row.sessionKey = automation::Lower(session);
}

void KeyFieldXRef::remove(TextView keyField) {
    lastFound_ = kNone;
    const Text key = automation::Lower(keyField);
    for (Row& row : rows_) {
        if (row.keyFieldKey == key) {
            row = Row();
        }
    }
}

}  // namespace kel::registry
