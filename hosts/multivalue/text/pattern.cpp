// Matches text against patterns, all ways to split it at once.
#include "hosts/multivalue/text/pattern.h"

#include <limits>
#include <vector>

#include "hosts/multivalue/text/code_reader.h"

namespace kel::text {

namespace {

constexpr std::size_t kAnyNumber = std::numeric_limits<std::size_t>::max();

struct Part {
    char16_t kind = u'\0';  // N, A, X, or 0 for a literal
    TextView literal;
    std::size_t least = 1;
    std::size_t most = 1;
    bool isInverted = false;
};

// nN, nA, nX and the like. Takes nothing when the digits are literal ones.
bool TakeCounted(CodeReader& reader, Part& part) {
    CodeReader ahead = reader;
    const std::optional<int> least = ahead.TakeNumber();
    if (!least) {
        return false;
    }
    std::optional<int> most = least;
    if (ahead.Peek() == u'-' && IsDigit(ahead.Peek(1))) {
        ahead.Next();
        most = ahead.TakeNumber();
    }
    const char16_t kind = ahead.Peek();
    if (kind != u'N' && kind != u'A' && kind != u'X') {
        return false;
    }
    ahead.Next();
    reader = ahead;
    part.kind = kind;
    part.least = static_cast<std::size_t>(*least);
    part.most = *most == 0 ? kAnyNumber : static_cast<std::size_t>(*most);
    return true;
}

Part TakePart(CodeReader& reader) {
    Part part;
    if (reader.Rest().starts_with(u"...")) {
        reader = CodeReader(reader.Rest().substr(3));
        part.kind = u'X';
        part.least = 0;
        part.most = kAnyNumber;
        return part;
    }
    part.isInverted = reader.Rest().size() > 1 && reader.Take(u'~');
    if (TakeCounted(reader, part)) {
        return part;
    }
    if (const std::optional<TextView> quoted = reader.TakeQuoted()) {
        part.literal = *quoted;
        return part;
    }
    part.literal = reader.Rest().substr(0, 1);
    reader.Next();
    return part;
}

bool IsOfKind(char16_t unit, const Part& part) {
    const bool isIt = part.kind == u'X' || (part.kind == u'N' ? IsDigit(unit) : IsLetter(unit));
    return isIt != part.isInverted;
}

// The positions in the text that some way of matching has come to; advanced part by part.
class Reached {
public:
    explicit Reached(TextView text) : text_(text), at_(text.size() + 1, false) { at_[0] = true; }

    bool End() const { return at_.back(); }

    void PassLiteral(const Part& part) {
        const std::size_t length = part.literal.size();
        for (std::size_t i = at_.size(); i-- > 0;) {
            const bool from = i >= length && at_[i - length];
            at_[i] = from && (text_.substr(i - length, length) == part.literal) != part.isInverted;
        }
    }

    // A position is reached from those that lie between `least` and `most` characters before it,
    // with nothing but characters of the kind between.
    void PassCounted(const Part& part) {
        std::vector<std::size_t> reachedBefore(at_.size() + 1, 0);
        for (std::size_t i = 0; i < at_.size(); ++i) {
            reachedBefore[i + 1] = reachedBefore[i] + (at_[i] ? 1 : 0);
        }
        std::size_t runStart = 0;
        for (std::size_t i = 0; i < at_.size(); ++i) {
            if (i > 0 && !IsOfKind(text_[i - 1], part)) {
                runStart = i;
            }
            const std::size_t low = std::max(runStart, i - std::min(i, part.most));
            at_[i] = i >= part.least && low <= i - part.least &&
                     reachedBefore[i - part.least + 1] > reachedBefore[low];
        }
    }

private:
    TextView text_;
    std::vector<bool> at_;
};

}  // namespace

bool Matches(TextView text, TextView pattern) {
    Reached reached(text);
    bool isEmpty = true;
    for (CodeReader reader(pattern); !reader.AtEnd(); isEmpty = false) {
        const Part part = TakePart(reader);
        if (part.kind == u'\0') {
            reached.PassLiteral(part);
        } else {
            reached.PassCounted(part);
        }
    }
    return isEmpty ? text.empty() : reached.End();
}

}  // namespace kel::text
