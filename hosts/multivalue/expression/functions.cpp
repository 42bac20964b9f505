// The tables of functions and system names.
#include "hosts/multivalue/expression/functions.h"

#include <algorithm>
#include <iterator>

namespace kel::expression {

namespace {

constexpr ExpressionFunction kFunctions[] = {
    {u"ABS", Operation::kAbsolute, 1, 1, {}, true},
    {u"CHANGE", Operation::kChange, 3, 5, {u"0", u"1"}},
    {u"COUNT", Operation::kCount, 2, 2},
    {u"DATE", Operation::kToday, 0, 0},
    {u"DCOUNT", Operation::kParts, 2, 2},
    {u"DOWNCASE", Operation::kLower, 1, 1},
    {u"EXTRACT", Operation::kExtract, 2, 4, {u"0", u"0"}},
    {u"FIELD", Operation::kField, 3, 4, {u"1"}},
    {u"FMT", Operation::kFormat, 2, 2},
    {u"ICONV", Operation::kInput, 2, 2},
    {u"INDEX", Operation::kIndex, 2, 3, {u"1"}},
    {u"INT", Operation::kInteger, 1, 1, {}, true},
    {u"LEFT", Operation::kLeft, 2, 2},
    {u"LEN", Operation::kLength, 1, 1},
    {u"MAXIMUM", Operation::kMaximum, 1, 1, {}, true},
    {u"MINIMUM", Operation::kMinimum, 1, 1, {}, true},
    {u"MOD", Operation::kRemainder, 2, 2, {}, true},
    {u"NOT", Operation::kNot, 1, 1},
    {u"OCONV", Operation::kOutput, 2, 2},
    {u"REM", Operation::kRemainder, 2, 2, {}, true},
    {u"REUSE", Operation::kReuse, 1, 1, {}, true},
    {u"RIGHT", Operation::kRight, 2, 2},
    {u"SUM", Operation::kSum, 1, 1, {}, true},
    {u"TIME", Operation::kNow, 0, 0},
    {u"TRIM", Operation::kTrim, 1, 3, {u" ", u"R"}},
    {u"UPCASE", Operation::kUpper, 1, 1},
};

constexpr SystemName kSystemNames[] = {
    {u"@AM", Operation::kConstant, TextView(&kAttributeMark, 1)},
    {u"@DATE", Operation::kToday},
    {u"@FM", Operation::kConstant, TextView(&kAttributeMark, 1)},
    {u"@NB", Operation::kBreakLevel},
    {u"@NI", Operation::kItemCounter},
    {u"@NS", Operation::kSubvalueCounter},
    {u"@NV", Operation::kValueCounter},
    {u"@SM", Operation::kConstant, TextView(&kSubvalueMark, 1)},
    {u"@SVM", Operation::kConstant, TextView(&kSubvalueMark, 1)},
    {u"@TIME", Operation::kNow},
    {u"@TM", Operation::kConstant, TextView(&kTextMark, 1)},
    {u"@VM", Operation::kConstant, TextView(&kValueMark, 1)},
};

template <typename Entry, std::size_t kCount>
const Entry* Find(const Entry (&entries)[kCount], TextView name) {
    const auto found = std::find_if(std::begin(entries),
                                    std::end(entries),
                                    [name](const Entry& entry) { return entry.name == name; });
    return found == std::end(entries) ? nullptr : found;
}

}  // namespace

const ExpressionFunction* FindExpressionFunction(TextView upperName) {
    return Find(kFunctions, upperName);
}

const SystemName* FindSystemName(TextView upperName) {
    return Find(kSystemNames, upperName);
}

}  // namespace kel::expression
