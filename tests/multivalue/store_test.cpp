// The rules of ids and names of files, and keys that sort as people expect.
#include <gtest/gtest.h>

#include <algorithm>

#include "hosts/multivalue/store/id_rules.h"
#include "hosts/multivalue/store/index_key.h"
#include "hosts/multivalue/store/store.h"
#include "hosts/multivalue/text/error.h"
#include "tests/support/text_support.h"

namespace kel::store {
namespace {

TEST(IndexKeyOrder, IsThatOfValues) {
    const Text inOrder[] = {u"",
                            u"-1000",
                            u"-12.51",
                            u"-12.5",
                            u"-12.4",
                            u"-0.01",
                            u"0",
                            u"0.000999",
                            u".001",
                            u"0.1",
                            u"1",
                            u"1.0000000000000000000000001",
                            u"9",
                            u"12.5",
                            u"12.51",
                            u"123456789012345678901234567890",
                            u"+1" + Text(290, u'0'),
                            u"-",
                            u".",
                            u"A",
                            u"1A",
                            u"AB",
                            u"1.A",
                            u"1E5",
                            Text(300, u'A')};
    for (std::size_t i = 0; i < std::size(inOrder); ++i) {
        for (std::size_t j = 0; j < std::size(inOrder); ++j) {
            EXPECT_EQ(
                IndexKey(inOrder[i], KeyOrder::kNumeric) < IndexKey(inOrder[j], KeyOrder::kNumeric),
                i < j)
                << Drawn(inOrder[i].substr(0, 40)) << " " << Drawn(inOrder[j].substr(0, 40));
        }
    }
    for (const char16_t* same : {u"-0", u"+0.00", u"000", u"0."}) {
        EXPECT_EQ(IndexKey(same, KeyOrder::kNumeric), IndexKey(u"0", KeyOrder::kNumeric));
    }
    EXPECT_EQ(IndexKey(u"01.50", KeyOrder::kNumeric), IndexKey(u"1.5", KeyOrder::kNumeric));
    EXPECT_EQ(KeyAfterPrefix(Text(u"ab\uFFFF")), u"ac");
    EXPECT_EQ(KeyAfterPrefix(u"\uFFFF"), std::nullopt);
}

TEST(IdRules, TellWhatCanBeAnIdOrAName) {
    const auto passes = [](void (*check)(TextView), const Text& text) {
        try {
            check(text);
            return true;
        } catch (const Error&) {
            return false;
        }
    };
    const struct {
        Text text;
        bool id, name;
    } cases[] = {
        {u"A", true, true},
        {u"", false, false},
        {u" ", true, false},
        {u" A", true, false},
        {u"A ", true, false},
        {u"A B", true, true},
        {u"A\tB", true, false},
        {Text(1, u'\0'), true, false},
        {u"\u001F", true, false},
        {u"\u007E", true, true},
        {u"\u007F", true, false},
        {u"\u009F", true, false},
        {u"\u00A0", true, true},
        {u"\u00FA", true, true},
        {u"x\u00FB", false, false},
        {u"\u00FCx", false, false},
        {u"\u00FD", false, false},
        {u"\u00FE", false, false},
        {u"x\u00FFx", false, false},
        {u"\u0100", true, true},
        {Text(kMaxFileName, u'x'), true, true},
        {Text(kMaxFileName + 1, u'x'), true, false},
        {Text(kMaxIdUnits, u'x'), true, false},
        {Text(kMaxIdUnits + 1, u'x'), false, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(passes(CheckRecordId, c.text), c.id) << Drawn(c.text.substr(0, 20));
        EXPECT_EQ(passes(CheckFileName, c.text), c.name) << Drawn(c.text.substr(0, 20));
        EXPECT_EQ(CanBeId(c.text), c.id) << Drawn(c.text.substr(0, 20));
    }
}

// Pairs of surrogates stand for characters above all others; a lone one is a unit like any other.
TEST(IdRules, OrderIdsByCodePoint) {
    const Text inOrder[] = {Text(),
                            Text(1, u'\0'),
                            u"A",
                            u"A\u0001",
                            u"AA",
                            u"A\xDC00",
                            u"A\uE000",
                            u"B",
                            Text(1, u'\xD800'),
                            Text(u"\xD800z"),
                            Text(1, u'\xDC00'),
                            Text(u"\xDC00\xD800", 2),
                            u"\uE000",
                            u"\uFFFF",
                            u"\U00010000",
                            u"\U00010001",
                            u"\U0001F600",
                            u"\U0010FFFF"};
    for (std::size_t i = 0; i < std::size(inOrder); ++i) {
        for (std::size_t j = 0; j < std::size(inOrder); ++j) {
            EXPECT_EQ(IsBeforeByCodePoint(inOrder[i], inOrder[j]), i < j)
                << Drawn(inOrder[i]) << " " << Drawn(inOrder[j]);
        }
    }
}

}  // namespace
}  // namespace kel::store
