// Columns of a report: widths, headings, and values laid out in lines.
#pragma once

#include <vector>

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/query/tree.h"
#include "hosts/multivalue/text/text.h"

namespace kel::query {

using Lines = std::vector<Text>;

// What stands in one column for one record.
struct Cell {
    // The lines of each value. Values of multivalued columns begin in one line with the values of
    // the same number in the others; any other cell is one value.
    std::vector<Lines> values;
    bool isAligned = false;
};

class ReportColumn {
public:
    // `environment` must outlive this object; `column` is copied.
    ReportColumn(Column column, Environment& environment);

    const Column& Asked() const { return column_; }
    const Field& Own() const { return *column_.field; }
    std::size_t Width() const { return width_; }
    const Lines& Heading() const { return heading_; }

    // A value in the form that people read.
    Text Shown(TextView internal) const;
    // Laid out: lines of the column's width, except of a column that runs over.
    Lines LayOut(TextView shown) const;

private:
    Column column_;
    Environment& environment_;
    Text format_;
    Text conversion_;
    Lines heading_;
    std::size_t width_ = 0;
    char16_t justification_ = u'L';
};

// Puts cells side by side, one blank between them. Lines have no blanks at their ends.
Lines SideBySide(const std::vector<Cell>& cells, const std::vector<std::size_t>& widths);

// The parts of a text between marks of any kind.
Lines PartsOf(TextView text);

}  // namespace kel::query
