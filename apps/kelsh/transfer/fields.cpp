// Fields by number, and values as they are.
#include "apps/kelsh/transfer/fields.h"

#include <algorithm>

#include "apps/binding/letters.h"
#include "hosts/multivalue/text/dynamic_array.h"

namespace kel::transfer {

namespace {

constexpr int kDistance = binding::kFirstPrivate - binding::kFirstLetter;

}  // namespace

Text ElementToShown(TextView stored) {
    Text shown = binding::LettersToShown(stored);
    for (std::size_t i = 0; i < shown.size(); ++i) {
        if (stored[i] == kTextMark || stored[i] == kItemMark) {
            shown[i] = static_cast<char16_t>(stored[i] + kDistance);
        }
    }
    return shown;
}

Text ElementToStored(TextView shown) {
    Text stored = binding::LettersToStored(shown);
    for (std::size_t i = 0; i < stored.size(); ++i) {
        if (shown[i] == kTextMark + kDistance || shown[i] == kItemMark + kDistance) {
            stored[i] = static_cast<char16_t>(shown[i] - kDistance);
        }
    }
    return stored;
}

Text TransferFields::ToStored(const TransferField& /*field*/, TextView shown) {
    return Text(shown);
}

Text TransferFields::ToShown(const TransferField& /*field*/, TextView stored) {
    return Text(stored);
}

Text TransferFields::Stored(const TransferField& field, TextView id, TextView record) {
    if (field.attribute == 0) {
        return Text(id);
    }
    return DynamicArray(record).Extract({field.attribute, 0, 0});
}

std::optional<TransferField> NumberedFields::Find(TextView column) {
    TransferField field;
    field.column = column;
    if (column == u"@ID") {
        field.values = Values::kOne;
        return field;
    }
    constexpr std::size_t kMostDigits = 7;
    if (column.empty() || column.size() > kMostDigits || column.front() == u'0' ||
        !std::all_of(column.begin(), column.end(), [](char16_t unit) {
            return unit >= u'0' && unit <= u'9';
        })) {
        return std::nullopt;
    }
    for (const char16_t digit : column) {
        field.attribute = field.attribute * 10 + (digit - u'0');
    }
    return field;
}

}  // namespace kel::transfer
