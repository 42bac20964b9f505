// Writes numbers with currency, thousands and signs.
#include "hosts/multivalue/conversion/number_style.h"

namespace kel::conversion {

namespace {

void AppendDigits(Text& out, std::string_view digits) {
    out.append(digits.begin(), digits.end());
}

void AppendWhole(Text& out, std::string_view digits, TextView thousands) {
    if (thousands.empty()) {
        AppendDigits(out, digits);
        return;
    }
    std::size_t next = (digits.size() + 2) % 3 + 1;  // digits up to the first separator
    AppendDigits(out, digits.substr(0, next));
    for (; next < digits.size(); next += 3) {
        out.append(thousands);
        AppendDigits(out, digits.substr(next, 3));
    }
}

}  // namespace

void AppendStyled(Text& out, const Decimal& number, const NumberStyle& style) {
    const bool isNegative = number.IsNegative();
    const TextView before = isNegative ? style.sign.beforeNegative : style.sign.beforeOther;
    out.append(style.isSignInside ? style.currency : before);
    out.append(style.isSignInside ? before : style.currency);
    const std::string_view digits = number.Digits();
    const std::size_t scale = number.Scale();
    const std::size_t whole = digits.size() > scale ? digits.size() - scale : 0;
    if (whole == 0) {
        out.push_back(u'0');
    } else {
        AppendWhole(out, digits.substr(0, whole), style.thousands);
    }
    if (scale > 0) {
        out.append(style.point);
        out.append(scale - (digits.size() - whole), u'0');
        AppendDigits(out, digits.substr(whole));
    }
    out.append(style.suffix);
    out.append(isNegative ? style.sign.afterNegative : style.sign.afterOther);
}

}  // namespace kel::conversion
