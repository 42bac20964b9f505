// Writes LIST and SORT, with breaks and totals, and SUM.
#include "hosts/multivalue/query/report.h"

#include <algorithm>

#include "hosts/multivalue/query/report_heading.h"
#include "hosts/multivalue/query/report_layout.h"
#include "hosts/multivalue/query/report_totals.h"
#include "hosts/multivalue/text/ascii.h"

namespace kel::query {

namespace {

constexpr std::size_t kPageWidth = 80;

class ReportWriter {
public:
    ReportWriter(Selection& selection,
                 TextView sentence,
                 Environment& environment,
                 ReportSink& sink)
        : selection_(selection),
          sentence_(sentence),
          environment_(environment),
          sink_(sink),
          query_(selection.Sentence()),
          options_(query_.report) {
        Column id;
        id.field = query_.idField;
        if (!options_.hidesId || query_.columns.empty()) {
            shown_.emplace_back(id, environment_);
        }
        for (const Column& column : query_.columns) {
            if (options_.onlyId) {
                break;
            }
            if (column.breaks) {
                breakColumns_.emplace_back(column, environment_);
            }
            if (!column.breakHidden) {
                shown_.emplace_back(column, environment_);
            }
        }
        std::size_t width = 0;
        for (const ReportColumn& column : shown_) {
            widths_.push_back(column.Width());
            width += column.Width() + 1;
        }
        isVertical_ = options_.vertical || width > kPageWidth + 1;
        totals_.assign(breakColumns_.size() + 1, std::vector<RunningTotal>(shown_.size()));
    }

    std::uint64_t Write() {
        Heading();
        std::uint64_t count = 0;
        for (SelectedId entry; selection_.Next(entry);) {
            if (!selection_.Load()) {
                continue;
            }
            selection_.Fields().SetCounters(static_cast<std::int64_t>(++count), 0);
            Record(entry, count == 1);
        }
        if (count > 0) {
            for (std::size_t level = breakColumns_.size(); level > 0; --level) {
                Subtotal(level);
            }
            GrandTotal();
        }
        Footing(count);
        return count;
    }

private:
    void WriteLines(const Lines& lines) {
        for (const Text& line : lines) {
            sink_.Line(line);
        }
    }

    void Heading() {
        if (!options_.heading) {
            sink_.Line(Text(sentence_) + u"  " + TimeAndDate(environment_));
        } else if (!options_.heading->empty()) {
            WriteLines(HeadingLines(*options_.heading, query_, page_, environment_));
        }
        if (isVertical_ || options_.hidesColumnHeadings) {
            return;
        }
        // Headings of several lines stand at the bottom of their columns.
        std::size_t height = 0;
        for (const ReportColumn& column : shown_) {
            height = std::max(height, column.Heading().size());
        }
        std::vector<Cell> cells;
        for (const ReportColumn& column : shown_) {
            Lines lines(height - column.Heading().size());
            lines.insert(lines.end(), column.Heading().begin(), column.Heading().end());
            cells.push_back({{std::move(lines)}, false});
        }
        WriteLines(SideBySide(cells, widths_));
    }

    void PageFooting() {
        if (options_.footing) {
            WriteLines(HeadingLines(*options_.footing, query_, page_, environment_));
        }
    }

    void Footing(std::uint64_t count) {
        for (const Text& id : selection_.Missing()) {
            sink_.Line(u"\"" + id + u"\" is not in file \"" + query_.file + u"\".");
        }
        const std::uint64_t untold = selection_.MissingCount() - selection_.Missing().size();
        if (untold > 0) {
            sink_.CountLine(untold, u" more id(s) are not in the file.");
        }
        PageFooting();
        if (!options_.hidesCount) {
            sink_.CountLine(count, u" record(s) listed");
        }
    }

