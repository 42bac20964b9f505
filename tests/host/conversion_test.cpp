// Conversions both ways, formats, and the decimal numbers below them.
#include "hosts/multivalue/conversion/conversion.h"

#include <gtest/gtest.h>

#include "hosts/multivalue/number/decimal.h"
#include "tests/support/plain_environment.h"
#include "tests/support/text_support.h"

namespace kel::conversion {
namespace {

struct Case {
    const char* value;
    const char* code;  // ] parts several
    const char* result;
    int status = 0;
};

using Convert = Converted (*)(TextView, TextView, Environment&);

void Check(Convert convert, Environment& environment, const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        const Converted got = convert(Marked(c.value), Marked(c.code), environment);
        EXPECT_EQ(Drawn(got.value), c.result) << c.value << " by " << c.code;
        EXPECT_EQ(static_cast<int>(got.status), c.status) << c.value << " by " << c.code;
    }
}

TEST(Conversion, ShowsStoredValues) {
    PlainEnvironment environment;
    environment.files[u"PARTS"][u"7"] = Marked("Bolt^iron]steel");
    Check(
        Oconv,
        environment,
        {
            {"9904", "D", "11 FEB 1995"},
            {"9904^1000]x\\", "D2/", "02/11/95^09/26/70]x\\", 1},  // good elements convert
            {"x]9904", "D2/", "x]02/11/95", 1},
            {"A*9904*B", "D*1", "11 FEB 1995"},
            {"9904", "D/YM", "1995/02"},
            {"9904", "DI", "1995-02-11"},
            {"11758", "DDO", "10th"},
            {"11751", "DDO", "3rd"},
            {"2933629", "D", "2933629", 1},  // the day after 31 DEC 9999
            {"99999999999999999999", "D", "99999999999999999999", 1},
            {"90061", "MTS", "25:01:01"},
            {"0", "MTH", "12:00am"},
            {"x", "MT", "x", 1},
            {"123456789012345678901234567890", "MD2,", "1,234,567,890,123,456,789,012,345,678.90"},
            {"9999.5", "MD20", "9999.50"},
            {"999999.5", "MD2", "10000.00"},  // the carry runs through all digits
            {"", "MD2", ""},
            {"]", "MR2#6", "  0.00]  0.00"},
            {"12", "MR#99999", "12", 2},  // wider than any field
            {"1", "MR#9999999999", "1", 2},
            {"255", "MX]MCL", "ff"},
            {"ab", "MX", "ab", 1},
            {"hello", "Q]MCU", "hello", 2},  // what follows a bad code is not applied
            {"a1-b2", "MC/N", "a-b"},
            {"255", "MCDX", "FF"},
            {"o'neil SMITH", "MCT", "O'Neil Smith"},
            {"A*B*C*D", "G1*2", "B*C"},
            {"7", "R1,5;7,9", "7"},
            {"6", "R1,5;7,9", "", 2},
            {"AB-12", "P(2A'-'2N);(0N)", "AB-12"},
            {"12", "P(3-5N)", ""},
            {"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaab", "P(0A0A0A0A0A0A0A0A0A0A'c')", ""},
            {"0", "S;'open';'paid'", "paid"},
            {"7", "TPARTS;X;;1", "Bolt"},
            {"7", "TPARTS;X2;;2", "steel"},
            {"8]7", "TPARTS;C;;1", "8]Bolt"},
            {"8", "TPARTS;X;;1", ""},
            {"8", "TPARTS;V;;1", "8", 1},
        });
    EXPECT_THROW(Oconv(u"1", u"TNONE;X;;1", environment), Error);
    EXPECT_EQ(Drawn(OconvWhole(Marked("a]b"), u"L", environment).value), "3");
    environment.dateOrder = DateOrder::kDayFirst;
    Check(Oconv, environment, {{"9904", "D2/", "11/02/95"}, {"9904", "D2/E", "02/11/95"}});
    environment.family = Family::kR83;
    Check(Oconv, environment, {{"AB", "MX", "4142"}, {"12", "MX", "3132"}});
    Check(Iconv, environment, {{"4142", "MX", "AB"}});
}

TEST(Conversion, ReadsWhatPeopleType) {
    PlainEnvironment environment;
    Check(Iconv,
          environment,
          {
              {"11 feb 1995", "D", "9904"},
              {"021195", "D2/", "9904"},
              {"1995-02-11", "D4-YMD", "9904"},
              {"1 jan", "D", "20821"},  // of the year it is
              {"30 FEB 2000", "D", "11749", 3},
              {"30 FEB 2000]x", "D", "11749]", 1},
              {"1/99/2000", "D", "", 1},
              {"", "MT", ""},
              {"12:00am", "MTH", "0"},
              {"11:30:15 PM", "MTH", "84615"},
              {"$1,234.56", "MD2,$", "123456"},
              {"(12.34)", "MD2", "-1234"},
              {"12.345", "MD2", "1235"},
              {"--7", "MD2", "", 1},
              {"ff", "MX", "255"},
              {"fffffffffffffffff", "MX", "", 1},
              {"FF", "MCDX", "255"},
              {"n", "B", "0"},
              {"FF", "ZZ", "", 2},
              {"12.34", "MD2]MCU", "1234"},
          });
}

TEST(Conversion, UsesThePunctuationOfTheCode) {
    PlainEnvironment environment;
    const TextView code = u"MD2[\"EUR \",.,\",\"]";
    EXPECT_EQ(Drawn(Oconv(u"123450", code, environment).value), "EUR 1.234,50");
    EXPECT_EQ(Drawn(Iconv(u"EUR 1.234,5", code, environment).value), "123450");
}

TEST(Conversion, LaysOutForColumns) {
    PlainEnvironment environment;
    Check(Format,
          environment,
          {
              {"7]12.5", "6R2", "  7.00] 12.50"},
              {"the quick fox", "5T", "the  <251>quick<251>fox  "},
              {"abcdefg", "3R", "abc<251>def<251>g  "},
              {"-1234.5", "12R2,E", "  <1,234.50>"},
              {"", "4'0'R", "0000"},
              {"9904", "D2/", "02/11/95"},
              {"1", "99999L", "1", 2},
              {"1", "5", "1", 2},
          });
}

TEST(Decimal, IsExactAtAnyLength) {
    auto number = [](const char* text) { return *Decimal::Parse(Marked(text)); };
    auto shown = [](const Decimal& value) { return Drawn(value.ToText()); };
    EXPECT_EQ(shown(number("0.1") + number("0.2")), "0.3");
    EXPECT_EQ(shown(number("1000") - number("0.001")), "999.999");
    EXPECT_EQ(shown(number("-5") + number("5")), "0");
    EXPECT_EQ(shown(number("12345678901234567890") * number("-98765432109876543210")),
              "-1219326311370217952237463801111263526900");
    EXPECT_EQ(shown(Decimal::Divide(number("-2"), number("3"), 4, Rounding::kHalfUp)), "-0.6667");
    EXPECT_EQ(shown(Decimal::Divide(number("1"), number("0.00007"), 2, Rounding::kTruncate)),
              "14285.71");
    EXPECT_EQ(shown(Decimal::Remainder(number("-7.5"), number("2"))), "-1.5");
    EXPECT_EQ(number("1.50"), number("01.5"));
    EXPECT_LT(number("-2"), number("-1.99"));
    EXPECT_EQ(number("-9223372036854775807").ToInteger(), std::nullopt);
    EXPECT_EQ(number("-123456789012345678.9").ToInteger(), -123456789012345678);
    for (const char* text : {"", " ", "-", "1e3", "1.2.3", "--1", "1 2", "0x1"}) {
        EXPECT_FALSE(Decimal::Parse(Marked(text))) << text;
    }
}

}  // namespace
}  // namespace kel::conversion
