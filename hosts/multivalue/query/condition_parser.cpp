// Parses WITH and WHEN into trees of tests.
#include "hosts/multivalue/query/condition_parser.h"

#include "hosts/multivalue/conversion/conversion.h"
#include "hosts/multivalue/query/index_fields.h"
#include "hosts/multivalue/text/functions.h"

namespace kel::query {

namespace {

constexpr int kMaxParentheses = 100;
constexpr std::size_t kMaxTests = 1000;

std::uint32_t Add(Condition& condition, Condition::Node node) {
    condition.nodes.push_back(node);
    return condition.Root();
}

// [ and ] at the ends, and ^ anywhere. Leaves the text without the brackets.
void ReadWildcards(Constant& constant) {
    Text& text = constant.text;
    const bool openStart = !text.empty() && text.front() == u'[';
    text.erase(0, openStart ? 1 : 0);
    const bool openEnd = !text.empty() && text.back() == u']';
    text.erase(text.size() - (openEnd ? 1 : 0));
    constant.anyUnits = text.find(u'^') != Text::npos;
    using Part = Constant::Part;
    constant.part = openStart ? (openEnd ? Part::kAnywhere : Part::kEnd)
                              : (openEnd ? Part::kStart : Part::kWhole);
}

bool IsOrder(Comparison comparison) {
    return comparison != Comparison::kEqual && comparison != Comparison::kUnequal;
}

}  // namespace

Condition::Kind ConditionParser::ImpliedJoint() const {
    return environment_.OwnFamily() == Family::kR83 ? Condition::Kind::kOr : Condition::Kind::kAnd;
}

bool ConditionParser::Wildcards() const {
    return options_.wildcards || environment_.OwnFamily() == Family::kR83;
}

void ConditionParser::Continue(Condition& condition,
                               Keyword clause,
                               std::optional<Condition::Kind> joint) {
    clause_ = clause;
    Sequence(
        condition, condition.Empty() ? kNoNode : condition.Root(), joint.value_or(ImpliedJoint()));
}

// Terms joined from left to right; with priority for AND, runs of AND are joined first.
ConditionParser::Node ConditionParser::Sequence(Condition& condition,
                                                Node left,
                                                Condition::Kind joint) {
    Node before = kNoNode;  // what stands in front of an OR that waits for its right side
    for (std::optional<Condition::Kind> next = joint; next; next = TakeJoint()) {
        if (options_.priorityAnd && *next == Condition::Kind::kOr && left != kNoNode) {
            if (before != kNoNode) {
                left = Add(condition, {Condition::Kind::kOr, before, left});
            }
            before = left;
            left = kNoNode;
        }
        const Node term = Term(condition);
        left = left != kNoNode ? Add(condition, {*next, left, term}) : term;
    }
    return before != kNoNode ? Add(condition, {Condition::Kind::kOr, before, left}) : left;
}

// What joins the next term to those before; nothing when the condition ends. A clause of the other
// kind, with or without a joint, is left to whoever reads clauses.
std::optional<Condition::Kind> ConditionParser::TakeJoint() {
    reader_.SkipThrowaways();
    const Keyword keyword = reader_.PeekKeyword();
    if (keyword == clause_) {
        reader_.Take();
        return ImpliedJoint();
    }
    if (keyword == Keyword::kWithout && clause_ == Keyword::kWith) {
        return ImpliedJoint();
    }
    if (keyword != Keyword::kAnd && keyword != Keyword::kOr) {
        return std::nullopt;
    }
    const Keyword other = clause_ == Keyword::kWith ? Keyword::kWhen : Keyword::kWith;
    if (QueryReader::KeywordOfWord(reader_.PeekSecond()) == other) {
        return std::nullopt;
    }
    reader_.Take();
    reader_.TakeIf(clause_);
    return keyword == Keyword::kAnd ? Condition::Kind::kAnd : Condition::Kind::kOr;
}

ConditionParser::Node ConditionParser::Term(Condition& condition) {
    reader_.SkipThrowaways();
    if (reader_.Peek().kind != Word::Kind::kOpen) {
        return TestTerm(condition);
    }
    if (++depth_ > kMaxParentheses) {
        Refuse(u"(", u"is nested too deep.");
    }
    reader_.Take();
    reader_.TakeIf(clause_);
    const Node inner = Sequence(condition, kNoNode, Condition::Kind::kAnd);
    if (reader_.Peek().kind != Word::Kind::kClose) {
        Refuse(u"(", u"has no closing parenthesis.");
    }
    reader_.Take();
    --depth_;
    return inner;
}

ConditionParser::Node ConditionParser::TestTerm(Condition& condition) {
    if (condition.tests.size() >= kMaxTests) {
        Refuse(reader_.Peek().text, u"is one condition too many.");
    }
    Test test;
    test.ignoresCase = options_.noCase;
    for (bool more = true; more;) {
        reader_.SkipThrowaways();
        if (reader_.TakeIf(Keyword::kNo) || reader_.TakeIf(Keyword::kWithout)) {
            test.negated = true;
        } else if (reader_.TakeIf(Keyword::kEvery)) {
            test.every = true;
        } else {
            more = false;
        }
    }
    // A field may have the name of a comparison, and a comparison may go without its field: it then
    // is about the field before, or about the id.
    const Field* field = reader_.TakeField();
    const bool goesOn = field == nullptr && field_ != nullptr;
    std::optional<Comparison> comparison = TakeComparison();
    if (!comparison && reader_.Peek().kind == Word::Kind::kQuoted) {
        if (goesOn) {
            comparison = comparison_;
        } else if (field != nullptr && environment_.OwnFamily() == Family::kR83) {
            comparison = Comparison::kEqual;
        }
    }
    if (field == nullptr) {
        if (!comparison) {
            field = &reader_.RequireField(clause_ == Keyword::kWith ? u"WITH" : u"WHEN");
        } else {
            field = goesOn ? field_ : &idField_;
        }
    }
    test.field = field;
    field_ = field;
    if (comparison) {
        test.comparison = *comparison;
        comparison_ = *comparison;
        TakeOperands(test);
    }
    condition.tests.push_back(std::move(test));
    return Add(condition,
               {Condition::Kind::kTest, static_cast<Node>(condition.tests.size() - 1), 0});
}

std::optional<Comparison> ConditionParser::TakeComparison() {
    bool isOpposite = false;
    if (reader_.PeekKeyword() == Keyword::kNot) {
        isOpposite = true;
        reader_.Take();
    }
    const Word& word = reader_.Peek();
    if (word.kind == Word::Kind::kPlain || word.kind == Word::Kind::kSign) {
        if (const std::optional<Comparison> comparison = FindComparison(word.keyword)) {
            reader_.Take();
            return isOpposite ? Opposite(*comparison) : *comparison;
        }
    }
    if (word.kind == Word::Kind::kSign) {
        Refuse(word.text, u"is not a comparison.");
    }
    return isOpposite ? std::optional(Comparison::kUnequal) : std::nullopt;
}

void ConditionParser::TakeOperands(Test& test) {
    const bool isBetween = test.comparison == Comparison::kBetween;
    const std::size_t most = isBetween ? 2 : static_cast<std::size_t>(-1);
    reader_.SkipThrowaways();
    while (test.constants.size() < most) {
        const Word& word = reader_.Peek();
        const bool isFirst = test.constants.empty();
        if (word.kind == Word::Kind::kPlain) {
            const bool isNumber = ComparedNumber(word.text).has_value();
            const bool isName =
                !isNumber && (FindKeyword(word.keyword) != Keyword::kNone || !isFirst);
            if (isName && !(isFirst && reader_.NextIsField())) {
                break;
            }
            if (isFirst && !isBetween && !isNumber) {
                test.other = reader_.TakeField();
                if (test.other != nullptr) {
                    return;
                }
            }
        } else if (word.kind != Word::Kind::kQuoted) {
            break;
        }
        test.constants.push_back(MakeConstant(test, word.text));
        reader_.Take();
    }
    if (test.constants.empty() || (isBetween && test.constants.size() < 2)) {
        const Word& word = reader_.Peek();
        const TextView needed = isBetween
                                    ? u"stands where BETWEEN needs its two constants."
                                    : u"stands where the comparison needs a constant or a field.";
        if (word.kind == Word::Kind::kEnd) {
            Refuse(test.field->Name(), u"is compared with nothing.");
        }
        Refuse(word.text, needed);
    }
}

// A constant in the form that values are stored in. One that does not convert equals nothing, but
// in an order counts as empty.
Constant ConditionParser::MakeConstant(const Test& test, TextView text) {
    Constant constant;
    constant.text = text;
    const bool isText = test.comparison == Comparison::kLike ||
                        test.comparison == Comparison::kUnlike ||
                        test.comparison == Comparison::kSounds;
    if (Wildcards() && !isText && !IsOrder(test.comparison)) {
        ReadWildcards(constant);
    }
    const bool isPlain = constant.part == Constant::Part::kWhole && !constant.anyUnits && !isText;
    const Text& conversion = test.field->Item().conversion;
    if (isPlain && !conversion.empty() && !text.empty()) {
        Converted stored = Iconv(text, conversion, environment_);
        const bool fails = stored.status == ConversionStatus::kBadValue ||
                           stored.status == ConversionStatus::kBadCode;
        if (!fails) {
            constant.text = std::move(stored.value);
        } else if (IsOrder(test.comparison)) {
            constant.text.clear();
        }
    }
    if (test.ignoresCase) {
        Text upper;
        AppendUpper(constant.text, upper);
        constant.text = std::move(upper);
    }
    if (isPlain) {
        constant.number = ComparedNumber(constant.text);
    }
    return constant;
}

}  // namespace kel::query
