// The words of the query language, apart from names. For the query parser only.
#pragma once

#include <optional>

#include "hosts/multivalue/query/tree.h"
#include "hosts/multivalue/text/text.h"

namespace kel::query {

enum class Keyword {
    kNone,
    kThrowaway,
    kWith,
    kWithout,
    kWhen,
    kAnd,
    kOr,
    kNo,
    kNot,
    kEvery,
    kBy,
    kByDescending,
    kByExploded,
    kByExplodedDescending,
    kSaving,
    kUnique,
    kNoNulls,
    kSample,
    kFrom,
    kTo,
    kUsing,
    kDict,
    kEval,
    kAs,
    kRequireSelect,
    kNoIndex,
    kTotal,
    kAverage,
    kMaximum,
    kMinimum,
    kEnumerate,
    kBreakOn,
    kBreakHidden,
    kHeading,
    kFooting,
    kGrandTotal,
    kColumnHeading,
    kFormat,
    kConversion,
    kHideId,
    kOnlyId,
    kHideDetail,
    kHideColumnHeadings,
    kHideCount,
    kHideHeading,
    kDoubleSpaced,
    kVertical
};

// `word` as KeywordOf makes it.
Keyword FindKeyword(TextView word);

// The comparison that a sign or word stands for.
std::optional<Comparison> FindComparison(TextView word);

Comparison Opposite(Comparison comparison);

}  // namespace kel::query