    // The values of a column that the entry shows, in stored form.
    std::vector<Text> ValuesOf(const ReportColumn& column, const SelectedId& entry) {
        FieldEvaluator& fields = selection_.Fields();
        const Field& field = column.Own();
        const Text whole(fields.Internal(field));
        if (!field.Item().multivalued) {
            return {whole};
        }
        std::vector<Text> values;
        TextView rest = whole;
        for (std::int32_t value = 1;; ++value) {
            const std::size_t end = std::min(rest.find(kValueMark), rest.size());
            if (selection_.ShowsValue(field, entry.position, value)) {
                values.emplace_back(entry.position.subvalue > 0 && entry.position.value == value
                                        ? Text(fields.Internal(field, entry.position))
                                        : Text(rest.substr(0, end)));
            }
            if (end == rest.size()) {
                return values;
            }
            rest.remove_prefix(end + 1);
        }
    }

    void Record(const SelectedId& entry, bool isFirst) {
        std::vector<std::vector<Text>> values;
        for (const ReportColumn& column : shown_) {
            values.push_back(ValuesOf(column, entry));
        }
        Breaks(entry, isFirst);
        for (std::vector<RunningTotal>& level : totals_) {
            for (std::size_t i = 0; i < shown_.size(); ++i) {
                for (const Text& value : values[i]) {
                    level[i].Add(value);
                }
            }
        }
        if (options_.hidesDetail) {
            return;
        }
        if (options_.doubleSpaced || (isVertical_ && !isFirst)) {
            sink_.Line({});
        }
        std::vector<Cell> cells;
        for (std::size_t i = 0; i < shown_.size(); ++i) {
            Cell cell;
            cell.isAligned = shown_[i].Own().Item().multivalued;
            for (const Text& value : values[i]) {
                cell.values.push_back(shown_[i].LayOut(shown_[i].Shown(value)));
            }
            cells.push_back(std::move(cell));
        }
        WriteCells(cells);
    }

    void WriteCells(const std::vector<Cell>& cells) {
        if (!isVertical_) {
            WriteLines(SideBySide(cells, widths_));
            return;
        }
        std::size_t width = 0;
        for (const ReportColumn& column : shown_) {
            width = std::max(width, column.Heading().front().size());
        }
        for (std::size_t i = 0; i < cells.size(); ++i) {
            Text name = shown_[i].Heading().front();
            name.erase(name.find_last_not_of(u'.') + 1);
            name.erase(0, std::min(name.find_first_not_of(u'.'), name.size()));
            Cell heading{{{name}}, false};
            Cell flat{{Lines()}, false};
            for (const Lines& lines : cells[i].values) {
                flat.values.front().insert(flat.values.front().end(), lines.begin(), lines.end());
            }
            WriteLines(SideBySide({heading, flat}, {width, shown_[i].Width()}));
        }
    }

    // Tells which break columns changed, writes their subtotals and starts them again.
    void Breaks(const SelectedId& entry, bool isFirst) {
        std::vector<Text> now;
        for (const ReportColumn& column : breakColumns_) {
            Text value;
            for (const Text& part : ValuesOf(column, entry)) {
                value += (value.empty() ? u"" : u" ") + column.Shown(part);
            }
            now.push_back(std::move(value));
        }
        if (!isFirst) {
            const auto changed =
                std::mismatch(now.begin(), now.end(), breakValues_.begin()).first - now.begin();
            bool endsPage = false;
            for (std::size_t level = now.size(); level > static_cast<std::size_t>(changed);
                 --level) {
                Subtotal(level);
                endsPage = endsPage || HasBreakLetter(breakColumns_[level - 1], u'P');
            }
            if (endsPage) {
                PageFooting();
                ++page_;
                Heading();
            }
        }
        breakValues_ = std::move(now);
    }

    // Levels count from 1, the first break column being the highest; 0 is the whole report.
    void Subtotal(std::size_t level) {
        std::vector<Cell> cells;
        std::size_t number = 0;
        for (const ReportColumn& column : shown_) {
            Text text;
            if (column.Asked().breaks && &column.Own() == &breakColumns_[level - 1].Own()) {
                text = BreakText(column, breakValues_[level - 1]);
            }
            AddTotalCell(cells, column, level, number++, text);
        }
        WriteCells(cells);
        sink_.Line({});
        totals_[level].assign(shown_.size(), RunningTotal());
    }

