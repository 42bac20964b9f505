// CSV read row by row, cells parted into values, and cells written.
#include "apps/kelsh/transfer/csv.h"

#include <algorithm>

#include "hosts/multivalue/text/code_points.h"

namespace kel::transfer {

CsvReader::CsvReader(std::istream& data, const CsvForm& form, const std::vector<Text>& columns)
    : reader_(data), delimiter_(form.delimiter), columns_(columns) {
    if (columns_.empty()) {
        ReadRow(columns_);
    }
}

bool CsvReader::AtCellEnd() {
    const std::int32_t next = reader_.Peek();
    return next == delimiter_ || next == '\r' || next == '\n' || next == Utf8Reader::kEnd;
}

void CsvReader::ReadCell(Text& cell) {
    if (reader_.Peek() != '"') {
        while (!AtCellEnd()) {
            AppendPoint(cell, static_cast<char32_t>(reader_.Take()));
        }
        return;
    }
    reader_.Take();
    for (;;) {
        const std::int32_t point = reader_.Take();
        if (point == Utf8Reader::kEnd) {
            throw RowFault{{line_, {}, u"A quoted cell does not end."}, false};
        }
        if (point == '"') {
            if (reader_.Peek() != '"') {
                break;
            }
            reader_.Take();
        }
        AppendPoint(cell, static_cast<char32_t>(point));
    }
    if (!AtCellEnd()) {
        while (reader_.Peek() != '\r' && reader_.Peek() != '\n' &&
               reader_.Peek() != Utf8Reader::kEnd) {
            reader_.Take();
        }
        throw RowFault{{line_, {}, u"There is text behind the closing quote of a cell."}, true};
    }
}

// Empty lines are passed over. False at the end.
bool CsvReader::ReadRow(std::vector<Text>& cells) {
    while (reader_.Peek() == '\r' || reader_.Peek() == '\n') {
        reader_.Take();
    }
    cells.clear();
    line_ = reader_.line();
    if (reader_.Peek() == Utf8Reader::kEnd) {
        return false;
    }
    for (;;) {
        ReadCell(cells.emplace_back());
        if (reader_.Peek() != delimiter_) {
            return true;
        }
        reader_.Take();
    }
}

bool CsvReader::Next(InputRow& row) {
    if (!ReadRow(cells_)) {
        return false;
    }
    row.line = line_;
    row.cells.resize(columns_.size());
    if (cells_.size() != columns_.size()) {
        throw RowFault{{line_, {}, u"The row has another number of cells than there are columns."},
                       true};
    }
    for (std::size_t i = 0; i < cells_.size(); ++i) {
        row.cells[i].column = columns_[i];
        row.cells[i].text.swap(cells_[i]);
    }
    return true;
}

Cell PartCell(TextView text, const CsvForm& form) {
    Cell cell = {{Text()}};
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t end = std::min(text.find_first_not_of(u'\\', i), text.size());
        const std::size_t backslashes = end - i;
        const bool isSeparator = end < text.size() && (text[end] == form.valueSeparator ||
                                                       text[end] == form.subvalueSeparator);
        cell.back().back().append(isSeparator ? backslashes / 2 : backslashes, u'\\');
        i = end;
        if (end == text.size()) {
            break;
        }
        if (!isSeparator || backslashes % 2 != 0) {
            cell.back().back().push_back(text[end]);
        } else if (text[end] == form.valueSeparator) {
            cell.push_back({Text()});
        } else {
            cell.back().emplace_back();
        }
    }
    return cell;
}

Text JoinCell(const Cell& cell, const CsvForm& form) {
    Text text;
    const auto doubleLastBackslashes = [&] {
        const std::size_t end = text.find_last_not_of(u'\\') + 1;  // 0 for none
        text.append(text.size() - end, u'\\');
    };
    for (const std::vector<Text>& subvalues : cell) {
        if (&subvalues != &cell.front()) {
            doubleLastBackslashes();
            text.push_back(form.valueSeparator);
        }
        for (const Text& part : subvalues) {
            if (&part != &subvalues.front()) {
                doubleLastBackslashes();
                text.push_back(form.subvalueSeparator);
            }
            for (const char16_t unit : part) {
                if (unit == form.valueSeparator || unit == form.subvalueSeparator) {
                    doubleLastBackslashes();
                    text.push_back(u'\\');
                }
                text.push_back(unit);
            }
        }
    }
    return text;
}

Text QuotedCell(TextView text, const CsvForm& form) {
    const auto needsQuotes = [&](char16_t unit) {
        return unit == form.delimiter || unit == u'"' || unit == u'\r' || unit == u'\n';
    };
    if (std::none_of(text.begin(), text.end(), needsQuotes) &&
        (text.empty() || (text.front() != u' ' && text.back() != u' '))) {
        return Text(text);
    }
    Text quoted(1, u'"');
    for (const char16_t unit : text) {
        quoted.append(unit == u'"' ? 2 : 1, unit);
    }
    quoted.push_back(u'"');
    return quoted;
}

}  // namespace kel::transfer
