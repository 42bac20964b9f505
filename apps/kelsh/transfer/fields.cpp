#include "apps/kelsh/transfer/fields.h"

#include <algorithm>

#include "hosts/multivalue/text/dynamic_array.h"

namespace kel::transfer {

namespace {

constexpr char16_t kFirstStored = u'\xF8FB';
constexpr char16_t kLastStored = u'\xF8FF';
constexpr int kDistance = kFirstStored - kTextMark;

Text Moved(TextView text, char16_t first, char16_t last, int distance) {
    Text moved(text);
    for (char16_t& unit : moved) {
        if (unit >= first && unit <= last) {
            unit = static_cast<char16_t>(unit + distance);
        }
    }
    return moved;
}

}  // namespace

Text LettersToStored(TextView shown) {
    return Moved(shown, kTextMark, kItemMark, kDistance);
}

Text LettersToShown(TextView stored) {
    return Moved(stored, kFirstStored, kLastStored, -kDistance);
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
    constexpr std::size_t kMostDigits = 4;
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
