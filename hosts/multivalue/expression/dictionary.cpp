// Reads dictionary items of both families, writes them back, finds them by name.
#include "hosts/multivalue/expression/dictionary.h"

#include <algorithm>

#include "hosts/multivalue/expression/correlative.h"
#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/text/ascii.h"
#include "hosts/multivalue/text/dynamic_array.h"
#include "hosts/multivalue/text/functions.h"
#include "hosts/multivalue/text/record_fields.h"

namespace kel::expression {

namespace {

bool IsJustification(char16_t unit) {
    return unit == u'L' || unit == u'R' || unit == u'T' || unit == u'U';
}

std::int32_t NumberIn(TextView text) {
    return std::max(Number::OrZero(text).ToPosition(), 0);
}

// 10L, 8R2, 12*R and the like: width, perhaps a fill character, justification, then the rest.
void ReadFormat(TextView format, DictionaryItem& item) {
    std::size_t at = 0;
    while (at < format.size() && IsDigit(format[at])) {
        ++at;
    }
    if (at > 0) {
        item.width = NumberIn(format.substr(0, at));
    }
    const Text rest = Upper(format.substr(at, 2));
    for (const char16_t unit : rest) {
        if (IsJustification(unit)) {
            item.justification = unit;
            break;
        }
    }
}

void ReadUniItem(RecordFields& record, bool isExpression, DictionaryItem& item) {
    if (isExpression) {
        item.correlative = Text(kExpressionPrefix) + Text(record.Attribute(2));
    } else {
        item.attribute = NumberIn(record.Attribute(2));
    }
    item.conversion = record.Attribute(3);
    item.heading = record.Attribute(4);
    item.format = record.Attribute(5);
    ReadFormat(item.format, item);
    const TextView depth = record.Attribute(6);
    item.multivalued = !depth.empty() && (depth[0] == u'M' || depth[0] == u'm');
    item.association = record.Attribute(7);
}

void ReadR83Item(RecordFields& record, DictionaryItem& item) {
    item.attribute = NumberIn(record.Attribute(2));
    item.heading = record.Attribute(3);
    item.association = record.Attribute(4);
    item.conversion = record.Attribute(7);
    item.correlative = record.Attribute(8);
    const Text justification = Upper(record.Attribute(9).substr(0, 1));
    if (!justification.empty() && IsJustification(justification[0])) {
        item.justification = justification[0];
    }
    const TextView width = record.Attribute(10);
    if (!width.empty()) {
        item.width = NumberIn(width);
    }
}

DictionaryItem AttributeItem(std::int32_t attribute, Text heading) {
    DictionaryItem item;
    item.attribute = attribute;
    item.heading = std::move(heading);
    item.multivalued = false;
    return item;
}

// What every file has: its ids, and its attributes by number.
std::optional<DictionaryItem> FindBuiltIn(Family family, TextView upperName) {
    if (upperName == u"@ID") {
        return AttributeItem(0, Text(upperName));
    }
    TextView digits = upperName;
    if (family == Family::kUni) {
        if (digits.empty() || digits[0] != u'F') {
            return std::nullopt;
        }
        digits.remove_prefix(1);
    }
    constexpr std::size_t kMaxDigits = 9;
    if (digits.empty() || digits.size() > kMaxDigits ||
        !std::all_of(digits.begin(), digits.end(), IsDigit)) {
        return std::nullopt;
    }
    return AttributeItem(NumberIn(digits), Text(upperName));
}

Text JustificationOf(const DictionaryForm& form) {
    const Text unit = Upper(TextView(form.justification).substr(0, 1));
    return !unit.empty() && IsJustification(unit[0]) ? unit : Text(u"L");
}

Text DecimalText(std::int32_t number) {
    Text text;
    Number(std::max(number, 0)).AppendTo(text);
    return text;
}

// Kept as it is where it already says what the form says, since it may say more.
Text FormatOf(const DictionaryForm& form, const DictionaryItem& existing) {
    const Text justification = JustificationOf(form);
    if (!existing.format.empty() && existing.width == form.width &&
        existing.justification == justification[0]) {
        return existing.format;
    }
    return DecimalText(form.width) + justification;
}

char16_t KindLetter(TextView record) {
    const Text letter = Upper(record.substr(0, 1));
    return letter.empty() ? u'\0' : letter[0];
}

}  // namespace

DictionaryItem ReadDictionaryItem(TextView record) {
    RecordFields fields(record);
    DictionaryItem item;
    const Text type = Upper(ElementOf(fields.Attribute(1), kValueMark, 1));
    // A description may follow the type: "D Name of the customer".
    const TextView word = TextView(type).substr(0, std::min(type.find(u' '), type.size()));
    if (word == u"D" || word == u"I") {
        ReadUniItem(fields, word == u"I", item);
    } else if (word == u"A" || word == u"S") {
        ReadR83Item(fields, item);
    } else if (word == u"PH") {
        item.kind = DictionaryItem::Kind::kPhrase;
        item.phrase = fields.Attribute(2);
    } else {
        item.kind = DictionaryItem::Kind::kOther;
    }
    return item;
}

DictionaryForm FormOf(const DictionaryItem& item) {
    return {item.attribute,
            item.conversion,
            item.heading,
            Text(1, item.justification),
            item.correlative,
            item.width};
}

Text WriteDictionaryItem(const DictionaryForm& form, Family family, TextView existing) {
    const bool isExpression = form.correlative.starts_with(kExpressionPrefix);
    const bool uniKind = isExpression || (family == Family::kUni && form.correlative.empty());
    const DictionaryItem old = ReadDictionaryItem(existing);
    const bool oldIsField = old.kind == DictionaryItem::Kind::kField;
    const char16_t oldLetter = KindLetter(existing);
    const bool oldUniKind = oldLetter == u'D' || oldLetter == u'I';
    const bool sameLayout = oldIsField && uniKind == oldUniKind;
    DynamicArray record(sameLayout ? existing : TextView());
    const auto set = [&record](std::int32_t attribute, TextView value) {
        record.Replace({attribute, 0, 0}, value);
    };
    if (uniKind) {
        const char16_t letter = isExpression ? u'I' : u'D';
        Text type(1, letter);
        if (sameLayout) {
            type.append(RecordFields(existing).Attribute(1).substr(1));
        }
        set(1, type);
        set(2,
            isExpression ? form.correlative.substr(kExpressionPrefix.size())
                         : DecimalText(form.attribute));
        set(3, form.conversion);
        set(4, form.heading);
        set(5, FormatOf(form, old));
        if (!sameLayout) {
            set(6, u"M");
        }
    } else {
        if (!sameLayout) {
            set(1, u"A");
        }
        set(2, DecimalText(form.attribute));
        set(3, form.heading);
        set(7, form.conversion);
        set(8, form.correlative);
        set(9, JustificationOf(form));
        set(10, DecimalText(form.width));
    }
    return record.ToText();
}

std::optional<DictionaryItem> FindDictionaryItem(Environment& environment,
                                                 TextView file,
                                                 TextView name) {
    const Text upper = Upper(name);
    if (!file.empty() && !name.empty()) {
        std::optional<Text> record = environment.ReadRecord(file, true, name);
        if (!record && upper != name) {
            record = environment.ReadRecord(file, true, upper);
        }
        if (record) {
            DictionaryItem item = ReadDictionaryItem(*record);
            if (item.kind != DictionaryItem::Kind::kOther) {
                return item;
            }
        }
    }
    return FindBuiltIn(environment.OwnFamily(), upper);
}

}  // namespace kel::expression
