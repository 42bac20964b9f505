// The tables of keywords and comparisons.
#include "hosts/multivalue/query/keywords.h"

#include <algorithm>
#include <array>

namespace kel::query {

namespace {

template <typename Meaning>
struct Named {
    TextView word;
    Meaning meaning;
};
template <typename Meaning>
Named(TextView, Meaning) -> Named<Meaning>;

constexpr std::array kKeywords{
    Named{TextView(u"A"), Keyword::kThrowaway},
    Named{TextView(u"AN"), Keyword::kThrowaway},
    Named{TextView(u"AND"), Keyword::kAnd},
    Named{TextView(u"ANY"), Keyword::kThrowaway},
    Named{TextView(u"ARE"), Keyword::kThrowaway},
    Named{TextView(u"AS"), Keyword::kAs},
    Named{TextView(u"AVERAGE"), Keyword::kAverage},
    Named{TextView(u"AVG"), Keyword::kAverage},
    Named{TextView(u"BREAK-ON"), Keyword::kBreakOn},
    Named{TextView(u"BREAK-SUP"), Keyword::kBreakHidden},
    Named{TextView(u"BY"), Keyword::kBy},
    Named{TextView(u"BY-DSND"), Keyword::kByDescending},
    Named{TextView(u"BY-EXP"), Keyword::kByExploded},
    Named{TextView(u"BY-EXP-DSND"), Keyword::kByExplodedDescending},
    Named{TextView(u"COL-HDG"), Keyword::kColumnHeading},
    Named{TextView(u"COL-HDR-SUPP"), Keyword::kHideColumnHeadings},
    Named{TextView(u"COL-SUP"), Keyword::kHideColumnHeadings},
    Named{TextView(u"CONV"), Keyword::kConversion},
    Named{TextView(u"COUNT-SUP"), Keyword::kHideCount},
    Named{TextView(u"DBL-SPC"), Keyword::kDoubleSpaced},
    Named{TextView(u"DET-SUP"), Keyword::kHideDetail},
    Named{TextView(u"DET-SUPP"), Keyword::kHideDetail},
    Named{TextView(u"DICT"), Keyword::kDict},
    Named{TextView(u"DISPLAY-NAME"), Keyword::kColumnHeading},
    Named{TextView(u"EACH"), Keyword::kEvery},
    Named{TextView(u"ENUM"), Keyword::kEnumerate},
    Named{TextView(u"ENUMERATE"), Keyword::kEnumerate},
    Named{TextView(u"EVAL"), Keyword::kEval},
    Named{TextView(u"EVERY"), Keyword::kEvery},
    Named{TextView(u"FILE"), Keyword::kThrowaway},
    Named{TextView(u"FIRST"), Keyword::kSample},
    Named{TextView(u"FMT"), Keyword::kFormat},
    Named{TextView(u"FOOTER"), Keyword::kFooting},
    Named{TextView(u"FOOTING"), Keyword::kFooting},
    Named{TextView(u"FOR"), Keyword::kThrowaway},
    Named{TextView(u"FROM"), Keyword::kFrom},
    Named{TextView(u"GRAND-TOTAL"), Keyword::kGrandTotal},
    Named{TextView(u"HDR-SUP"), Keyword::kHideHeading},
    Named{TextView(u"HDR-SUPP"), Keyword::kHideHeading},
    Named{TextView(u"HEADER"), Keyword::kHeading},
    Named{TextView(u"HEADING"), Keyword::kHeading},
    Named{TextView(u"ID-ONLY"), Keyword::kOnlyId},
    Named{TextView(u"ID-SUP"), Keyword::kHideId},
    Named{TextView(u"ID-SUPP"), Keyword::kHideId},
    Named{TextView(u"IF"), Keyword::kWith},
    Named{TextView(u"IN"), Keyword::kThrowaway},
    Named{TextView(u"ITEMS"), Keyword::kThrowaway},
    Named{TextView(u"LPTR"), Keyword::kThrowaway},
    Named{TextView(u"MAX"), Keyword::kMaximum},
    Named{TextView(u"MIN"), Keyword::kMinimum},
    Named{TextView(u"NO"), Keyword::kNo},
    Named{TextView(u"NO-INDEX"), Keyword::kNoIndex},
    Named{TextView(u"NO-NULLS"), Keyword::kNoNulls},
    Named{TextView(u"NO-PAGE"), Keyword::kThrowaway},
    Named{TextView(u"NOPAGE"), Keyword::kThrowaway},
    Named{TextView(u"NOT"), Keyword::kNot},
    Named{TextView(u"OF"), Keyword::kThrowaway},
    Named{TextView(u"ONLY"), Keyword::kOnlyId},
    Named{TextView(u"OR"), Keyword::kOr},
    Named{TextView(u"REQUIRE-SELECT"), Keyword::kRequireSelect},
    Named{TextView(u"SAMPLE"), Keyword::kSample},
    Named{TextView(u"SAVING"), Keyword::kSaving},
    Named{TextView(u"THAN"), Keyword::kThrowaway},
    Named{TextView(u"THE"), Keyword::kThrowaway},
    Named{TextView(u"TO"), Keyword::kTo},
    Named{TextView(u"TOTAL"), Keyword::kTotal},
    Named{TextView(u"UNIQUE"), Keyword::kUnique},
    Named{TextView(u"USING"), Keyword::kUsing},
    Named{TextView(u"VERT"), Keyword::kVertical},
    Named{TextView(u"VERTICALLY"), Keyword::kVertical},
    Named{TextView(u"WHEN"), Keyword::kWhen},
    Named{TextView(u"WITH"), Keyword::kWith},
    Named{TextView(u"WITHOUT"), Keyword::kWithout},
};

constexpr std::array kComparisons{
    Named{TextView(u"="), Comparison::kEqual},
    Named{TextView(u"EQ"), Comparison::kEqual},
    Named{TextView(u"EQUAL"), Comparison::kEqual},
    Named{TextView(u"#"), Comparison::kUnequal},
    Named{TextView(u"<>"), Comparison::kUnequal},
    Named{TextView(u"><"), Comparison::kUnequal},
    Named{TextView(u"NE"), Comparison::kUnequal},
    Named{TextView(u"<"), Comparison::kLess},
    Named{TextView(u"LT"), Comparison::kLess},
    Named{TextView(u"LESS"), Comparison::kLess},
    Named{TextView(u"BEFORE"), Comparison::kLess},
    Named{TextView(u">"), Comparison::kGreater},
    Named{TextView(u"GT"), Comparison::kGreater},
    Named{TextView(u"GREATER"), Comparison::kGreater},
    Named{TextView(u"AFTER"), Comparison::kGreater},
    Named{TextView(u"<="), Comparison::kLessOrEqual},
    Named{TextView(u"=<"), Comparison::kLessOrEqual},
    Named{TextView(u"#>"), Comparison::kLessOrEqual},
    Named{TextView(u"LE"), Comparison::kLessOrEqual},
    Named{TextView(u">="), Comparison::kGreaterOrEqual},
    Named{TextView(u"=>"), Comparison::kGreaterOrEqual},
    Named{TextView(u"#<"), Comparison::kGreaterOrEqual},
    Named{TextView(u"GE"), Comparison::kGreaterOrEqual},
    Named{TextView(u"LIKE"), Comparison::kLike},
    Named{TextView(u"MATCH"), Comparison::kLike},
    Named{TextView(u"MATCHES"), Comparison::kLike},
    Named{TextView(u"MATCHING"), Comparison::kLike},
    Named{TextView(u"UNLIKE"), Comparison::kUnlike},
    Named{TextView(u"NOT-MATCHING"), Comparison::kUnlike},
    Named{TextView(u"SAID"), Comparison::kSounds},
    Named{TextView(u"SPOKEN"), Comparison::kSounds},
    Named{TextView(u"~"), Comparison::kSounds},
    Named{TextView(u"BETWEEN"), Comparison::kBetween},
};

template <typename Table>
auto FindIn(const Table& table, TextView word) {
    return std::find_if(
        table.begin(), table.end(), [word](const auto& named) { return named.word == word; });
}

}  // namespace

Keyword FindKeyword(TextView word) {
    const auto* const found = FindIn(kKeywords, word);
    return found == kKeywords.end() ? Keyword::kNone : found->meaning;
}

std::optional<Comparison> FindComparison(TextView word) {
    const auto* const found = FindIn(kComparisons, word);
    return found == kComparisons.end() ? std::nullopt : std::optional(found->meaning);
}

Comparison Opposite(Comparison comparison) {
    switch (comparison) {
        case Comparison::kEqual:
            return Comparison::kUnequal;
        case Comparison::kUnequal:
            return Comparison::kEqual;
        case Comparison::kLess:
            return Comparison::kGreaterOrEqual;
        case Comparison::kGreater:
            return Comparison::kLessOrEqual;
        case Comparison::kLessOrEqual:
            return Comparison::kGreater;
        case Comparison::kGreaterOrEqual:
            return Comparison::kLess;
        case Comparison::kLike:
            return Comparison::kUnlike;
        case Comparison::kUnlike:
            return Comparison::kLike;
        default:
            return comparison;
    }
}

}  // namespace kel::query
