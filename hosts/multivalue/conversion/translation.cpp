// T{DICT }file;c{n};i;o: the value is the id of a record in another file, and comes out as one of
// its fields: field o on output, field i on input.
#include <utility>

#include "hosts/multivalue/conversion/codes.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/text/dynamic_array.h"

namespace kel::conversion {

namespace {

struct TranslationCode {
    TextView file;
    bool isDictionary = false;
    char16_t control = u'\0';
    int value = 0;  // which value of the field; 0: all
    std::optional<int> field;
};

// In any case, as all letters of codes.
bool StartsWithDict(TextView file) {
    return file.size() > kDictionaryPrefix.size() &&
           std::equal(kDictionaryPrefix.begin(),
                      kDictionaryPrefix.end(),
                      file.begin(),
                      [](char16_t wanted, char16_t unit) { return wanted == UpperAscii(unit); });
}

std::optional<TranslationCode> ParseTranslation(TextView text, Direction direction) {
    TranslationCode code;
    const std::size_t end = text.find(u';');
    code.file = text.substr(0, end);
    code.isDictionary = StartsWithDict(code.file);
    if (code.isDictionary) {
        code.file.remove_prefix(kDictionaryPrefix.size());
    }
    CodeReader reader(text.substr(end + 1));
    code.control = reader.Peek();
    if (code.file.empty() || !IsLetter(code.control)) {
        return std::nullopt;
    }
    reader.Next();
    code.value = reader.TakeNumber().value_or(0);
    std::optional<int> input;
    std::optional<int> output;
    if (reader.Take(u';')) {
        input = reader.TakeNumber();
        if (reader.Take(u';')) {
            output = reader.TakeNumber();
        }
    }
    code.field = direction == Direction::kIn ? input : output;
    return reader.AtEnd() ? std::optional(code) : std::nullopt;
}

// Lower marks would make elements of their own out of one: people see blanks.
void AppendWithBlanks(Text& out, TextView field) {
    for (char16_t unit : field) {
        out.push_back(unit == kValueMark || unit == kSubvalueMark || unit == kTextMark ? u' '
                                                                                       : unit);
    }
}

}  // namespace

Outcome ConvertTranslation(const Element& element, TextView code, Text& out) {
    const std::optional<TranslationCode> parsed = ParseTranslation(code, element.direction);
    if (!parsed) {
        return ConversionStatus::kBadCode;
    }
    if (element.value.empty()) {
        return ConversionStatus::kGood;
    }
    if (!parsed->field) {
        out.append(element.value);  // nothing to translate in this direction
        return ConversionStatus::kGood;
    }
    Text field;
    std::optional<Text> record =
        element.environment.ReadRecord(parsed->file, parsed->isDictionary, element.value);
    if (record) {
        field = *parsed->field == 0
                    ? Text(element.value)
                    : DynamicArray(std::move(*record)).Extract({*parsed->field, parsed->value, 0});
    }
    const bool isIn = element.direction == Direction::kIn;
    const bool mustExist = parsed->control == u'V' || (parsed->control == u'I' && isIn) ||
                           (parsed->control == u'O' && !isIn);
    const bool isOriginal = parsed->control == u'C' || (parsed->control == u'I' && !isIn) ||
                            (parsed->control == u'O' && isIn);
    if (field.empty() && mustExist) {
        return ConversionStatus::kBadValue;
    }
    if (field.empty() && isOriginal) {
        out.append(element.value);
    } else {
        AppendWithBlanks(out, field);
    }
    return ConversionStatus::kGood;
}

}  // namespace kel::conversion
