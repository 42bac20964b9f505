// Parts of texts, searches, patterns, record fields.
#include <gtest/gtest.h>

#include <vector>

#include "hosts/multivalue/text/code_points.h"
#include "hosts/multivalue/text/error.h"
#include "hosts/multivalue/text/functions.h"
#include "hosts/multivalue/text/locate.h"
#include "hosts/multivalue/text/mark_scan.h"
#include "hosts/multivalue/text/pattern.h"
#include "hosts/multivalue/text/record_fields.h"
#include "tests/support/text_support.h"

namespace kel::text {
namespace {

TEST(TextFunctions, GiveParts) {
    const struct {
        const char* text;
        std::int32_t start, length;
        const char* part;
        const char* first;  // `length` units
        const char* last;
    } substrings[] = {
        {"abcdef", 2, 3, "bcd", "abc", "def"},
        {"abcdef", 1, 6, "abcdef", "abcdef", "abcdef"},
        {"abcdef", 6, 9, "f", "abcdef", "abcdef"},
        {"abcdef", 7, 1, "", "a", "f"},
        {"abcdef", 0, 2, "ab", "ab", "ef"},
        {"abcdef", -3, 1, "a", "a", "f"},
        {"abcdef", 2, 0, "", "", ""},
        {"abcdef", 2, -1, "", "", ""},
        {"", 1, 1, "", "", ""},
    };
    for (const auto& c : substrings) {
        const Text text = Marked(c.text);
        EXPECT_EQ(Drawn(Substring(text, c.start, c.length)), c.part) << c.text << c.start;
        EXPECT_EQ(Drawn(FirstUnits(text, c.length)), c.first) << c.text << c.length;
        EXPECT_EQ(Drawn(LastUnits(text, c.length)), c.last) << c.text << c.length;
    }
    const struct {
        const char* text;
        const char* delimiter;
        std::int32_t first, count;
        const char* part;
    } fields[] = {
        {"a*b*c*d", "*", 1, 1, "a"},
        {"a*b*c*d", "*", 2, 2, "b*c"},
        {"a*b*c*d", "*", 4, 1, "d"},
        {"a*b*c*d", "*", 3, 9, "c*d"},
        {"a*b*c*d", "*", 5, 1, ""},
        {"a*b*c*d", "*", 0, 1, "a"},
        {"a*b*c*d", "*", -2, 0, "a"},
        {"a*-b", "*-", 2, 1, "-b"},
        {"a**b", "*", 2, 1, ""},
        {"ab", "", 1, 1, "ab"},
        {"ab", "", 2, 1, ""},
        {"ab", "x", 1, 1, "ab"},
        {"ab", "x", 2, 1, ""},
    };
    for (const auto& c : fields) {
        EXPECT_EQ(Drawn(FieldsOf(Marked(c.text), Marked(c.delimiter), c.first, c.count)), c.part)
            << c.text << " field " << c.first << "," << c.count;
    }
    const struct {
        Position position;
        const char* element;
    } elements[] = {
        {{0, 0, 0}, "A^B]C\\D^E"},
        {{0, 1, 0}, ""},
        {{0, 0, 1}, ""},
        {{1, 0, 0}, "A"},
        {{2, 0, 0}, "B]C\\D"},
        {{2, 2, 0}, "C\\D"},
        {{2, 2, 2}, "D"},
        {{2, 2, 3}, ""},
        {{2, 0, 2}, "B]C\\D"},
        {{4, 0, 0}, ""},
        {{-1, 0, 0}, ""},
        {{3, 1, 1}, "E"},
    };
    for (const auto& c : elements) {
        EXPECT_EQ(Drawn(ElementAt(Marked("A^B]C\\D^E"), c.position)), c.element)
            << c.position.attribute << "," << c.position.value << "," << c.position.subvalue;
    }
}

TEST(TextFunctions, FindAndCount) {
    const struct {
        const char* text;
        const char* part;
        std::int32_t occurrence;
        std::size_t at, count, overlapping;
    } cases[] = {
        {"banana", "an", 1, 2, 2, 2},
        {"banana", "an", 2, 4, 2, 2},
        {"banana", "an", 3, 0, 2, 2},
        {"banana", "ana", 2, 4, 1, 2},
        {"aaaa", "aa", 3, 3, 2, 3},
        {"banana", "b", 0, 1, 1, 1},
        {"banana", "x", 1, 0, 0, 0},
        {"banana", "", 1, 1, 6, 6},
        {"", "a", 1, 0, 0, 0},
    };
    for (const auto& c : cases) {
        const Text text = Marked(c.text);
        const Text part = Marked(c.part);
        EXPECT_EQ(IndexOf(text, part, c.occurrence), c.at) << c.text << " " << c.part;
        EXPECT_EQ(CountOf(text, part, Overlap::kNo), c.count) << c.text << " " << c.part;
        EXPECT_EQ(CountOf(text, part, Overlap::kYes), c.overlapping) << c.text << " " << c.part;
    }
}

TEST(TextFunctions, TrimAndChange) {
    const struct {
        char16_t option;
        const char* result;
    } trims[] = {
        {u'A', "abc"},
        {u'L', "a--b-c--"},
        {u'F', "a--b-c--"},
        {u'T', "--a--b-c"},
        {u'E', "--a--b-c"},
        {u'B', "a--b-c"},
        {u'R', "a-b-c"},
        {u'D', "--a--b-c--"},  // about blanks, of which there are none
        {u'?', "--a--b-c--"},
    };
    for (const auto& c : trims) {
        Text out;
        AppendTrimmed(u"--a--b-c--", u'-', c.option, out);
        EXPECT_EQ(Drawn(out), c.result) << static_cast<char>(c.option);
    }
    const char* blanks[][2] = {{"  a  b ", "a b"}, {"   ", ""}, {"", ""}, {"a", "a"}};
    for (const auto& [text, trimmed] : blanks) {
        Text out = u"=";
        AppendTrimmed(Marked(text), u'x', u'D', out);
        EXPECT_EQ(Drawn(out), std::string("=") + trimmed) << text;
    }
    const struct {
        const char* part;
        const char* replacement;
        std::int32_t count, first;
        const char* result;
    } changes[] = {
        {"a", "x", 0, 1, "xbxbx"},
        {"a", "", 0, 1, "bb"},
        {"a", "xyz", 1, 1, "xyzbaba"},
        {"a", "x", 2, 1, "xbxba"},
        {"a", "x", 1, 2, "abxba"},
        {"a", "x", 0, 2, "abxbx"},
        {"a", "x", -1, 0, "xbxbx"},
        {"a", "x", 1, 4, "ababa"},
        {"ab", "ba", 0, 1, "babaa"},
        {"", "x", 0, 1, "ababa"},
        {"q", "x", 0, 1, "ababa"},
    };
    for (const auto& c : changes) {
        Text out;
        AppendChanged(u"ababa", Marked(c.part), Marked(c.replacement), c.count, c.first, 99, out);
        EXPECT_EQ(Drawn(out), c.result)
            << c.part << " to " << c.replacement << " " << c.count << "," << c.first;
    }
    Text out;
    EXPECT_NO_THROW(AppendChanged(u"aaa", u"a", u"bb", 0, 1, 6, out));
    EXPECT_THROW(AppendChanged(u"aaa", u"a", u"bb", 0, 1, 11, out), Error);
    out.clear();
    AppendUpper(u"azAZ09`{\u00E4", out);
    AppendLower(u"azAZ09@[\u00C4", out);
    EXPECT_EQ(out, u"AZAZ09`{\u00E4azaz09@[\u00C4") << "letters are those of ASCII";
}

TEST(Pattern, MatchesTheWholeText) {
    const struct {
        const char* pattern;
        std::vector<const char*> matching;
        std::vector<const char*> other;
    } cases[] = {
        {"3N", {"123", "000"}, {"12", "1234", "12a", ""}},
        {"2A", {"ab", "ZZ"}, {"a", "a1", "abc", ""}},
        {"2X", {"a1", "??"}, {"a", "abc"}},
        {"0N", {"1", "123456", ""}, {"a", "12a"}},
        {"0A", {"ab", ""}, {"a1"}},
        {"0X", {"any thing", ""}, {}},
        {"...", {"any thing", ""}, {}},
        {"2-3N", {"12", "123"}, {"1", "1234", ""}},
        {"0-2N", {"", "1", "12"}, {"123", "a"}},
        {"1-0N", {"1", "12345"}, {""}},
        {"1N0N", {"1", "12345"}, {"", "a"}},
        {"1n1a1x", {"1a?", "9Z9"}, {"a1?"}},
        {"'a1'", {"a1"}, {"A1", "a", "a11"}},
        {"\"x\"2N", {"x12"}, {"12", "x1"}},
        {"A-2N", {"A-12"}, {"A12", "a-12", "A-1"}},
        {"2A'-'3N", {"ab-123"}, {"ab123", "ab-12", "a1-123"}},
        {"~2N", {"ab", "a?"}, {"12", "a1", "1a", "a", "abc"}},
        {"~A", {"B", "1"}, {"A", "AA", ""}},
        {"~'ab'", {"ba", "xy"}, {"ab", "a"}},
        {"1N~1N", {"1a"}, {"11", "a1"}},
        {"a...z", {"az", "abcz"}, {"a", "z", "azb"}},
        {"...b...", {"b", "abc", "bb"}, {"ac", ""}},
        {"0A0A0A'c'", {"abc", "c"}, {"abd"}},
        {"4", {"4"}, {"44", "5"}},
        {"'x", {"'x"}, {"x"}},
        {"~", {"~"}, {"x"}},  // at the end it stands for itself
        {"", {""}, {"a"}},
    };
    for (const auto& c : cases) {
        for (const char* text : c.matching) {
            EXPECT_TRUE(Matches(Marked(text), Marked(c.pattern))) << text << " by " << c.pattern;
        }
        for (const char* text : c.other) {
            EXPECT_FALSE(Matches(Marked(text), Marked(c.pattern))) << text << " by " << c.pattern;
        }
    }
    EXPECT_FALSE(Matches(Text(4000, u'a') + u'b', u"0A0A0A0A0A0A0A0A0A0A'c'")) << "and ends soon";
}

TEST(Locate, OrdersTextLeftAndRight) {
    const struct {
        const char* a;
        const char* b;
        int left, right;
    } cases[] = {
        {"a", "b", -1, -1},
        {"ab", "b", -1, 1},
        {"abcdefgh", "abcdefgi", -1, -1},
        {"abcdefghi", "abcdefgh", 1, 1},
        {"abcx", "abcdefgh", 1, -1},
        {"10", "9", -1, 1},
        {"-10", "-9", -1, -1},
        {"-9", "-10", 1, 1},
        {"-1", "1", -1, -1},
        {"1", "-1", 1, 1},
        {"+7", "7", -1, 0},
        {"007", "7", -1, 0},
        {"7", "007", 1, 0},
        {"-0", "0", -1, 0},
        {"-0", "+0", 1, 0},
        {"-", "1", -1, -1},
        {"-", "0", -1, -1},
        {"aaaab", "aaaac", -1, -1},
        {"1.5", "2", -1, 1},
        {"99999999999999999998", "99999999999999999999", -1, -1},
        {"-99999999999999999998", "-99999999999999999999", -1, 1},
        {"", "a", -1, -1},
        {"", "", 0, 0},
    };
    const auto sign = [](int order) { return (order > 0) - (order < 0); };
    for (const auto& c : cases) {
        const Text a = Marked(c.a);
        const Text b = Marked(c.b);
        EXPECT_EQ(sign(CompareLeft(a, b)), c.left) << c.a << " " << c.b;
        EXPECT_EQ(sign(CompareLeft(b, a)), -c.left) << c.b << " " << c.a;
        EXPECT_EQ(sign(CompareRight(a, b)), c.right) << c.a << " " << c.b;
        EXPECT_EQ(sign(CompareRight(b, a)), -c.right) << c.b << " " << c.a;
    }
}

TEST(Locate, FindsOrTellsThePlace) {
    const struct {
        const char* text;
        const char* search;
        const char* order;
        std::size_t found, place;  // place: where it would go, when not found
    } cases[] = {
        {"B]A]C", "A", "", 2, 0},
        {"B]A]C", "D", "", 0, 4},
        {"A]A", "A", "", 1, 0},
        {"A]B", "a", "", 0, 3},
        {"", "", "", 1, 0},
        {"", "x", "AL", 0, 1},
        {"]A", "", "", 1, 0},
        {"A]", "", "", 2, 0},
        {"B]D]F", "A", "AL", 0, 1},
        {"B]D]F", "D", "AL", 2, 0},
        {"B]D]F", "E", "al", 0, 3},
        {"B]D]F", "G", "A", 0, 4},
        {"F]D]B", "E", "DL", 0, 2},
        {"F]D]B", "E", "dl", 0, 2},
        {"F]D]B", "G", "D", 0, 1},
        {"F]D]B", "B", "dl", 3, 0},
        {"F]D]B", "A", "DL", 0, 4},
        {"C]A]B", "A", "AL", 0, 1},
        {"9]10]100", "10", "AR", 2, 0},
        {"9]10]100", "11", "AR", 0, 3},
        {"9]10]100", "010", "AR", 2, 0},
        {"9]10]100", "-5", "AR", 0, 1},
        {"-20]-3]-1]4", "-2", "AR", 0, 3},
        {"-20]-3]-1]4", "-3", "ar", 2, 0},
        {"-20]-3]-1]4", "-30", "AR", 0, 1},
        {"4]-1]-3]-20", "-2", "DR", 0, 3},
        {"4]-1]-3]-20", "-3", "DR", 3, 0},
        {"100]10]9", "50", "DR", 0, 2},
        {"z]aa]ab", "aaa", "AR", 0, 4},
        {"z]aa]ab", "ab", "AR", 3, 0},
        {"9]10", "10", "AX", 0, 1},  // anything but R is left
        {"9]10", "10", "XR", 2, 0},  // without A or D there is no order
        {"a]b^c]d", "c", "", 0, 4},
    };
    for (const auto& c : cases) {
        const LocateResult result = LocateIn(
            Marked(c.text), Level::kValue, Marked(c.search), SortOrder::Parse(Marked(c.order)));
        EXPECT_EQ(result.found, c.found != 0) << c.text << " for " << c.search << " " << c.order;
        EXPECT_EQ(result.position, c.found + c.place)
            << c.text << " for " << c.search << " " << c.order;
    }
    // Elements of every length across the blocks that are looked at together.
    for (std::size_t length = 1; length < 140; ++length) {
        const Text text = Text(length, u'a') + kValueMark + u"b" + kValueMark + u"c";
        EXPECT_EQ(LocateIn(text, Level::kValue, u"c", {}).position, 3U) << length;
    }
}

TEST(MarkScan, AgreesWithLookingAtEveryUnit) {
    const UnitRange range{kSubvalueMark, kAttributeMark};
    for (std::size_t count = 0; count <= kScanBlock; ++count) {
        Text text(count, u'x');
        std::uint64_t mask = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const char16_t units[] = {u'x',
                                      kTextMark,
                                      kSubvalueMark,
                                      kValueMark,
                                      kAttributeMark,
                                      kItemMark,
                                      u'\0',
                                      0xFFFF,
                                      0x80FD};
            text[i] = units[(i * 7 + count) % std::size(units)];
            mask |= std::uint64_t{text[i] >= range.low && text[i] <= range.high} << i;
        }
        ASSERT_EQ(RangeMask(text.data(), count, range), mask) << count;
    }
    for (std::size_t at = 0; at < 200; ++at) {
        Text text(200, u'x');
        text[at] = kValueMark;
        EXPECT_EQ(FindInRange(text.data(), text.size(), range), at);
        EXPECT_EQ(FindInRange(text.data(), at, range), at) << "not there: the count";
        EXPECT_EQ(CountInRange(text.data(), text.size(), range), 1U);
        EXPECT_EQ(CountInRange(text.data(), at, range), 0U);
    }
}

TEST(CodePoints, GoIntoBytesAndBack) {
    const struct {
        Text text;
        const char* bytes;
    } cases[] = {
        {Text(1, u'\0') + u"\u007F", "00 7F"},
        {u"\u0080\u00FE\u07FF", "C2 80 C3 BE DF BF"},
        {u"\u0800\u20AC\uFFFF", "E0 A0 80 E2 82 AC EF BF BF"},
        {u"\U00010000\U0010FFFF", "F0 90 80 80 F4 8F BF BF"},
        {u"\xD7FF\xE000", "ED 9F BF EE 80 80"},
        {u"\xD800", "ED A0 80"},
        {u"\xD800z\xDBFF\xE000", "ED A0 80 7A ED AF BF EE 80 80"},
        {u"\xDFFF\xD800", "ED BF BF ED A0 80"},
    };
    for (const auto& c : cases) {
        std::vector<std::uint8_t> bytes;
        std::string shown;
        for (std::size_t at = 0; at < c.text.size();) {
            EncodePoint(TakePoint(c.text, at), [&](std::uint8_t byte) {
                bytes.push_back(byte);
                const char digits[] = "0123456789ABCDEF";
                shown += shown.empty() ? "" : " ";
                shown += {digits[byte >> 4], digits[byte & 15]};
            });
        }
        EXPECT_EQ(shown, c.bytes) << Drawn(c.text);
        Text back;
        for (std::size_t at = 0; at < bytes.size();) {
            AppendPoint(back, TakeEncodedPoint(bytes, at));
        }
        EXPECT_EQ(Drawn(back), Drawn(c.text));
    }
}

TEST(RecordFields, ReadsAttributesInAnyOrder) {
    Text record;
    for (int i = 1; i <= 100; ++i) {
        const std::string number = std::to_string(i);
        record += Text(static_cast<std::size_t>(i % 7) * 11, u'x') +
                  Text(number.begin(), number.end()) + (i < 100 ? Text(1, kAttributeMark) : Text());
    }
    const DynamicArray array(record);
    for (const bool fromArray : {false, true}) {
        RecordFields fields;
        if (fromArray) {
            fields.Read(array);
        } else {
            fields.Read(TextView(record));
        }
        for (const int number : {1, 50, 3, 100, 99, 2}) {
            const std::string digits = std::to_string(number);
            EXPECT_EQ(fields.Attribute(number).substr(static_cast<std::size_t>(number % 7) * 11),
                      Text(digits.begin(), digits.end()));
        }
        for (const int number : {0, -1, 101, INT32_MAX}) {
            EXPECT_EQ(fields.Attribute(number), u"") << number;
        }
        EXPECT_EQ(fields.Whole(), record);
    }
    RecordFields again{TextView(record)};
    EXPECT_EQ(again.Attribute(7), u"7");
    again.Read(TextView(u"one\u00FEtwo\u00FE"));
    EXPECT_EQ(again.Attribute(2), u"two") << "nothing is left of the record before";
    EXPECT_EQ(again.Attribute(3), u"");
    EXPECT_EQ(Drawn(ElementOf(Marked("a]b\\c]"), kValueMark, 2)), "b\\c");
    EXPECT_EQ(Drawn(ElementOf(Marked("a]b"), kValueMark, 3)), "");
    EXPECT_EQ(Drawn(ElementOf(Marked("a]b"), kValueMark, 0)), "");
}

}  // namespace
}  // namespace kel::text
