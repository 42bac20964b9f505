// Conversions both ways but those of dates and times, and formats.
#include "tests/multivalue/conversion_rows.h"

namespace kel::conversion {
namespace {

// ---- MD, ML, MR ----

TEST_F(ConversionTest, ShowsNumbersWithDecimalsAndSigns) {
    Out({
        {"12345", "MD2", "123.45"},
        {"-5", "MD2", "-0.05"},
        {"12345", "MD0", "12345"},
        {"12345", "MD", "12345"},
        {"12345", "MD20", "12345.00"},
        {"12345", "MD24", "1.23"},
        {"12355", "MD24", "1.24"},
        {"-12355", "MD24", "-1.24"},
        {"12355", "MD24T", "1.23"},
        {"-12399", "MD24T", "-1.23"},
        {"999999.5", "MD2", "10000.00"},  // the carry runs through all digits
        {"1", "MD9", "0.000000001"},
        {"1234567", "MD2,", "12,345.67"},
        {"123456", "MD0,", "123,456"},
        {"12345678", "MD0,", "12,345,678"},
        {"123", "MD0,", "123"},
        {"1234", "MD0,", "1,234"},
        {"-1234567", "MD2,$", "-$12,345.67"},
        {"1234567", "MD2$,", "$12,345.67"},
        {"123456789012345678901234567890", "MD2,", "1,234,567,890,123,456,789,012,345,678.90"},
        {"0", "MD2Z", ""},
        {"0.00", "MD2Z", ""},
        {"0", "MD2", "0.00"},
        {"1", "MD2Z", "0.01"},
        {"123.4", "MD2P", "123.40"},
        {"1234", "MD2P", "12.34"},
        {"123.4", "MD2", "1.23"},
        {"-5", "MD2-", "0.05-"},
        {"5", "MD2-", "0.05 "},
        {"-5", "MD2+", "0.05-"},
        {"5", "MD2+", "0.05+"},
        {"-5", "MD2<", "<0.05>"},
        {"5", "MD2<", " 0.05 "},
        {"-5", "MD2(", "(0.05)"},
        {"5", "MD2(", " 0.05 "},
        {"-5", "MD2C", "0.05cr"},
        {"5", "MD2C", "0.05  "},
        {"-5", "MD2D", "0.05db"},
        {"5", "MD2D", "0.05  "},
        {"-123456", "MD2,$(", "($1,234.56)"},
        {"-1234.5", "MD2,PT", "-1,234.50"},
        {"123.456", "MD2PT", "123.45"},
        {"x", "MD2", "x", 1},
        {"", "MD2", ""},
        {"12345", "MD25", "0.12"},
        {"12345", "md2,", "123.45"},
        {"12345", "MD2X,", "123.45"},  // what is out of order says nothing
    });
    // [currency,thousands,point,suffix]
    const struct {
        const char* value;
        const char* code;
        const char* shown;
    } styled[] = {
        {"123450", "MD2[\"EUR \",.,\",\"]", "EUR 1.234,50"},
        {"123450", "MD2[,',',.,x]", "1,234.50x"},
        {"-123456", "MD2[,,,%]", "-1234.56%"},
        {"123456", "MD2,[F]", "F1,234.56"},
        {"5", "MD2[a,b,c,d,e]", "5 refused"},
        {"5", "MD2[a", "5 refused"},
    };
    for (const auto& [value, code, shown] : styled) {
        EXPECT_EQ(One(Oconv, value, code), shown) << code;
    }
}

TEST_F(ConversionTest, LaysNumbersIntoWidthsAndMasks) {
    Out({
        {"-5", "MR2#8", "   -0.05"},
        {"-5", "ML2#8", "-0.05   "},
        {"5", "MR2%8", "00000.05"},
        {"5", "MR2*8", "****0.05"},
        {"5", "ML2*8", "0.05****"},
        {"123456", "MR2#4", "4.56"},
        {"123456", "ML2#4", "1234"},
        {"123456789", "MR#3-#2-#4", "123-45-6789"},
        {"123456789", "ML###) ###-###", "123) 456-789"},
        {"1234", "MR#3-#4", "   -1234"},
        {"12345", "MR%3-#4", "001-2345"},
        {"1234", "ML#3-#4", "123-4   "},
        {"5", "MR2#8x", "    0.05x"},
        {"", "MR2#6", "  0.00"},
        {"", "ML2", "0.00"},
        {"0", "MR2Z#6", "      "},
        {"0", "MRZ", ""},
        {"-1234567", "MR2,$", "-$12,345.67"},
        {"-5", "MR2(#8", "  (0.05)"},
        {"5", "MR2,10", "      0.05"},
        {"5", "ML2,10x", "0.05xxxxxx"},
        {"5", "MD2,10", "0.05"},
        {"1234567", "MR2,5", "12,34"},  // a width cuts off behind
        {"1234567", "MD2,5", "12,34"},
        {"12", "MR#32768", "12", 2},
        {"1", "MR#9999999999", "1", 2},
        {"1", "MR,32768", "1", 2},
        {"x", "MR#5", "x", 1},
    });
}

TEST_F(ConversionTest, ReadsNumbersAsPeopleTypeThem) {
    In({
        {"123.45", "MD2", "12345"},
        {"123", "MD2", "12300"},
        {"12.345", "MD2", "1235"},
        {"12.345", "MD2T", "1234"},
        {"12.3", "MD24", "123000"},
        {".5", "MD2", "50"},
        {"$1,234.56", "MD2,$", "123456"},
        {"1 234", "MD0", "1234"},
        {"-1", "MD2", "-100"},
        {"+1", "MD2", "100"},
        {"1-", "MD2", "-100"},
        {"(12.34)", "MD2", "-1234"},
        {"<12.34>", "MD2", "-1234"},
        {"12cr", "MD2", "-1200"},
        {"12DB", "MD2", "-1200"},
        {"12 cd", "MD2", "1200"},
        {"**12", "MR*5", "12"},
        {"12%", "MD0", "12"},
        {"1.2.3", "MD1", "12"},
        {"-", "MD2", ""},
        {"--7", "MD2", "", 1},
        {"+-7", "MD2", "", 1},
        {"-(7", "MD2", "", 1},
        {"x", "MD2", "", 1},
        {"", "MD2", ""},
        {"0.004", "MD2", "0"},
    });
    EXPECT_EQ(One(Iconv, "EUR 1.234,5", "MD2[\"EUR \",.,\",\"]"), "123450");
}

// ---- MC ----

TEST_F(ConversionTest, ChangesAndPicksCharacters) {
    Out({
        {"aZ9-z", "MCU", "AZ9-Z"},
        {"aZ9-A", "MCL", "az9-a"},
        {"o'neil SMITH-jones 2nd", "MCT", "O'Neil Smith-Jones 2Nd"},
        {"a1-b2 Z", "MCA", "abZ"},
        {"a1-b2 Z", "MC/A", "1-2 "},
        {"a1-b2 Z", "MCN", "12"},
        {"a1-b2 Z", "MC/N", "a-b Z"},
        {"a1-b2 Z", "MCAN", "a1b2Z"},
        {"a1-b2 Z", "MC/AN", "- "},
        {"a1-b2 Z", "MCX", "a1-b2 Z"},
        {"ab", "MCU9", "AB"},
        {"ab", "MCQ", "ab"},
        {"255", "MCD", "FF"},
        {"255", "MCDX", "FF"},
        {"FF", "MCX", "255"},
        {"ff", "MCXD", "255"},
        {"10", "MCX", "16"},
        {"FG", "MCX", "FG"},
        {"18446744073709551615", "MCD", "FFFFFFFFFFFFFFFF"},
        {"18446744073709551616", "MCD", "18446744073709551616"},
        {"123456789012345678901", "MCD", "123456789012345678901"},
        {"x", "MCD", "x"},
        {"abc", "MCP", "abc"},
    });
    In({{"FF", "MCD", "255"}, {"255", "MCX", "FF"}, {"ab", "MCU", "AB"}});
    EXPECT_EQ(Oconv(u"\u0001 a~\u007F\u00E9", u"MCP", environment).value, u". a~..");
}

// ---- MX, MO, MB, B64, B ----

TEST_F(ConversionTest, CountsInOtherBases) {
    Both({
        {"255", "MX", "FF"},
        {"10", "MX", "A"},
        {"16", "MX", "10"},
        {"0", "MX", "00"},
        {"4095", "MO", "7777"},
        {"8", "MO", "10"},
        {"5", "MB", "101"},
        {"aZ", "MX0C", "615A"},
        {"A", "MO0C", "101"},
        {"A", "MB0C", "01000001"},
        {"1099511627776", "MX", "10000000000"},
    });
    Out({{"-1", "MX", "FFFFFFFF"},
         {"-1", "MO", "37777777777"},
         {"-2", "MB", "11111111111111111111111111111110"},
         {"-2147483648", "MX", "80000000"},
         {"-2147483649", "MX", "FFFFFFFF7FFFFFFF"},
         {"12.9", "MX", "C"},
         {"ab", "MX", "ab", 1},
         {"5", "MXC", "5", 2},
         {"", "MX", ""}});
    In({{"ff", "MX", "255"},
        {"7FFFFFFFFFFFFFF", "MX", "576460752303423487"},
        {"7FFFFFFFFFFFFFFF", "MX", "9223372036854775807"},
        {"8000000000000000", "MX", "", 1},
        {"fffffffffffffffff", "MX", "", 1},
        {"G", "MX", "", 1},
        {"8", "MO", "", 1},
        {"2", "MB", "", 1},
        {"161", "MX0C", "<1>a"},
        {"6G", "MX0C", "", 1},
        {"777", "MO0C", "", 1}});
    environment.family = Family::kR83;
    Both({{"AB", "MX", "4142"}, {"12", "MX", "3132"}, {"8", "MO", "10"}});
}

TEST_F(ConversionTest, WritesBase64AndTruth) {
    Both({{"f", "B64", "Zg=="},
          {"fo", "B64", "Zm8="},
          {"foo", "B64", "Zm9v"},
          {"foob", "B64", "Zm9vYg=="}});
    // All 64 characters, of the bytes they stand for.
    const TextView alphabet = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    constexpr unsigned char kBytes[] = {0x00, 0x10, 0x83, 0x10, 0x51, 0x87, 0x20, 0x92, 0x8b, 0x30,
                                        0xd3, 0x8f, 0x41, 0x14, 0x93, 0x51, 0x55, 0x97, 0x61, 0x96,
                                        0x9b, 0x71, 0xd7, 0x9f, 0x82, 0x18, 0xa3, 0x92, 0x59, 0xa7,
                                        0xa2, 0x9a, 0xab, 0xb2, 0xdb, 0xaf, 0xc3, 0x1c, 0xb3, 0xd3,
                                        0x5d, 0xb7, 0xe3, 0x9e, 0xbb, 0xf3, 0xdf, 0xbf};
    const Text bytes(std::begin(kBytes), std::end(kBytes));
    EXPECT_EQ(OconvWhole(bytes, u"B64", environment).value, alphabet);
    EXPECT_EQ(IconvWhole(Text(alphabet).insert(20, u"\r\n"), u"B64", environment).value, bytes);
    EXPECT_EQ(Oconv(u"\u0100", u"B64", environment).status, ConversionStatus::kBadValue);
    Out({{"1", "B", "Y"}, {"-1", "B", "Y"}, {"x", "B", "Y"}, {"0.0", "B", "N"}, {"", "B", "N"}});
    In({{"y", "B", "1"}, {"N", "B", "0"}, {"", "B", ""}, {"YES", "B", "", 1}, {"x", "B", "", 1}});
}

// ---- Rules and parts ----

TEST_F(ConversionTest, ChecksRangesLengthsAndPatterns) {
    Out({
        {"5", "R5,9", "5"},
        {"9", "R5,9", "9"},
        {"4", "R5,9", "", 2},
        {"10", "R5,9", "", 2},
        {"7", "R1,5;7,9", "7"},
        {"3", "R1,5;7,9", "3"},
        {"6", "R1,5;7,9", "", 2},
        {"3", "R1,2/3,4", "3"},
        {"-3", "R-5,-2", "-3"},
        {"-6", "R-5,-2", "", 2},
        {"", "R0,3", ""},
        {"x", "R0,3", "x", 1},
        {"1.5", "R0,3", "1.5", 1},
        {"2", "R0-3", "2", 2},
        {"2", "R0,3x", "2", 2},
        {"2", "R0", "2", 2},
        {"abc", "L", "3"},
        {"", "L", "0"},
        {"abc", "L0", "3"},
        {"abc", "L3", "abc"},
        {"abc", "L2", ""},
        {"abc", "L3,4", "abc"},
        {"abc", "L4,5", ""},
        {"abcdef", "L4,5", ""},
        {"abcd", "L4,5", "abcd"},
        {"abc", "Lx", "abc", 2},
        {"AB-12", "P(2A'-'2N);(0N)", "AB-12"},
        {"77", "P(2A'-'2N);(0N)", "77"},
        {"A7", "P(2A'-'2N)/(0N)", ""},
        {"a)b", "P('a)b')", "a)b"},
        {"12", "P(3-5N)", ""},
        {"12", "P2N", "12", 2},
        {"12", "P(2N", "12", 2},
        {"12", "P(2N)x", "12", 2},
    });
}

TEST_F(ConversionTest, TakesPartsAndPutsTogether) {
    struct Zero : PlainEnvironment {
        Text FieldOfRecord(std::int32_t number) override { return number == 3 ? u"three" : u"?"; }
    } record;
    Out({
        {"A*B*C*D", "G1*2", "B*C"},
        {"A*B*C*D", "G*1", "A"},
        {"A*B*C*D", "G0*2", "A*B"},
        {"A*B*C*D", "G3*1", "D"},
        {"A*B*C*D", "G3*9", "D"},
        {"A*B*C*D", "G4*1", ""},
        {"A*B", "G1*", "A*B", 2},
        {"A*B", "G1*0", "A*B", 2},
        {"A*B", "G1", "A*B", 2},
        {"abcdef", "T3", "def"},
        {"abcdef", "T9", "abcdef"},
        {"abcdef", "T2,3", "bcd"},
        {"abcdef", "T1,1", "a"},
        {"abcdef", "T0,2", "ab"},
        {"abcdef", "T6,3", "f"},
        {"abcdef", "T7,3", ""},
        {"abcdef", "T", "abcdef", 2},
        {"abcdef", "T2,", "abcdef", 2},
        {"abcdef", "T2x", "abcdef", 2},
        {"5", "S;'open';'paid'", "open"},
        {"0", "S;'open';'paid'", "paid"},
        {"", "S;'open';'paid'", "paid"},
        {"0.0", "S;*;'no'", "no"},
        {"x", "S;*;'no'", "x"},
        {"0", "S;'a;b';'c'", "c"},
        {"0", "S;'a'", ""},
        {"5", "S;;'c'", ""},
        {"5", "S'a'", "5", 2},
        {"5", "S;a", "5", 2},
        {"x", "C;'a';*;'b'", "axb"},
        {"x", "C;'a'-*", "a-x"},
        {"x", "C-'a'", "-a"},
        {"x", "C;?", "x", 2},
    });
    EXPECT_EQ(Oconv(u"x", u"C;3;*", record).value, u"threex");
    EXPECT_EQ(Oconv(u"1", u"S;3;0", record).value, u"three");
    const auto whole = [&](TextView code) {
        const Converted got = OconvWhole(Marked("A^B]C\\D^E"), code, environment);
        return Drawn(got.value) + (got.status == ConversionStatus::kGood ? "" : " refused");
    };
    EXPECT_EQ(whole(u"<2>"), "B]C\\D");
    EXPECT_EQ(whole(u"<2,2>"), "C\\D");
    EXPECT_EQ(whole(u"<2,2,2>"), "D");
    EXPECT_EQ(whole(u"<0>"), "A");
    EXPECT_EQ(whole(u"<2,2,2,2>"), "A^B]C\\D^E refused");
    EXPECT_EQ(whole(u"<2"), "A^B]C\\D^E refused");
    EXPECT_EQ(whole(u"<2>x"), "A^B]C\\D^E refused");
}

TEST_F(ConversionTest, TranslatesThroughOtherFiles) {
    environment.files[u"PARTS"][u"7"] = Marked("Bolt^iron]steel\\tin^");
    environment.files[u"DICT PARTS"][u"7"] = Marked("D^1");
    Out({
        {"7", "TPARTS;X;;1", "Bolt"},
        {"7", "TPARTS;X;;2", "iron steel tin"},
        {"7", "TPARTS;X2;;2", "steel tin"},
        {"7", "TPARTS;X;;0", "7"},
        {"7", "TDICT PARTS;X;;1", "D"},
        {"7", "Tdict PARTS;X;;1", "D"},
        {"8", "TPARTS;X;;1", ""},
        {"8]7", "TPARTS;C;;1", "8]Bolt"},
        {"7", "TPARTS;C;;3", "7"},
        {"8", "TPARTS;V;;1", "8", 1},
        {"8", "TPARTS;I;;1", "8"},
        {"8", "TPARTS;O;;1", "8", 1},
        {"7", "TPARTS;X;1;", "7"},  // nothing to translate on output
        {"7", "TPARTS;;;1", "7", 2},
        {"7", "T;X;;1", "7", 2},
        {"7", "TPARTS;X;;1x", "7", 2},
        {"", "TNONE;X;;1", ""},
    });
    In({{"7", "TPARTS;X;1;", "Bolt"},
        {"8", "TPARTS;I;1;", "", 1},
        {"8", "TPARTS;O;1;", "8"},
        {"7", "TPARTS;X;;1", "7"}});
    EXPECT_THROW(Oconv(u"1", u"TNONE;X;;1", environment), Error);
}

// ---- Several codes, several elements ----

TEST_F(ConversionTest, GoesThroughCodesAndElements) {
    Out({
        {"255", "MX]MCL", "ff"},
        {"12345", "MD2]T3", ".45"},
        {"hello", "Q]MCU", "hello", 2},  // what follows a bad code is not applied
        {"hello", "MCU]Q", "HELLO", 2},
        {"x", "MD2]MCU", "x", 1},
        {"9904^1000]x\\", "D2/", "02/11/95^09/26/70]x\\", 1},
        {"x]9904", "D2/", "x]02/11/95", 1},
        {"]", "MR2#6", "  0.00]  0.00"},
        {"ab]cd\\ef", "MCU", "AB]CD\\EF"},
        {"ab", "", "ab"},
        {"ab", "M", "ab", 2},
        {"ab", "MQ", "ab", 2},
        {"ab", "?", "ab", 2},
        {"a", "]MCU", "A"},
    });
    In({{"12.34", "MCU]MD2", "1234"},
        {"12.34", "MD2]MCU", "1234"},
        {"ff", "MD2]MX", "25500"},  // from right to left
        {"n", "Q]B", "", 2},
        {"x]1", "MD2", "]100", 1},
        {"FF", "ZZ", "", 2}});
    EXPECT_EQ(Oconv(u"aa\u00FBb", u"L", environment).value, u"2\u00FB1");
    EXPECT_EQ(Drawn(OconvWhole(Marked("a]b"), u"L", environment).value), "3");
    EXPECT_EQ(Drawn(IconvWhole(Marked("a]b"), u"MCU", environment).value), "A]B");
}

TEST_F(ConversionTest, LaysOutForColumns) {
    Check(Format,
          {
              {"abc", "6L", "abc   "},
              {"abc", "6R", "   abc"},
              {"abc", "6C", " abc  "},
              {"ab", "6C", "  ab  "},
              {"ab", "4'xy'R", "xxab"},
              {"abc", "6U", "abc   "},
              {"abc", "6T", "abc   "},
              {"abc", "6*R", "***abc"},
              {"abc", "6'-'R", "---abc"},
              {"abc", "6\"\"R", "   abc"},
              {"abc", "L", "abc"},
              {"abc", "0L", ""},
              {"", "4'0'R", "0000"},
              {"7]12.5", "6R2", "  7.00] 12.50"},
              {"12345", "8R2", "12345.00"},
              {"12345", "9R26", "   123.45"},
              {"", "6R2", "  0.00"},
              {"x", "6R2", "     x"},
              {"1234.5", "10R2,", "  1,234.50"},
              {"1234.5", "R2$", "$1234.50"},
              {"-1234.5", "R2,$", "$-1,234.50"},
              {"0", "6R2Z", "      "},
              {"0", "R2$Z", "$"},
              {"-5", "R0B", "5db"},
              {"5", "R0B", "5  "},
              {"-5", "R0C", "5cr"},
              {"5", "R0C", "5  "},
              {"-5", "R0D", "5  "},
              {"5", "R0D", "5db"},
              {"-5", "R0E", "<5>"},
              {"5", "R0E", "5 "},
              {"-5", "R0M", "5-"},
              {"5", "R0M", "5 "},
              {"-5", "R0N", "5"},
              {"-1234.5", "12R2,E", "  <1,234.50>"},
              {"1234567", "L###-####", "123-4567"},
              {"1234567", "R###-#####", " 12-34567"},
              {"12", "8L%4", "1200    "},
              {"12", "8L(%4)", "(1200)  "},
              {"abcdefg", "3R", "abc<251>def<251>g  "},
              {"abcdefg", "3L", "abc<251>def<251>g  "},
              {"abcdef", "3L", "abc<251>def"},
              {"the quick fox", "5T", "the  <251>quick<251>fox  "},
              {"ab cde fgh", "6T", "ab cde<251>fgh   "},
              {"abcdefgh ij", "5T", "abcde<251>fgh  <251>ij   "},
              {"a bcdefgh", "5T", "a    <251>bcdef<251>gh   "},
              {"ab]c", "3L", "ab ]c  "},
              {"9904", "D2/", "02/11/95"},
              {"5", "MD2", "0.05"},
              {"1", "99999L", "1", 2},
              {"1", "32767L", (std::string("1") + std::string(32766, ' ')).c_str()},
              {"1", "5", "1", 2},
              {"1", "5*", "1", 2},
              {"1]2", "?", "1]2", 2},
          });
}

}  // namespace
}  // namespace kel::conversion
