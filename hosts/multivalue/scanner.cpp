#include "hosts/multivalue/scanner.h"

#include <array>

#include "hosts/multivalue/arithmetic.h"
#include "hosts/multivalue/ascii.h"
#include "hosts/multivalue/error.h"
#include "hosts/multivalue/text_functions.h"

namespace kel::multivalue {

namespace {

constexpr std::array<TextView, 6> kDoubleSigns = {u"<>", u"><", u"<=", u"=<", u">=", u"=>"};

bool BeginsName(char16_t unit) {
    return IsLetter(unit) || unit == u'@' || unit == u'_' || unit == u'$' || unit == u'%' ||
           (unit >= 0x00A0 && unit < kTextMark) || unit > kItemMark;
}

// Of the message, long enough to recognise the place.
constexpr std::size_t kShown = 60;

}  // namespace

void RaiseWrong(TextView code, std::size_t offset, TextView word, TextView what) {
    Text text(u"The correlative \"");
    text.append(code.substr(0, kShown)).append(code.size() > kShown ? u"..." : u"");
    text.append(u"\" is wrong at place ");
    Number(static_cast<std::int64_t>(offset) + 1).AppendTo(text);
    if (word.empty()) {
        text.append(u", its end: ");
    } else {
        text.append(u", \"").append(word.substr(0, kShown)).append(u"\": ");
    }
    throw Error(ErrorKind::kBadArgument, text.append(what).append(u"."));
}

Scanner::Scanner(TextView code, std::size_t start, std::size_t end, Dialect dialect)
    : code_(code), at_(start), end_(end), dialect_(dialect) {
    Next();
}

void Scanner::Next() {
    word_ = Word();
    while (at_ < end_ && code_[at_] == u' ') {
        ++at_;
        word_.spaceBefore = true;
    }
    word_.place = at_;
    if (at_ == end_) {
        return;
    }
    const char16_t first = code_[at_];
    const bool isExpression = dialect_ == Dialect::kExpression;
    const auto takeWhile = [this](auto belongs) {
        const std::size_t start = at_;
        while (at_ < end_ && belongs(code_[at_])) {
            ++at_;
        }
        return code_.substr(start, at_ - start);
    };
    if (first == u'"' || first == u'\'' || (isExpression && first == u'\\')) {
        const std::size_t close = code_.substr(0, end_).find(first, at_ + 1);
        if (close == TextView::npos) {
            RaiseWrong(code_, at_, code_.substr(at_, end_ - at_), u"the quote is not closed");
        }
        word_.kind = Word::Kind::kText;
        word_.text = code_.substr(at_ + 1, close - at_ - 1);
        at_ = close + 1;
    } else if (IsDigit(first) ||
               (isExpression && first == u'.' && at_ + 1 < end_ && IsDigit(code_[at_ + 1]))) {
        word_.kind = Word::Kind::kNumber;
        word_.text = takeWhile([isExpression](char16_t unit) {
            return IsDigit(unit) || (isExpression && unit == u'.');
        });
    } else if (isExpression ? BeginsName(first) : IsLetter(first)) {
        word_.kind = Word::Kind::kName;
        word_.text = takeWhile([isExpression](char16_t unit) {
            return isExpression ? BeginsName(unit) || IsDigit(unit) || unit == u'.'
                                : IsLetter(unit);
        });
        AppendUpper(word_.text, word_.upper);
    } else {
        word_.kind = Word::Kind::kSign;
        std::size_t length = 1;
        for (const TextView sign : kDoubleSigns) {
            length = code_.substr(at_, end_ - at_).starts_with(sign) ? 2 : length;
        }
        word_.text = code_.substr(at_, length);
        at_ += length;
    }
}

bool Scanner::TakeSign(TextView sign) {
    if (!word_.IsSign(sign)) {
        return false;
    }
    Next();
    return true;
}

bool Scanner::TakeName(TextView upperName) {
    if (!word_.IsName(upperName)) {
        return false;
    }
    Next();
    return true;
}

bool Scanner::TakeClosingAngle() {
    if (word_.kind != Word::Kind::kSign || word_.text[0] != u'>') {
        return false;
    }
    at_ = word_.place + 1;
    Next();
    return true;
}

TextView Scanner::TakeParenthesised() {
    Require(word_.IsSign(u"("), u"an opening parenthesis is expected");
    const std::size_t start = at_;
    std::size_t open = 1;
    for (; at_ < end_; ++at_) {
        open += code_[at_] == u'(' ? 1 : 0;
        open -= code_[at_] == u')' ? 1 : 0;
        if (open == 0) {
            const TextView inside = code_.substr(start, at_ - start);
            ++at_;
            Next();
            return inside;
        }
    }
    Fail(u"the parenthesis is not closed");
}

void Scanner::Fail(TextView what) const {
    const bool quoted = word_.kind == Word::Kind::kText;
    RaiseWrong(code_,
               word_.place,
               quoted ? code_.substr(word_.place, word_.text.size() + 2) : word_.text,
               what);
}

}  // namespace kel::multivalue
