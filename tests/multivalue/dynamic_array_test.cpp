// DynamicArray: the rules of positions. That it agrees with a slow model however it is edited is
// for fuzz_array to see.
#include "hosts/multivalue/text/dynamic_array.h"

#include <gtest/gtest.h>

#include <vector>

#include "hosts/multivalue/text/error.h"
#include "tests/support/text_support.h"

namespace kel::text {
namespace {

DynamicArray Make(std::string_view drawn) {
    return DynamicArray(Marked(drawn));
}

std::string At(std::string_view drawn, Position position) {
    return Drawn(Make(drawn).Extract(position));
}

TEST(DynamicArray, EditsFollowTheRulesOfPositions) {
    enum class Edit { kReplace, kInsert, kDelete };
    const Edit r = Edit::kReplace;
    const Edit i = Edit::kInsert;
    const Edit d = Edit::kDelete;
    const struct {
        Edit edit;
        const char* before;
        Position position;
        const char* after;
    } cases[] = {
        {r, "A^B]C\\D^E", {5, 0, 0}, "A^B]C\\D^E^^X"},
        {r, "A^B]C\\D^E", {1, 3, 0}, "A]]X^B]C\\D^E"},
        {r, "A^B]C\\D^E", {2, 2, 2}, "A^B]C\\X^E"},
        {r, "A^B]C\\D^E", {0, 0, 0}, "X"},
        {r, "A^B", {0, 0, 3}, "X^B"},       // a lower position makes attribute 0 the first
        {r, "A^B", {2, 0, 7}, "A^X"},       // value 0 hides the subvalue
        {r, "A^B^", {-1, 0, 0}, "A^B^^X"},  // an empty last attribute counts
        {r, "", {-1, -1, -1}, "X"},
        {r, "A^^C", {2, -1, 0}, "A^X^C"},
        {r, "A^B]C^D", {2, -1, 2}, "A^B]C]\\X^D"},
        {r, "A", {3, -1, -1}, "A^^X"},
        {i, "A^B]C\\D^E", {2, 1, 0}, "A^X]B]C\\D^E"},
        {i, "A^B]C\\D^E", {2, 2, 2}, "A^B]C\\X\\D^E"},
        {i, "A^B", {0, 0, 0}, "X^A^B"},
        {i, "A^B", {4, 2, 1}, "A^B^^]X"},
        {i, "A^", {2, 0, 0}, "A^X"},  // an empty last element is filled,
        {i, "A^^C", {2, 1, 0}, "A^X^C"},
        {i, "A^^C", {2, 0, 0}, "A^X^^C"},  // an empty one before the last moves up
        {i, "A]B", {1, -1, 0}, "A]B]X"},
        {d, "A^B]C\\D^E", {2, 2, 1}, "A^B]D^E"},
        {d, "A^B]C\\D^E", {3, 0, 0}, "A^B]C\\D"},
        {d, "A^B]C\\D^E", {1, 0, 0}, "B]C\\D^E"},
        {d, "A^B]C", {2, 2, 0}, "A^B"},
        {d, "A^B", {2, 1, 0}, "A^"},
        {d, "A^B", {2, 1, -1}, "A^B"},
        {d, "A^B", {9, 0, 0}, "A^B"},
        {d, "A^B", {0, 0, 0}, ""},
    };
    for (const auto& c : cases) {
        DynamicArray array = Make(c.before);
        switch (c.edit) {
            case Edit::kReplace:
                array.Replace(c.position, u"X");
                break;
            case Edit::kInsert:
                array.Insert(c.position, u"X");
                break;
            default:
                array.Delete(c.position);
                break;
        }
        EXPECT_EQ(Drawn(array.ToText()), c.after)
            << c.before << " at " << c.position.attribute << "," << c.position.value << ","
            << c.position.subvalue;
    }
}

TEST(DynamicArray, ReadsNothingWhereNothingIs) {
    EXPECT_EQ(At("A^B]C", {0, 0, 0}), "A^B]C");
    EXPECT_EQ(At("A^B]C", {0, 1, 0}), "");
    EXPECT_EQ(At("A^B]C", {2, 0, 5}), "B]C");
    EXPECT_EQ(At("A^B]C", {2, 3, 0}), "");
    EXPECT_EQ(At("A^B]C", {-1, 0, 0}), "");
    EXPECT_EQ(At("A^B]C", {2, 0, -1}), "B]C");
    EXPECT_EQ(At("A^B]C", {2, 1, -1}), "");
    EXPECT_EQ(At("A^B]C", {INT32_MAX, INT32_MAX, INT32_MAX}), "");
    EXPECT_EQ(At("", {1, 1, 1}), "");
}

TEST(DynamicArray, CountsDelimitersOfAnyKindInTheElement) {
    const DynamicArray array = Make("a,b,,c^xaaax]yy^");
    const struct {
        const char* delimiter;
        Position position;
        std::size_t parts;
    } cases[] = {
        {",", {1, 0, 0}, 4},
        {"^", {}, 3},
        {"]", {2, 0, 0}, 2},
        {"]", {}, 2},
        {"aa", {2, 1, 0}, 2},
        {",", {3, 0, 0}, 0},
        {",", {0, 1, 0}, 0},
        {"", {2, 2, 0}, 2},
        {"q", {1, 0, 0}, 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(array.Dcount(Marked(c.delimiter), c.position), c.parts) << c.delimiter;
    }
    EXPECT_EQ(array.Dcount(u"aa", {2, 1, 0}, Overlap::kYes), 3U);
}

TEST(DynamicArray, LocatesInAndOutOfOrder) {
    const struct {
        const char* array;
        const char* search;
        std::int32_t attribute, value;
        const char* order;
        bool found;
        std::size_t position;
    } cases[] = {
        {"B^A^C", "A", 0, 0, "", true, 2},
        {"B^A^C", "D", 0, 0, "", false, 4},
        {"x^B]D^y", "C", 2, 0, "AL", false, 2},
        {"x^B]D^y", "E", 2, 0, "al", false, 3},
        {"x^D]B^y", "C", 2, 0, "DL", false, 2},
        {"x^q]9\\10", "10", 2, 2, "AR", true, 2},
        {"9^10^100", "010", 0, 0, "AR", true, 2},   // integers of one size are equal
        {"9^10^100", "010", 0, 0, "AL", false, 1},  // as text they are not
        {"9^10^100", "-5", 0, 0, "AR", false, 1},
        {"99999999999999999998^99999999999999999999", "99999999999999999999", 0, 0, "AR", true, 2},
        {"z^aa^ab", "aaa", 0, 0, "AR", false, 4},  // the shorter before the longer
        {"C^A^B", "A", 0, 0, "AL", false, 1},      // an ordered search trusts the order
        {"", "", 0, 0, "", true, 1},
        {"", "x", 0, 0, "", false, 1},
        {"A", "", 5, 0, "", false, 1},  // what is not there holds nothing, not even ""
        {"A^^B", "", 0, 0, "", true, 2},
    };
    for (const auto& c : cases) {
        const LocateResult result = Make(c.array).Locate(
            Marked(c.search), c.attribute, c.value, SortOrder::Parse(Marked(c.order)));
        EXPECT_EQ(result.found, c.found) << c.array << " for " << c.search << " " << c.order;
        EXPECT_EQ(result.position, c.position) << c.array << " for " << c.search << " " << c.order;
    }
}

TEST(DynamicArray, LocatesAcrossEditedChunks) {
    Text sorted;
    for (int i = 0; i < 3000; ++i) {
        const std::string number = std::to_string(100000 + 2 * i);
        sorted += (i == 0 ? Text() : Text(1, kValueMark)) + Text(number.begin(), number.end());
    }
    DynamicArray array(sorted);
    array.Replace({1, 1500, 0}, u"1029980");  // one chunk is edited, out of order
    EXPECT_EQ(array.Locate(u"105998", 1, 0, {}).position, 3000U);
    EXPECT_EQ(array.Locate(u"105998", 1, 0, SortOrder::Parse(u"AR")).position, 1500U);
    EXPECT_FALSE(array.Locate(u"102998", 1, 0, {}).found);
}

TEST(DynamicArray, RefusesWhatIsTooLongAndStaysAsItWas) {
    const Position positions[] = {
        {INT32_MAX, 0, 0}, {1, INT32_MAX, 0}, {1, 1, INT32_MAX}, {-1, INT32_MAX, INT32_MAX}};
    for (const Position& position : positions) {
        DynamicArray array = Make("A]B^C");
        try {
            array.Replace(position, u"X");
            FAIL() << "a record of gigabytes was made";
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::kTooLong);
        }
        EXPECT_EQ(Drawn(array.ToText()), "A]B^C");
    }
}

TEST(DynamicArray, KeepsWhatItWasMadeOfAliveInCopiesAndMoves) {
    DynamicArray copy;
    DynamicArray moved;
    {
        DynamicArray original(Text(5000, u'x') + kAttributeMark + Text(5000, u'y'));
        EXPECT_EQ(original.Extract({2, 0, 0}).size(), 5000U);
        copy = original;
        original.Replace({1, 0, 0}, u"short");
        moved = std::move(original);
    }
    EXPECT_EQ(copy.Extract({1, 0, 0}), Text(5000, u'x'));
    EXPECT_EQ(moved.Extract({1, 0, 0}), u"short");
    EXPECT_EQ(moved.Extract({2, 0, 0}), Text(5000, u'y'));
}

}  // namespace
}  // namespace kel::text
