// How a decimal number is written: point, thousands, currency, and what tells its sign.
#pragma once

#include "hosts/multivalue/number/decimal.h"
#include "hosts/multivalue/text/text.h"

namespace kel::conversion {

// What stands around numbers that are negative, and around all others.
struct SignStyle {
    TextView beforeNegative = u"-";
    TextView afterNegative;
    TextView beforeOther;
    TextView afterOther;
};

struct NumberStyle {
    TextView currency;
    TextView thousands;
    TextView point = u".";
    TextView suffix;
    SignStyle sign;
    bool isSignInside = false;  // the currency before the sign
};

// Appends a number that has been rounded: every digit behind its point is written.
void AppendStyled(Text& out, const Decimal& number, const NumberStyle& style);

}  // namespace kel::conversion
