// Decimals, the numbers of expressions, and the calendar.
#include <gtest/gtest.h>

#include <chrono>

#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/number/calendar.h"
#include "hosts/multivalue/number/decimal.h"
#include "tests/support/text_support.h"

namespace kel::number {
namespace {

Decimal D(const char* text) {
    return Decimal::Parse(Marked(text)).value();
}

TEST(Decimal, CalculatesExactlyAtAnyLength) {
    const struct {
        const char* left;
        const char* right;
        const char* sum;
        const char* difference;
        const char* product;
    } cases[] = {
        {"999", "1", "1000", "998", "999"},
        {"1000000000000000000000",
         "-1",
         "999999999999999999999",
         "1000000000000000000001",
         "-1000000000000000000000"},
        {"0.1", "0.2", "0.3", "-0.1", "0.02"},
        {"1000", "0.001", "1000.001", "999.999", "1.000"},
        {"-5", "5", "0", "-10", "-25"},
        {"5", "-5", "0", "10", "-25"},
        {"-0.5", "0.25", "-0.25", "-0.75", "-0.125"},
        {"-7", "-8", "-15", "1", "56"},
        {"1005", "995", "2000", "10", "999975"},
        {"1.50", "-2.5", "-1.00", "4.00", "-3.750"},
        {"0", "-3", "-3", "3", "0"},
        {"12345678901234567890",
         "-98765432109876543210",
         "-86419753208641975320",
         "111111111011111111100",
         "-1219326311370217952237463801111263526900"},
        {"9999999999", "9999999999", "19999999998", "0", "99999999980000000001"},
        {"99999999999999999999",
         "99999999999999999999",
         "199999999999999999998",
         "0",
         "9999999999999999999800000000000000000001"},
    };
    for (const auto& c : cases) {
        const Decimal left = D(c.left);
        const Decimal right = D(c.right);
        EXPECT_EQ(Drawn((left + right).ToText()), c.sum) << c.left << " + " << c.right;
        EXPECT_EQ(Drawn((left - right).ToText()), c.difference) << c.left << " - " << c.right;
        EXPECT_EQ(Drawn((left * right).ToText()), c.product) << c.left << " * " << c.right;
    }
}

TEST(Decimal, DividesToAScale) {
    const Rounding half = Rounding::kHalfUp;
    const Rounding cut = Rounding::kTruncate;
    const struct {
        const char* left;
        const char* right;
        std::size_t scale;
        Rounding rounding;
        const char* quotient;
    } cases[] = {
        {"1", "3", 5, half, "0.33333"},
        {"2", "3", 5, half, "0.66667"},
        {"2", "3", 5, cut, "0.66666"},
        {"-2", "3", 0, half, "-1"},
        {"-1", "2", 0, half, "-1"},
        {"-1", "2", 0, cut, "0"},
        {"-0.001", "-1", 2, half, "0.00"},
        {"0", "-7", 2, half, "0.00"},
        {"0.000123", "12", 3, half, "0.000"},
        {"12.50", "0.25", 0, half, "50"},
        {"1.005", "0.00005", 1, half, "20100.0"},
        {"7.123456", "2", 1, cut, "3.5"},
        // Up to 18 digits of the divisor, and beyond.
        {"999999999999999999", "999999999999999998", 18, half, "1.000000000000000001"},
        {"123456789012345678901234567890", "987654321098765432", 6, half, "124999998860.937500"},
        {"123456789012345678901234567890", "9876543210987654321", 6, half, "12499999886.093750"},
        {"1000000000000000000000", "10000000000000000000", 0, half, "100"},
        {"99999999999999999999", "-3333333333333333333.3", 3, cut, "-30.000"},
        {"5", "10000000000000000001", 25, half, "0.0000000000000000005000000"},
        {"18446744073709551617", "18446744073709551616", 2, half, "1.00"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Drawn(Decimal::Divide(D(c.left), D(c.right), c.scale, c.rounding).ToText()),
                  c.quotient)
            << c.left << " / " << c.right;
    }
    const char* remainders[][3] = {
        {"-7.5", "2", "-1.5"},
        {"7.5", "-2", "1.5"},
        {"7", "7", "0"},
        {"5", "12", "5"},
        {"0.3", "0.1", "0.0"},
        {"123456789012345678901", "1000000000000000000", "456789012345678901"}};
    for (const auto& [left, right, rest] : remainders) {
        EXPECT_EQ(Drawn(Decimal::Remainder(D(left), D(right)).ToText()), rest)
            << left << " by " << right;
    }
}

TEST(Decimal, RoundsShiftsAndTrims) {
    const struct {
        const char* number;
        int places;
        std::size_t scale;
        const char* half;
        const char* cut;
        const char* trimmed;
    } cases[] = {
        {"1.2344", 0, 3, "1.234", "1.234", "1.234"},
        {"1.2345", 0, 3, "1.235", "1.234", "1.235"},
        {"-1.2345", 0, 3, "-1.235", "-1.234", "-1.235"},
        {"9.995", 0, 2, "10.00", "9.99", "10"},
        {"0.5", 0, 0, "1", "0", "1"},
        {"0.05", 0, 0, "0", "0", "0"},
        {"0.0051", 0, 2, "0.01", "0.00", "0.01"},
        {"1999.5", 0, 0, "2000", "1999", "2000"},
        {"-0.004", 0, 2, "0.00", "0.00", "0"},
        {"7", 0, 2, "7.00", "7.00", "7"},
        {"0", 3, 2, "0.00", "0.00", "0"},
        {"12345", -2, 2, "123.45", "123.45", "123.45"},
        {"5", -4, 4, "0.0005", "0.0005", "0.0005"},
        {"1.5", 1, 1, "15.0", "15.0", "15"},
        {"1.5", 3, 0, "1500", "1500", "1500"},
        {"1200.50", 0, 3, "1200.500", "1200.500", "1200.5"},
    };
    for (const auto& c : cases) {
        Decimal half = D(c.number);
        half.Shift(c.places);
        Decimal cut = half;
        half.Round(c.scale, Rounding::kHalfUp);
        cut.Round(c.scale, Rounding::kTruncate);
        EXPECT_EQ(Drawn(half.ToText()), c.half) << c.number << " to " << c.scale;
        EXPECT_EQ(Drawn(cut.ToText()), c.cut) << c.number << " to " << c.scale;
        half.Trim();
        EXPECT_EQ(Drawn(half.ToText()), c.trimmed) << c.number << " to " << c.scale;
    }
    Decimal gone = D("-0.004");
    gone.Round(2, Rounding::kHalfUp);
    EXPECT_TRUE(gone.IsNegative() && gone.IsZero()) << "the sign outlives rounding to zero";
    EXPECT_TRUE(D("3").Negated().IsNegative());
    EXPECT_FALSE(D("0").Negated().IsNegative() || D("-3").Negated().IsNegative());
}

TEST(Decimal, ReadsAndComparesNumbers) {
    for (const char* text : {"", " ", "-", "+", "1e3", "1.2.3", "--1", "1 2", "0x1", "1-", "a"}) {
        EXPECT_FALSE(Decimal::Parse(Marked(text))) << text;
    }
    const char* shown[][2] = {{"  -07.50 ", "-7.50"},
                              {"+.5", "0.5"},
                              {"5.", "5"},
                              {".", "0"},
                              {"-0.0", "0.0"},
                              {"00100", "100"}};
    for (const auto& [text, number] : shown) {
        EXPECT_EQ(Drawn(D(text).ToText()), number) << text;
    }
    const char* inOrder[] = {"-1000000000000000000000",
                             "-10",
                             "-9.5",
                             "-9.49",
                             "-0.1",
                             "0",
                             "0.0999",
                             "0.1",
                             "9",
                             "10",
                             "10.01",
                             "999999999999999999999.5"};
    for (std::size_t i = 0; i < std::size(inOrder); ++i) {
        for (std::size_t j = 0; j < std::size(inOrder); ++j) {
            EXPECT_EQ(D(inOrder[i]) < D(inOrder[j]), i < j) << inOrder[i] << " " << inOrder[j];
            EXPECT_EQ(D(inOrder[i]) == D(inOrder[j]), i == j) << inOrder[i] << " " << inOrder[j];
        }
    }
    EXPECT_EQ(D("1.50"), D("01.5"));
    EXPECT_EQ(D("-0"), D("0.00"));
    EXPECT_FALSE(D("-0").IsNegative());
    EXPECT_EQ(D("-123456789012345678.9").ToInteger(), -123456789012345678);
    EXPECT_EQ(D("999999999999999999").ToInteger(), 999999999999999999);
    EXPECT_EQ(D("0.999").ToInteger(), 0);
    EXPECT_EQ(D("1000000000000000000").ToInteger(), std::nullopt);
    EXPECT_EQ(Drawn(Decimal(INT64_MIN).ToText()), "-9223372036854775808");
    EXPECT_EQ(Drawn(Decimal(-70).ToText()), "-70");
}

std::string Calculated(Arithmetic operation, const char* left, const char* right, bool whole) {
    Text out;
    AppendCalculated(operation, Marked(left), Marked(right), whole, out);
    return Drawn(out);
}

TEST(Number, CalculatesAsExpressionsDo) {
    const struct {
        const char* left;
        char sign;
        const char* right;
        const char* exact;
        const char* whole;
    } cases[] = {
        {"7", '+', "5", "12", "12"},
        {"7", '-', "12", "-5", "-5"},
        {"-7", '*', "6", "-42", "-42"},
        {"42", '/', "-6", "-7", "-7"},
        {"7", '/', "2", "3.5", "3"},
        {"-7", '/', "2", "-3.5", "-3"},
        {"7", '%', "4", "3", "3"},
        {"-7", '%', "4", "-3", "-3"},
        {"7", '/', "0", "0", "0"},
        {"7.5", '/', "0.0", "0", "0"},
        {"7", '%', "0", "0", "0"},
        {"7.9", '%', "0.5", "0.4", "0"},
        {"1.9", '+', "1.9", "3.8", "2"},
        {"2.5", '*', "2", "5", "4"},
        {"1", '/', "3", "0.33333333333333333333", "0"},
        {"2", '/', "3", "0.66666666666666666667", "0"},
        {"x", '+', "3", "3", "3"},
        {"", '-', "3", "-3", "-3"},
        {"999999999999999999", '+', "1", "1000000000000000000", "1000000000000000000"},
        {"-999999999999999999", '-', "1", "-1000000000000000000", "-1000000000000000000"},
        {"9999999999", '*', "9999999999", "99999999980000000001", "99999999980000000001"},
        {"1000000000000000000", '/', "10", "100000000000000000", "100000000000000000"},
        {"1.50", '+', "0.50", "2", "1"},
    };
    for (const auto& c : cases) {
        const Arithmetic operation = c.sign == '+'   ? Arithmetic::kAdd
                                     : c.sign == '-' ? Arithmetic::kSubtract
                                     : c.sign == '*' ? Arithmetic::kMultiply
                                     : c.sign == '/' ? Arithmetic::kDivide
                                                     : Arithmetic::kRemainder;
        EXPECT_EQ(Calculated(operation, c.left, c.right, false), c.exact)
            << c.left << c.sign << c.right;
        EXPECT_EQ(Calculated(operation, c.left, c.right, true), c.whole)
            << c.left << c.sign << c.right << " of whole numbers";
    }
}

TEST(Number, IsReadRoundedAndCutAsAPosition) {
    const struct {
        const char* text;
        std::int32_t position;
        const char* whole;
        const char* rounded;  // to 2 decimals
        const char* scaled;   // without its last 2 digits
        const char* negated;
    } cases[] = {
        {"12345", 12345, "12345", "12345", "123", "-12345"},
        {"-12345", -12345, "-12345", "-12345", "-123", "12345"},
        {"1.995", 1, "1", "2", "0", "-1.995"},
        {"-1.994", -1, "-1", "-1.99", "0", "1.994"},
        {"250.5", 250, "250", "250.5", "2", "-250.5"},
        {"0.9", 0, "0", "0.9", "0", "-0.9"},
        {"99999999999", INT32_MAX, "99999999999", "99999999999", "999999999", "-99999999999"},
        {"-9e9", 0, "0", "0", "0", "0"},
        {"99999999999999999999",
         INT32_MAX,
         "99999999999999999999",
         "99999999999999999999",
         "999999999999999999",
         "-99999999999999999999"},
        {"-99999999999999999999.5",
         -INT32_MAX,
         "-99999999999999999999",
         "-99999999999999999999.5",
         "-999999999999999999",
         "99999999999999999999.5"},
    };
    const auto shown = [](const Number& number) {
        Text out;
        number.AppendTo(out);
        return Drawn(out);
    };
    for (const auto& c : cases) {
        const Number number = Number::OrZero(Marked(c.text));
        EXPECT_EQ(number.ToPosition(), c.position) << c.text;
        EXPECT_EQ(shown(number.Whole()), c.whole) << c.text;
        EXPECT_EQ(shown(number.Rounded(2)), c.rounded) << c.text;
        EXPECT_EQ(shown(number.ScaledDown(2)), c.scaled) << c.text;
        EXPECT_EQ(shown(number.Negated()), c.negated) << c.text;
    }
    EXPECT_TRUE(Number::Parse(Text(kMaxNumberUnits, u'1')));
    EXPECT_FALSE(Number::Parse(Text(kMaxNumberUnits + 1, u'1'))) << "nobody means such a number";
    for (const char* text : {"", "-", "a", ":5", "1a"}) {
        EXPECT_FALSE(Number::Parse(Marked(text))) << text;
    }
}

TEST(Number, RelatesNumbersBySizeAndTextUnitByUnit) {
    const struct {
        const char* left;
        const char* right;
        int order;
    } cases[] = {
        {"9", "10", -1},
        {"10", "9", 1},
        {"-10", "-9", -1},
        {"010", "10", 0},
        {"1.50", "1.5", 0},
        {"1.5", "1.49", 1},
        {"9", "A", -1},
        {"10", "9x", -1},
        {"b", "a", 1},
        {"a", "aa", -1},
        {"", "0", -1},  // nothing is no number
        {"", "", 0},
        {"99999999999999999999", "99999999999999999998", 1},
    };
    for (const auto& c : cases) {
        const auto holds = [&](Relation relation) {
            return Holds(relation, Marked(c.left), Marked(c.right));
        };
        EXPECT_EQ(holds(Relation::kEqual), c.order == 0) << c.left << " " << c.right;
        EXPECT_EQ(holds(Relation::kUnequal), c.order != 0) << c.left << " " << c.right;
        EXPECT_EQ(holds(Relation::kLess), c.order < 0) << c.left << " " << c.right;
        EXPECT_EQ(holds(Relation::kGreater), c.order > 0) << c.left << " " << c.right;
        EXPECT_EQ(holds(Relation::kLessOrEqual), c.order <= 0) << c.left << " " << c.right;
        EXPECT_EQ(holds(Relation::kGreaterOrEqual), c.order >= 0) << c.left << " " << c.right;
    }
    EXPECT_TRUE(Holds(Relation::kMatches, u"A12", u"1A2N"));
    EXPECT_FALSE(Holds(Relation::kMatches, u"A1", u"1A2N"));
    for (const char* text : {"1", "-1", "0.1", "a", " ", "99999999999999999999"}) {
        EXPECT_TRUE(IsTrue(Marked(text))) << text;
    }
    for (const char* text : {"", "0", "0.00", "-0", "."}) {
        EXPECT_FALSE(IsTrue(Marked(text))) << text;
    }
}

TEST(Calendar, KnowsDaysOnBothSidesOfEveryLeapRule) {
    const struct {
        int year;
        unsigned month, day;
        std::int64_t number;
    } dates[] = {
        {1, 1, 1, -718430},     {4, 2, 29, -717276},     {100, 2, 28, -682213},
        {100, 3, 1, -682212},   {400, 2, 29, -572640},   {1582, 10, 15, -140695},
        {1600, 2, 29, -134349}, {1899, 12, 31, -24836},  {1900, 2, 28, -24777},
        {1900, 3, 1, -24776},   {1967, 12, 30, -1},      {1967, 12, 31, 0},
        {1968, 1, 1, 1},        {1968, 2, 29, 60},       {1999, 12, 31, 11688},
        {2000, 1, 1, 11689},    {2000, 2, 29, 11748},    {2000, 3, 1, 11749},
        {2001, 2, 28, 12113},   {2001, 3, 1, 12114},     {2024, 2, 29, 20514},
        {2024, 12, 31, 20820},  {2100, 2, 28, 48272},    {2100, 3, 1, 48273},
        {2400, 2, 29, 157845},  {9999, 12, 31, 2933628},
    };
    for (const auto& [year, month, day, number] : dates) {
        const auto date =
            std::chrono::year(year) / std::chrono::month(month) / std::chrono::day(day);
        EXPECT_EQ(DayNumber(date), number) << year << "-" << month << "-" << day;
        EXPECT_TRUE(DateOfDay(number) == date) << number;
    }
    EXPECT_FALSE(DateOfDay(-718431));
    EXPECT_FALSE(DateOfDay(2933629));
}

}  // namespace
}  // namespace kel::number
