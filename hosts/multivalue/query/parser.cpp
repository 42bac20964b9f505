// Parses everything of a query but its front and its conditions.
#include "hosts/multivalue/query/parser.h"

#include <algorithm>

#include "hosts/multivalue/query/condition_parser.h"
#include "hosts/multivalue/query/front.h"
#include "hosts/multivalue/query/index_fields.h"
#include "hosts/multivalue/query/reader.h"
#include "hosts/multivalue/query/select_list.h"
#include "hosts/multivalue/store/id_rules.h"

namespace kel::query {

namespace {

constexpr std::uint32_t kDefaultSample = 10;

Total TotalOf(Keyword keyword) {
    switch (keyword) {
        case Keyword::kTotal:
            return Total::kSum;
        case Keyword::kAverage:
            return Total::kAverage;
        case Keyword::kMaximum:
            return Total::kMaximum;
        case Keyword::kMinimum:
            return Total::kMinimum;
        case Keyword::kEnumerate:
            return Total::kCount;
        default:
            return Total::kNone;
    }
}

class QueryParser {
public:
    QueryParser(QueryVerb verb,
                QueryFront front,
                const QueryOptions& options,
                Store& store,
                Environment& environment)
        : store_(store),
          environment_(environment),
          dictionary_(std::move(front.dictionary)),
          fields_(std::make_unique<FieldEvaluator>(environment, dictionary_)),
          reader_(std::move(front.rest), *fields_, dictionary_, environment),
          idField_(RequireIdField()),
          conditions_(reader_, idField_, options, environment) {
        query_.verb = verb;
        query_.file = std::move(front.file);
        query_.dictionary = dictionary_;
        query_.idField = &idField_;
    }

    Query Parse() {
        Clauses();
        const bool isReport =
            query_.verb == QueryVerb::kList || query_.verb == QueryVerb::kSortedList;
        if (isReport && query_.columns.empty() && !query_.report.onlyId) {
            InsertDefaultColumns();
            Clauses();
        }
        query_.fields = std::move(fields_);
        return std::move(query_);
    }

private:
    const Field& RequireIdField() {
        const Field* field = fields_->Resolve(u"@ID");
        if (field == nullptr) {
            Refuse(u"@ID", u"is not a field in the dictionary.");
        }
        return *field;
    }

    void Clauses() {
        while (!reader_.AtEnd()) {
            Clause();
        }
    }

    void Clause() {
        const Word& word = reader_.Peek();
        switch (word.kind) {
            case Word::Kind::kQuoted:
                query_.ids.push_back(reader_.Take().text);
                return;
            case Word::Kind::kSign:
            case Word::Kind::kOpen:
                conditions_.Continue(query_.with, Keyword::kWith, std::nullopt);
                return;
            case Word::Kind::kClose:
                Refuse(u")", u"has no opening parenthesis.");
            default:
                break;
        }
        // Keywords that are names as well: the dictionary decides, unless a field stands behind.
        const Keyword keyword = reader_.PeekKeyword();
        const bool wantsField = TotalOf(keyword) != Total::kNone;
        if (keyword == Keyword::kNone || keyword == Keyword::kThrowaway ||
            (wantsField && !reader_.SecondIsField())) {
            NameClause(keyword);
        } else if (!ConditionClause(keyword) && !SortClause(keyword) && !ListClause(keyword) &&
                   !ColumnClause(keyword) && !ReportClause(keyword)) {
            Refuse(reader_.Peek().text, u"stands where it means nothing.");
        }
    }

    // A field, a phrase, a comparison of ids, or an id.
    void NameClause(Keyword keyword) {
        const Word word = reader_.Peek();
        if (const Field* field = reader_.TakeField()) {
            AddColumn().field = field;
        } else if (reader_.ExpandPhrase()) {
            return;
        } else if (FindComparison(word.keyword)) {
            conditions_.Continue(query_.with, Keyword::kWith, std::nullopt);
        } else if (HasRecord(word.text)) {
            query_.ids.push_back(reader_.Take().text);
        } else if (keyword == Keyword::kThrowaway) {
            reader_.Take();
        } else {
            reader_.RequireField(word.text);
        }
    }

