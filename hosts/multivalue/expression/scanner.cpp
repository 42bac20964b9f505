// Cuts correlatives into tokens.
#include "hosts/multivalue/expression/scanner.h"

#include <array>

#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/text/ascii.h"
#include "hosts/multivalue/text/error.h"
#include "hosts/multivalue/text/functions.h"

namespace kel::expression {

namespace {

constexpr std::array<TextView, 6> kDoubleSigns = {u"<>", u"><", u"<=", u"=<", u">=", u"=>"};

bool BeginsName(char16_t unit) {
    return IsLetter(unit) || unit == u'@' || unit == u'_' || unit == u'$' || unit == u'%' ||
           (unit >= 0x00A0 && unit < kTextMark) || unit > kItemMark;
}

// Of the message, long enough to recognise the place.
constexpr std::size_t kShown = 60;

}  // namespace

void RaiseWrong(TextView code, std::size_t offset, TextView token, TextView what) {
    Text text(u"The correlative \"");
    text.append(code.substr(0, kShown)).append(code.size() > kShown ? u"..." : u"");
    text.append(u"\" is wrong at place ");
    Number(static_cast<std::int64_t>(offset) + 1).AppendTo(text);
    if (token.empty()) {
        text.append(u", its end: ");
    } else {
        text.append(u", \"").append(token.substr(0, kShown)).append(u"\": ");
    }
    throw Error(ErrorKind::kBadArgument, text.append(what).append(u"."));
}

Scanner::Scanner(TextView code, std::size_t start, std::size_t end, Dialect dialect)
    : code_(code), at_(start), end_(end), dialect_(dialect) {
    Next();
}

void Scanner::Next() {
    token_ = Token();
    while (at_ < end_ && code_[at_] == u' ') {
        ++at_;
        token_.spaceBefore = true;
    }
    token_.place = at_;
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
        token_.kind = Token::Kind::kText;
        token_.text = code_.substr(at_ + 1, close - at_ - 1);
        at_ = close + 1;
    } else if (IsDigit(first) ||
               (isExpression && first == u'.' && at_ + 1 < end_ && IsDigit(code_[at_ + 1]))) {
        token_.kind = Token::Kind::kNumber;
        token_.text = takeWhile([isExpression](char16_t unit) {
            return IsDigit(unit) || (isExpression && unit == u'.');
        });
    } else if (isExpression ? BeginsName(first) : IsLetter(first)) {
        token_.kind = Token::Kind::kName;
        token_.text = takeWhile([isExpression](char16_t unit) {
            return isExpression ? BeginsName(unit) || IsDigit(unit) || unit == u'.'
                                : IsLetter(unit);
        });
        AppendUpper(token_.text, token_.upper);
    } else {
        token_.kind = Token::Kind::kSign;
        std::size_t length = 1;
        for (const TextView sign : kDoubleSigns) {
            length = code_.substr(at_, end_ - at_).starts_with(sign) ? 2 : length;
        }
        token_.text = code_.substr(at_, length);
        at_ += length;
    }
}

bool Scanner::TakeSign(TextView sign) {
    if (!token_.IsSign(sign)) {
        return false;
    }
    Next();
    return true;
}

bool Scanner::TakeName(TextView upperName) {
    if (!token_.IsName(upperName)) {
        return false;
    }
    Next();
    return true;
}

bool Scanner::TakeClosingAngle() {
    if (token_.kind != Token::Kind::kSign || token_.text[0] != u'>') {
        return false;
    }
    at_ = token_.place + 1;
    Next();
    return true;
}

TextView Scanner::TakeParenthesised() {
    Require(token_.IsSign(u"("), u"an opening parenthesis is expected");
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
    const bool quoted = token_.kind == Token::Kind::kText;
    RaiseWrong(code_,
               token_.place,
               quoted ? code_.substr(token_.place, token_.text.size() + 2) : token_.text,
               what);
}

}  // namespace kel::expression
