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

// A description is two letters, those of the settings of a session that the values depend on, then
// the compiled field.
constexpr char16_t kRight = u'R';
constexpr char16_t kLeft = u'L';
constexpr char16_t kMany = u'M';
constexpr char16_t kOne = u'S';
constexpr std::size_t kLetters = 2;
constexpr char16_t kMonthFirst = u'm';
constexpr char16_t kDayFirst = u'd';
constexpr char16_t kUni = u'u';
constexpr char16_t kR83 = u'r';

// What the values of a field depend on besides the record and constants.
struct Dependence {
    bool onDateOrder = false;
    bool onFamily = false;
    bool onMore = false;  // other files, programs, the clock, what else a sentence shows
};

// One of the codes of a conversion.
void AddCode(TextView code, Operation operation, Dependence& dependence) {
    if (code.empty()) {
        return;
    }
    switch (UpperAscii(code[0])) {
        case u'D':
            dependence.onDateOrder = true;
            // An entry without a year is of the current one.
            dependence.onMore = dependence.onMore || operation == Operation::kInput;
            return;
        case u'T':
            // With digits behind it takes a part of the text, otherwise it reads another file.
            dependence.onMore = dependence.onMore || code.size() < 2 || !IsDigit(code[1]) ||
                                code.find(u';') != TextView::npos;
            return;
        case u'M':
            dependence.onFamily =
                dependence.onFamily || (code.size() > 1 && UpperAscii(code[1]) == u'X');
            return;
        default:
            return;
    }
}

void AddConversion(const CompiledExpression& compiled,
                   const OperationNode& node,
                   Dependence& dependence) {
    const OperationNode& code = compiled.nodes[compiled.children[node.firstChild + 1]];
    if (code.operation != Operation::kConstant) {
        dependence.onMore = true;  // the code may be any
        return;
    }
    TextView rest = compiled.texts[code.text];
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(kValueMark), rest.size());
        AddCode(rest.substr(0, end), node.operation, dependence);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

Dependence DependenceOf(const CompiledExpression& compiled) {
    Dependence dependence;
    for (const OperationNode& node : compiled.nodes) {
        switch (node.operation) {
            case Operation::kTranslate:
            case Operation::kCall:
            case Operation::kToday:
            case Operation::kNow:
            case Operation::kItemCounter:
            case Operation::kBreakLevel:
                dependence.onMore = true;
                break;
            case Operation::kParts:
            case Operation::kCount:
                dependence.onFamily = true;
                break;
            case Operation::kOutput:
            case Operation::kInput:
            case Operation::kFormat:
                AddConversion(compiled, node, dependence);
                break;
            default:
                break;
        }
    }
    return dependence;
}

// The settings that an index was made with, whatever those of the session are that keeps it.
class IndexEnvironment : public Environment {
public:
    IndexEnvironment(TextView settings, Environment& session)
        : session_(session),
          family_(settings.find(kR83) != TextView::npos   ? Family::kR83
                  : settings.find(kUni) != TextView::npos ? Family::kUni
                                                          : session.OwnFamily()),
          dateOrder_(settings.find(kDayFirst) != TextView::npos     ? DateOrder::kDayFirst
                     : settings.find(kMonthFirst) != TextView::npos ? DateOrder::kMonthFirst
                                                                    : session.OwnDateOrder()) {}

    Family OwnFamily() const override { return family_; }
    DateOrder OwnDateOrder() const override { return dateOrder_; }
    std::int32_t Today() const override { return session_.Today(); }
    std::int32_t SecondOfDay() const override { return session_.SecondOfDay(); }
    std::optional<Text> ReadRecord(TextView file, bool dictionary, TextView id) override {
        return session_.ReadRecord(file, dictionary, id);
    }
    Text FieldOfRecord(std::int32_t number) override { return session_.FieldOfRecord(number); }
    void CallProgram(TextView name, std::vector<Text>& arguments) override {
        session_.CallProgram(name, arguments);
    }

private:
    Environment& session_;
    const Family family_;
    const DateOrder dateOrder_;
};

// The letters of settings in a description.
TextView SettingsOf(TextView description) {
    const std::size_t end = std::min(description.find(kCompiledPrefix), description.size());
    return description.substr(kLetters, std::max(end, kLetters) - kLetters);
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
    const Dependence dependence = DependenceOf(compiled);
    if (dependence.onMore) {
        return std::nullopt;
    }
    Text description = {item.justification == u'R' ? kRight : kLeft,
                        item.multivalued ? kMany : kOne};
    if (dependence.onDateOrder) {
        const bool dayFirst = environment.OwnDateOrder() == DateOrder::kDayFirst;
        description.push_back(dayFirst ? kDayFirst : kMonthFirst);
    }
    if (dependence.onFamily) {
        description.push_back(environment.OwnFamily() == Family::kR83 ? kR83 : kUni);
    }
    return description.append(WriteExpression(compiled));
}

struct FieldIndexKeys::Compiled {
    Compiled(TextView description, Environment& session)
        : isRight(description[0] == kRight),
          isMultivalued(description[1] == kMany),
          environment(std::make_unique<IndexEnvironment>(SettingsOf(description), session)),
          evaluator(ReadExpression(description.substr(kLetters + SettingsOf(description).size())),
                    *environment) {}

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
    std::unique_ptr<Environment> environment;
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
