// What a query sentence says, once it is parsed: fields resolved, constants converted. Running it
// reads nothing of the sentence again.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "hosts/multivalue/expression/field_evaluator.h"
#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/text/text.h"

namespace kel::query {

enum class QueryVerb { kSelect, kSortedSelect, kList, kSortedList, kCount, kSum };

enum class Comparison {
    kPresent,  // not empty
    kEqual,
    kUnequal,
    kLess,
    kGreater,
    kLessOrEqual,
    kGreaterOrEqual,
    kLike,
    kUnlike,
    kSounds,   // as the constant does when spoken
    kBetween,  // the two constants, both included
};

// What a value is compared with.
struct Constant {
    // How much of a value the text stands for.
    enum class Part { kWhole, kEnd, kStart, kAnywhere };

    Text text;                     // in stored form; in capitals when case does not count
    std::optional<Number> number;  // the same
    Part part = Part::kWhole;
    bool anyUnits = false;  // ^ in it stands for any unit
};

struct Test {
    const Field* field = nullptr;
    Comparison comparison = Comparison::kPresent;
    bool every = false;    // all values have to pass, not just one
    bool negated = false;  // NO: holds where the test does not
    bool ignoresCase = false;
    // Alternatives: one of them has to pass; for kUnequal and kUnlike all of them. None with
    // kPresent or another field; two with kBetween.
    std::vector<Constant> constants;
    const Field* other = nullptr;  // compared with this field of the same record
};

// A tree over tests, in one array; children stand before their parents and the root is the last.
struct Condition {
    enum class Kind { kTest, kAnd, kOr };
    struct Node {
        Kind kind = Kind::kTest;
        std::uint32_t left = 0;  // of kTest: the test
        std::uint32_t right = 0;
    };

    std::vector<Node> nodes;
    std::vector<Test> tests;

    bool Empty() const { return nodes.empty(); }
    std::uint32_t Root() const { return static_cast<std::uint32_t>(nodes.size() - 1); }
};

struct SortKey {
    const Field* field = nullptr;
    bool descending = false;
    bool exploded = false;  // an entry for every value
};

enum class Total { kNone, kSum, kAverage, kMaximum, kMinimum, kCount };

struct Column {
    const Field* field = nullptr;
    Total total = Total::kNone;
    bool averageWithoutEmpty = false;
    bool breaks = false;       // a subtotal whenever its value changes
    bool breakHidden = false;  // and the column itself is not shown
    Text breakText;
    std::optional<Text> heading;
    std::optional<Text> conversion;
    std::optional<Text> format;
};

struct Saving {
    const Field* field = nullptr;
    bool unique = false;
    bool withoutEmpty = false;
};

struct ReportOptions {
    std::optional<Text> heading;  // "": none; nothing: the sentence itself
    std::optional<Text> footing;
    std::optional<Text> grandTotal;
    bool hidesId = false;
    bool onlyId = false;
    bool hidesDetail = false;
    bool hidesColumnHeadings = false;
    bool hidesCount = false;
    bool doubleSpaced = false;
    bool vertical = false;
};

struct Query {
    QueryVerb verb = QueryVerb::kSelect;
    Text file;        // as the store has it: of a dictionary with its prefix
    Text dictionary;  // the file whose dictionary describes the fields; "" when there is none
    std::unique_ptr<FieldEvaluator> fields;  // all Field pointers belong to it
    const Field* idField = nullptr;          // @ID
    std::vector<Text> ids;                   // explicit ones
    Condition with;
    Condition when;
    std::vector<SortKey> sorts;
    std::vector<Column> columns;
    std::optional<Saving> saving;
    std::optional<std::uint64_t> sample;
    std::optional<int> fromList;
    std::optional<int> toList;
    bool requiresList = false;
    bool usesIndexes = true;
    ReportOptions report;
};

}  // namespace kel::query