    bool HasRecord(TextView id) {
        const std::optional<FileNumber> file = store_.FindFile(query_.file);
        return file && CanBeId(id) && store_.Exists(*file, id);
    }

    bool ConditionClause(Keyword keyword) {
        std::optional<Condition::Kind> joint;
        if (keyword == Keyword::kAnd || keyword == Keyword::kOr) {
            const Text word = reader_.Take().text;
            joint = keyword == Keyword::kAnd ? Condition::Kind::kAnd : Condition::Kind::kOr;
            keyword = reader_.PeekKeyword();
            if (keyword != Keyword::kWhen && keyword != Keyword::kWith) {
                if (query_.with.Empty()) {
                    Refuse(word, u"joins no condition.");
                }
                conditions_.Continue(query_.with, Keyword::kWith, joint);
                return true;
            }
        }
        switch (keyword) {
            case Keyword::kWith:
            case Keyword::kWhen:
                reader_.Take();
                conditions_.Continue(
                    keyword == Keyword::kWith ? query_.with : query_.when, keyword, joint);
                return true;
            case Keyword::kWithout:
                conditions_.Continue(query_.with, Keyword::kWith, joint);
                return true;
            default:
                return false;
        }
    }

    bool SortClause(Keyword keyword) {
        SortKey key;
        key.descending =
            keyword == Keyword::kByDescending || keyword == Keyword::kByExplodedDescending;
        key.exploded = keyword == Keyword::kByExploded || keyword == Keyword::kByExplodedDescending;
        if (keyword != Keyword::kBy && !key.descending && !key.exploded) {
            return false;
        }
        const Text word = reader_.Take().text;
        key.field = &reader_.RequireField(word);
        query_.sorts.push_back(key);
        return true;
    }

    int RequireListNumber(TextView word) {
        const std::uint32_t number = reader_.RequireCount(word);
        if (number >= static_cast<std::uint32_t>(kActiveLists)) {
            Refuse(word, u"takes the number of a list, 0 to 10.");
        }
        return static_cast<int>(number);
    }

    bool ListClause(Keyword keyword) {
        const Text word = reader_.Peek().text;
        switch (keyword) {
            case Keyword::kSaving: {
                reader_.Take();
                Saving saving;
                saving.unique = reader_.TakeIf(Keyword::kUnique);
                saving.field = &reader_.RequireField(word);
                query_.saving = saving;
                return true;
            }
            case Keyword::kSample:
                reader_.Take();
                // A quoted number is an id.
                query_.sample =
                    reader_.Peek().kind == Word::Kind::kPlain && ComparedNumber(reader_.Peek().text)
                        ? reader_.RequireCount(word)
                        : kDefaultSample;
                return true;
            case Keyword::kFrom:
                reader_.Take();
                query_.fromList = RequireListNumber(word);
                return true;
            case Keyword::kTo:
                reader_.Take();
                query_.toList = RequireListNumber(word);
                return true;
            case Keyword::kNoNulls:
                if (query_.saving) {
                    query_.saving->withoutEmpty = true;
                } else if (!query_.columns.empty()) {
                    query_.columns.back().averageWithoutEmpty = true;
                } else {
                    return false;
                }
                break;
            case Keyword::kRequireSelect:
                query_.requiresList = true;
                break;
            case Keyword::kNoIndex:
                query_.usesIndexes = false;
                break;
            default:
                return false;
        }
        reader_.Take();
        return true;
    }

    Column& AddColumn() { return query_.columns.emplace_back(); }

    Column& LastColumn(TextView word) {
        if (query_.columns.empty()) {
            Refuse(word, u"needs a column in front of it.");
        }
        return query_.columns.back();
    }

