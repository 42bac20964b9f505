// Tests records, and values of theirs, against conditions.
#include "hosts/multivalue/query/conditions.h"

#include <algorithm>

#include "hosts/multivalue/query/index_fields.h"
#include "hosts/multivalue/text/ascii.h"
#include "hosts/multivalue/text/functions.h"
#include "hosts/multivalue/text/mark_scan.h"
#include "hosts/multivalue/text/pattern.h"

namespace kel::query {

namespace {

int Sign(std::ptrdiff_t difference) {
    return difference < 0 ? -1 : difference > 0 ? 1 : 0;
}

int CompareTexts(TextView left, TextView right, bool isRight) {
    if (isRight && left.size() != right.size()) {
        return left.size() < right.size() ? -1 : 1;
    }
    return Sign(left.compare(right));
}

// Two numbers by size, other text of a right-justified field the shorter first, any other by its
// units. Negative, zero or positive.
int CompareWith(TextView value, const Constant& constant, bool isRight) {
    if (constant.number) {
        if (const std::optional<Number> number = ComparedNumber(value)) {
            return Number::Compare(*number, *constant.number);
        }
    }
    return CompareTexts(value, constant.text, isRight);
}

bool SameUnits(TextView value, TextView mask) {
    return std::equal(
        value.begin(), value.end(), mask.begin(), mask.end(), [](char16_t unit, char16_t wanted) {
            return unit == wanted || wanted == u'^';
        });
}

bool IsOfWildcards(TextView value, const Constant& constant) {
    const TextView mask = constant.text;
    if (value.size() < mask.size()) {
        return false;
    }
    const std::size_t spare = value.size() - mask.size();
    switch (constant.part) {
        case Constant::Part::kWhole:
            return SameUnits(value, mask);
        case Constant::Part::kStart:
            return SameUnits(value.substr(0, mask.size()), mask);
        case Constant::Part::kEnd:
            return SameUnits(value.substr(spare), mask);
        default:
            for (std::size_t at = 0; at <= spare; ++at) {
                if (SameUnits(value.substr(at, mask.size()), mask)) {
                    return true;
                }
            }
            return false;
    }
}

// Soundex as the US National Archives describe it for their census indexes: the first letter, then
// a digit for each group of consonants that sound alike. It differs in two things: H and W part
// equal digits as vowels do, and a short code is not filled up with zeros.
Text SoundOf(TextView text) {
    constexpr TextView kGroups = u"01230120022455012623010202";  // of A to Z; 0 is not heard
    constexpr std::size_t kLength = 4;
    Text sound;
    char16_t last = u'0';
    for (const char16_t unit : text) {
        const char16_t upper = UpperAscii(unit);
        if (!IsLetter(upper) || sound.size() == kLength) {
            continue;
        }
        const char16_t group = kGroups[static_cast<std::size_t>(upper - u'A')];
        if (sound.empty()) {
            sound.push_back(upper);
        } else if (group != u'0' && group != last) {
            sound.push_back(group);
        }
        last = group;
    }
    return sound;
}

bool PassesConstant(Comparison comparison, TextView value, const Constant& constant, bool isRight) {
    switch (comparison) {
        case Comparison::kLike:
        case Comparison::kUnlike:
            return Matches(value, constant.text) == (comparison == Comparison::kLike);
        case Comparison::kSounds:
            return SoundOf(value) == SoundOf(constant.text);
        default:
            break;
    }
    if (constant.part != Constant::Part::kWhole || constant.anyUnits) {
        return IsOfWildcards(value, constant) == (comparison == Comparison::kEqual);
    }
    const int order = CompareWith(value, constant, isRight);
    switch (comparison) {
        case Comparison::kEqual:
            return order == 0;
        case Comparison::kUnequal:
            return order != 0;
        case Comparison::kLess:
            return order < 0;
        case Comparison::kGreater:
            return order > 0;
        case Comparison::kLessOrEqual:
            return order <= 0;
        default:
            return order >= 0;
    }
}

// The values of a field one after the other; with one value by definition, that.
class Values {
public:
    Values(TextView text, bool isMultivalued) : rest_(text), isMultivalued_(isMultivalued) {}