    static bool HasBreakLetter(const ReportColumn& column, char16_t letter) {
        bool has = false;
        ReadReportText(column.Asked().breakText, [&](char16_t unit, bool isQuoted) {
            has = has || (isQuoted && unit == letter);
        });
        return has;
    }

    // "'V' in all" shows the value that ended, 'P' starts a page; other letters mean nothing here.
    Text BreakText(const ReportColumn& column, TextView value) const {
        if (column.Asked().breakText.empty()) {
            return options_.hidesDetail ? Text(value) : Text(u"***");
        }
        Text text;
        ReadReportText(column.Asked().breakText, [&](char16_t unit, bool isQuoted) {
            if (!isQuoted) {
                text.push_back(unit);
            } else if (unit == u'V') {
                text += value;
            }
        });
        return text;
    }

    void AddTotalCell(std::vector<Cell>& cells,
                      const ReportColumn& column,
                      std::size_t level,
                      std::size_t number,
                      const Text& text) const {
        if (column.Asked().total != Total::kNone) {
            const Text result = totals_[level][number].Result(column.Asked());
            const bool isCount = column.Asked().total == Total::kCount;
            cells.push_back({{column.LayOut(isCount ? result : column.Shown(result))}, false});
        } else {
            cells.push_back({{text.empty() ? Lines() : Lines{text}}, false});
        }
    }

    void GrandTotal() {
        const bool hasTotals =
            std::any_of(shown_.begin(), shown_.end(), [](const ReportColumn& column) {
                return column.Asked().total != Total::kNone;
            });
        if (!hasTotals) {
            return;
        }
        std::vector<Cell> cells;
        for (std::size_t i = 0; i < shown_.size(); ++i) {
            const bool isFirst = i == 0 && shown_[0].Asked().total == Total::kNone;
            AddTotalCell(
                cells, shown_[i], 0, i, isFirst ? options_.grandTotal.value_or(u"TOTAL") : Text());
        }
        if (isVertical_) {
            sink_.Line({});
        }
        WriteCells(cells);
    }

    Selection& selection_;
    TextView sentence_;
    Environment& environment_;
    ReportSink& sink_;
    const Query& query_;
    const ReportOptions& options_;
    std::vector<ReportColumn> shown_;
    std::vector<std::size_t> widths_;
    bool isVertical_ = false;
    int page_ = 1;
    std::vector<ReportColumn> breakColumns_;
    std::vector<Text> breakValues_;
    std::vector<std::vector<RunningTotal>> totals_;  // by level, then column
};

}  // namespace

std::uint64_t WriteReport(Selection& selection,
                          TextView sentence,
                          Environment& environment,
                          ReportSink& sink) {
    return ReportWriter(selection, sentence, environment, sink).Write();
}

std::uint64_t WriteSums(Selection& selection, Environment& environment, ReportSink& sink) {
    std::vector<ReportColumn> columns;
    for (Column column : selection.Sentence().columns) {
        column.total = column.total == Total::kNone ? Total::kSum : column.total;
        columns.emplace_back(std::move(column), environment);
    }
    std::vector<RunningTotal> totals(columns.size());
    std::uint64_t count = 0;
    for (SelectedId entry; selection.Next(entry); ++count) {
        for (std::size_t i = 0; i < columns.size(); ++i) {
            for (const Text& value : PartsOf(selection.Fields().Internal(columns[i].Own()))) {
                totals[i].Add(value);
            }
        }
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
        sink.Line(Text(u"TOTAL ") + columns[i].Own().Name() + u" = " +
                  columns[i].Shown(totals[i].Result(columns[i].Asked())));
    }
    sink.CountLine(count, u" record(s) summed");
    return count;
}

}  // namespace kel::query
