// F correlatives: reverse Polish over a stack of entries, parted by semicolons.
#include <algorithm>
#include <optional>

#include "hosts/multivalue/expression/compiler.h"
#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/text/ascii.h"
#include "hosts/multivalue/text/functions.h"

namespace kel::expression {

namespace {

struct Operator {
    TextView sign;
    Operation operation;
    Relation relation = Relation::kEqual;
};

// The entry below the topmost stands on the left. [ and ] compare as >= and <= do.
constexpr Operator kOperators[] = {
    {u"+", Operation::kAdd},
    {u"-", Operation::kSubtract},
    {u"*", Operation::kMultiply},
    {u"/", Operation::kDivide},
    {u"R", Operation::kRemainder},
    {u":", Operation::kJoin},
    {u"=", Operation::kCompare, Relation::kEqual},
    {u"#", Operation::kCompare, Relation::kUnequal},
    {u"<>", Operation::kCompare, Relation::kUnequal},
    {u"<", Operation::kCompare, Relation::kLess},
    {u">", Operation::kCompare, Relation::kGreater},
    {u"[", Operation::kCompare, Relation::kGreaterOrEqual},
    {u">=", Operation::kCompare, Relation::kGreaterOrEqual},
    {u"]", Operation::kCompare, Relation::kLessOrEqual},
    {u"<=", Operation::kCompare, Relation::kLessOrEqual},
};

class StackParser {
public:
    StackParser(Compiler& compiler, const Source& source, Part input)
        : compiler_(compiler), builder_(compiler.Builder()), source_(source), input_(input) {}

    std::uint32_t ParseAll() {
        at_ = source_.start;
        while (at_ < source_.end) {
            if (source_.code[at_] == u';' || source_.code[at_] == u' ') {
                ++at_;
            } else {
                TakeEntry();
            }
        }
        if (stack_.empty()) {
            RaiseWrong(source_.code, source_.end, {}, u"nothing is left on the stack");
        }
        return stack_.back();
    }

private:
    // An entry starts here; only quotes and parentheses may hold a semicolon.
    void TakeEntry() {
        entry_ = at_;
        const char16_t unit = source_.code[at_];
        if (unit == u'"' || unit == u'\'') {
            Push({.operation = Operation::kConstant, .text = TakeUpTo(unit)});
        } else if (unit == u'(') {
            const TextView code = TakeUpTo(u')');
            Need(1);
            stack_.back() =
                ConversionNode(compiler_, stack_.back(), code, source_.code, entry_ + 1);
        } else if (IsDigit(unit)) {
            TakeAttribute();
        } else {
            TakeWord();
        }
    }

    // The text between the unit here and the next `close`.
    TextView TakeUpTo(char16_t close) {
        const TextView code = source_.code.substr(0, source_.end);
        const std::size_t end = code.find(close, at_ + 1);
        if (end == TextView::npos) {
            RaiseWrong(source_.code, at_, code.substr(at_), u"what is opened here is not closed");
        }
        const TextView inside = code.substr(at_ + 1, end - at_ - 1);
        at_ = end + 1;
        return inside;
    }

    void TakeAttribute() {
        while (at_ < source_.end && IsDigit(source_.code[at_])) {
            ++at_;
        }
        Push({Operation::kAttribute, Number::OrZero(Entry()).ToPosition()});
        if (at_ < source_.end && source_.code[at_] == u'R') {
            ++at_;
            stack_.back() = builder_.Add({Operation::kReuse}, {stack_.back()});
        }
    }

    void TakeWord() {
        at_ = std::min(source_.code.find(u';', at_), source_.end);
        // A conversion may follow a word at once, as it may an attribute.
        const std::size_t parenthesis = Entry().find(u'(');
        if (source_.code[entry_] != u'C' && parenthesis != TextView::npos) {
            at_ = entry_ + parenthesis;
        }
        const TextView word = Entry();
        if (word[0] == u'C') {
            return Push({.operation = Operation::kConstant, .text = word.substr(1)});
        }
        if (Part found; FindCounterWord(word, input_, found)) {
            return Push(found);
        }
        if (word == u"S") {
            Need(1);
            stack_.back() = builder_.Add({Operation::kTotal}, {stack_.back()});
        } else if (word == u"P") {
            Need(1);
            const Part step{Operation::kStep,
                            static_cast<std::int32_t>(builder_.AddStep(stack_.back()))};
            stack_.back() = builder_.Add(step);
            Push(step);
        } else if (word == u"_") {
            Need(2);
            std::swap(stack_.back(), stack_[stack_.size() - 2]);
        } else if (word == u"[]") {
            Combine({.operation = Operation::kSubstring, .manner = Manner::kElements}, 3);
        } else if (word.size() > 1 && word[0] == u'*' &&
                   std::all_of(word.begin() + 1, word.end(), IsDigit)) {
            Combine({.operation = Operation::kMultiply, .manner = Manner::kElements}, 2);
            const std::int32_t digits = Number::OrZero(word.substr(1)).ToPosition();
            stack_.back() =
                builder_.Add({Operation::kScaleDown, std::min(digits, kMaxScale)}, {stack_.back()});
        } else {
            TakeOperator(word);
        }
    }

    void TakeOperator(TextView word) {
        for (const Operator& known : kOperators) {
            if (known.sign == word) {
                return Combine({.operation = known.operation,
                                .number = static_cast<std::int32_t>(known.relation),
                                .manner = Manner::kElements},
                               2);
            }
        }
        RaiseWrong(source_.code, entry_, word, u"there is no such operation");
    }

    TextView Entry() const { return source_.code.substr(entry_, at_ - entry_); }

    void Push(const Part& part) { stack_.push_back(builder_.Add(part)); }

    void Need(std::size_t entries) {
        if (stack_.size() < entries) {
            RaiseWrong(source_.code, entry_, Entry(), u"there are too few entries on the stack");
        }
    }

    void Combine(const Part& part, std::size_t entries) {
        Need(entries);
        const std::size_t kept = stack_.size() - entries;
        const std::uint32_t node = builder_.Add(part, std::span(stack_).subspan(kept));
        stack_.resize(kept);
        stack_.push_back(node);
    }

    Compiler& compiler_;
    ExpressionBuilder& builder_;
    Source source_;
    Part input_;
    std::size_t at_ = 0;
    std::size_t entry_ = 0;  // where the entry begins that is being taken
    std::vector<std::uint32_t> stack_;
};

}  // namespace

std::uint32_t CompileStack(Compiler& compiler, const Source& source, Part input) {
    return StackParser(compiler, source, input).ParseAll();
}

}  // namespace kel::expression