    bool More() const { return !ended_; }
    TextView Next() {
        const std::size_t end =
            isMultivalued_ ? FindInRange(rest_.data(), rest_.size(), {kSubvalueMark, kValueMark})
                           : rest_.size();
        const TextView value = rest_.substr(0, end);
        ended_ = end == rest_.size();
        rest_.remove_prefix(ended_ ? end : end + 1);
        return value;
    }

private:
    TextView rest_;
    bool isMultivalued_;
    bool ended_ = false;
};

}  // namespace

bool ConditionEvaluator::HoldsNode(std::uint32_t node, const ValuePosition* position) {
    const Condition::Node& top = condition_.nodes[node];
    switch (top.kind) {
        case Condition::Kind::kTest:
            return HoldsTest(condition_.tests[top.left], position);
        case Condition::Kind::kAnd:
            return HoldsNode(top.left, position) && HoldsNode(top.right, position);
        default:
            return HoldsNode(top.left, position) || HoldsNode(top.right, position);
    }
}

bool ConditionEvaluator::HoldsTest(const Test& test, const ValuePosition* position) {
    const DictionaryItem& item = test.field->Item();
    const bool atPosition = position != nullptr && item.multivalued;
    const ValuePosition where = atPosition ? *position : ValuePosition{};
    TextView text;
    const bool isPattern =
        test.comparison == Comparison::kLike || test.comparison == Comparison::kUnlike;
    if (isPattern && !item.conversion.empty()) {
        external_ = fields_.External(*test.field, where);  // patterns are about what people see
        text = external_;
    } else {
        text = fields_.Internal(*test.field, where);
    }
    Values values(text, item.multivalued);
    Values others(test.other != nullptr ? fields_.Internal(*test.other, where) : TextView(),
                  test.other != nullptr && item.multivalued && test.other->Item().multivalued);
    TextView other;
    bool holds = test.every;
    while (values.More() && holds == test.every) {
        const TextView value = values.Next();
        // The values of two fields are compared in pairs; a field of one value stands for every.
        if (others.More()) {
            other = others.Next();
        } else if (test.other != nullptr && test.other->Item().multivalued) {
            other = {};
        }
        holds = Passes(test, value, other);
    }
    return holds != test.negated;
}

bool ConditionEvaluator::Passes(const Test& test, TextView value, TextView other) {
    if (test.comparison == Comparison::kPresent) {
        return !value.empty();
    }
    const bool isRight = test.field->Item().justification == u'R';
    const auto upper = [](TextView text, Text& out) {
        out.clear();
        AppendUpper(text, out);
        return TextView(out);
    };
    if (test.ignoresCase) {
        value = upper(value, upper_);
    }
    if (test.other != nullptr) {
        Constant constant;
        constant.text = other;
        if (test.ignoresCase) {
            upper(other, constant.text);
        }
        constant.number = ComparedNumber(other);
        return PassesConstant(test.comparison, value, constant, isRight);
    }
    if (test.comparison == Comparison::kBetween) {
        return PassesConstant(
                   Comparison::kGreaterOrEqual, value, test.constants.front(), isRight) &&
               PassesConstant(Comparison::kLessOrEqual, value, test.constants.back(), isRight);
    }
    const auto passes = [&](const Constant& constant) {
        return PassesConstant(test.comparison, value, constant, isRight);
    };
    const bool isNegative =
        test.comparison == Comparison::kUnequal || test.comparison == Comparison::kUnlike;
    return isNegative ? std::all_of(test.constants.begin(), test.constants.end(), passes)
                      : std::any_of(test.constants.begin(), test.constants.end(), passes);
}

}  // namespace kel::query
