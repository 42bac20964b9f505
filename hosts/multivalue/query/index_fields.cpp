// What indexes over fields are described by, and the keys of records in them.
#include "hosts/multivalue/query/index_fields.h"

#include <algorithm>

#include "hosts/multivalue/expression/correlative.h"
#include "hosts/multivalue/expression/correlative_evaluator.h"
#include "hosts/multivalue/store/index_key.h"
#include "hosts/multivalue/text/ascii.h"
#include "hosts/multivalue/text/error.h"
#include "hosts/multivalue/text/mark_scan.h"

namespace kel::query {

namespace {

// Digits that an index key can have; a longer text is no number anywhere in queries.
constexpr std::size_t kMaxComparedUnits = 300;

// A description is two letters, then the compiled field.
constexpr char16_t kRight = u'R';
constexpr char16_t kLeft = u'L';
constexpr char16_t kMany = u'M';
constexpr char16_t kOne = u'S';
constexpr std::size_t kLetters = 2;

// A translation would have to be kept when the other file changes, a clock all the time.
bool DependsOnMore(const CompiledExpression& compiled) {
    constexpr Operation kOutside[] = {Operation::kTranslate,
                                      Operation::kCall,
                                      Operation::kToday,
                                      Operation::kNow,
                                      Operation::kItemCounter,
                                      Operation::kBreakLevel};
    const bool converts = compiled.Uses(Operation::kOutput) || compiled.Uses(Operation::kInput);
    return std::any_of(std::begin(kOutside),
                       std::end(kOutside),
                       [&](Operation operation) { return compiled.Uses(operation); }) ||
           (converts &&
            std::any_of(compiled.texts.begin(), compiled.texts.end(), [](const Text& text) {
                const bool isT = !text.empty() && (text[0] == u'T' || text[0] == u't');
                return isT && !(text.size() > 1 && IsDigit(text[1]));
            }));
}

}  // namespace

std::optional<Number> ComparedNumber(TextView value) {
    return value.size() <= kMaxComparedUnits ? Number::Parse(value) : std::nullopt;
}

Text NumericSortKey(TextView value) {
    const std::optional<Number> number = value.empty() ? Number() : ComparedNumber(value);
    if (!number) {
        // A text that only index_key.h takes for a number must not meet numbers.
        Text key = IndexKey(value, KeyOrder::kNumeric);
        return IsNumberKey(key) ? Text(kOtherKeys).append(value) : key;
    }
    Text plain;
    number->AppendTo(plain);
    return IndexKey(plain, KeyOrder::kNumeric);
}

bool IsNumberKey(TextView key) {
    return key.starts_with(kNumberKeys);
}

Text PlainKey(TextView value) {
    return Text(kPlainKeys).append(value);
}

std::optional<Text> IndexDescription(const DictionaryItem& item,
                                     TextView file,
                                     Environment& environment) {
    const CompiledExpression compiled = CompileItem(item, file, environment);
    if (DependsOnMore(compiled)) {
        return std::nullopt;
    }
    Text description = {item.justification == u'R' ? kRight : kLeft,
                        item.multivalued ? kMany : kOne};
    return description.append(WriteExpression(compiled));
}

struct FieldIndexKeys::Compiled {
    Compiled(TextView description, Environment& environment)
        : isRight(description[0] == kRight),
          isMultivalued(description[1] == kMany),
          evaluator(ReadExpression(description.substr(kLetters)), environment) {}

    void AddKeys(TextView value, std::vector<Text>& keys) const {
        Text number = isRight || ComparedNumber(value) ? NumericSortKey(value) : Text();
        if (!number.empty()) {
            keys.push_back(std::move(number));
        }
        if (!isRight) {
            keys.push_back(PlainKey(value));
        }
    }

    bool isRight;
    bool isMultivalued;
    CorrelativeEvaluator evaluator;
};

FieldIndexKeys::FieldIndexKeys(Environment& environment) : environment_(environment) {}

FieldIndexKeys::~FieldIndexKeys() = default;

void FieldIndexKeys::KeysOf(FileNumber /*file*/,
                            TextView description,
                            TextView id,
                            TextView record,
                            std::vector<Text>& keys) {
    auto known = compiled_.find(description);
    if (known == compiled_.end()) {
        if (description.size() < kLetters) {
            throw Error(ErrorKind::kDamaged, u"The description of an index is damaged.");
        }
        known =
            compiled_.emplace(description, std::make_unique<Compiled>(description, environment_))
                .first;
    }
    Compiled& field = *known->second;
    RecordFields fields(record);
    TextView value = field.evaluator.Evaluate({&fields, id, {}});
    if (!field.isMultivalued) {
        field.AddKeys(value, keys);
        return;
    }
    while (true) {
        const std::size_t end =
            FindInRange(value.data(), value.size(), {kSubvalueMark, kValueMark});
        field.AddKeys(value.substr(0, end), keys);
        if (end == value.size()) {
            return;
        }
        value.remove_prefix(end + 1);
    }
}

}  // namespace kel::query