    bool ColumnClause(Keyword keyword) {
        const Text word = reader_.Peek().text;
        if (keyword == Keyword::kEval) {
            AddColumn().field = &reader_.RequireField(word);
            return true;
        }
        if (const Total total = TotalOf(keyword); total != Total::kNone) {
            reader_.Take();
            Column& column = AddColumn();
            column.total = total;
            column.field = &reader_.RequireField(word);
            return true;
        }
        switch (keyword) {
            case Keyword::kBreakOn:
            case Keyword::kBreakHidden:
                reader_.Take();
                BreakColumn(word, keyword == Keyword::kBreakHidden);
                return true;
            case Keyword::kColumnHeading:
            case Keyword::kAs:
                reader_.Take();
                LastColumn(word).heading = reader_.RequireText(word);
                return true;
            case Keyword::kFormat:
                reader_.Take();
                LastColumn(word).format = reader_.RequireText(word);
                return true;
            case Keyword::kConversion:
                reader_.Take();
                LastColumn(word).conversion = reader_.RequireText(word);
                return true;
            default:
                return false;
        }
    }

    void BreakColumn(TextView word, bool hidden) {
        Column& column = AddColumn();
        column.breaks = true;
        column.breakHidden = hidden;
        if (reader_.Peek().kind == Word::Kind::kQuoted) {
            column.breakText = reader_.Take().text;
        }
        column.field = &reader_.RequireField(word);
        if (column.breakText.empty() && reader_.Peek().kind == Word::Kind::kQuoted) {
            column.breakText = reader_.Take().text;
        }
    }

    bool ReportClause(Keyword keyword) {
        ReportOptions& report = query_.report;
        const Text word = reader_.Take().text;
        switch (keyword) {
            case Keyword::kHeading:
                report.heading = reader_.RequireText(word);
                return true;
            case Keyword::kFooting:
                report.footing = reader_.RequireText(word);
                return true;
            case Keyword::kGrandTotal:
                report.grandTotal = reader_.RequireText(word);
                return true;
            case Keyword::kHideHeading:
                report.heading = Text();
                return true;
            case Keyword::kHideId:
                report.hidesId = true;
                return true;
            case Keyword::kOnlyId:
                report.onlyId = true;
                return true;
            case Keyword::kHideDetail:
                report.hidesDetail = true;
                return true;
            case Keyword::kHideColumnHeadings:
                report.hidesColumnHeadings = true;
                return true;
            case Keyword::kHideCount:
                report.hidesCount = true;
                return true;
            case Keyword::kDoubleSpaced:
                report.doubleSpaced = true;
                return true;
            case Keyword::kVertical:
                report.vertical = true;
                return true;
            default:
                Refuse(word, u"stands where it means nothing.");
        }
    }

    // The phrase @ in a Uni account; the items 1, 2, 3 ... in an R83 account.
    void InsertDefaultColumns() {
        if (dictionary_.empty()) {
            return;
        }
        std::vector<Word> words;
        if (environment_.OwnFamily() == Family::kR83) {
            for (std::int64_t number = 1;; ++number) {
                Text name;
                Number(number).AppendTo(name);
                if (!environment_.ReadRecord(dictionary_, true, name)) {
                    break;
                }
                words.push_back({Word::Kind::kPlain, name, name});
            }
        } else if (environment_.ReadRecord(dictionary_, true, u"@")) {
            words.push_back({Word::Kind::kPlain, u"@", u"@"});
        }
        reader_.InsertWords(std::move(words));
    }

    Store& store_;
    Environment& environment_;
    Text dictionary_;
    Query query_;
    std::unique_ptr<FieldEvaluator> fields_;
    QueryReader reader_;
    const Field& idField_;
    ConditionParser conditions_;
};

}  // namespace

Query ParseQuery(QueryVerb verb,
                 TextView sentence,
                 const QueryOptions& options,
                 Store& store,
                 Environment& environment) {
    return QueryParser(verb, ReadQueryFront(sentence, store), options, store, environment).Parse();
}

}  // namespace kel::query
