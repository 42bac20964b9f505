// CSV: rows of cells, and values within a cell.
#pragma once

#include <istream>
#include <string>
#include <vector>

#include "apps/kelsh/transfer/rows.h"
#include "apps/kelsh/transfer/utf8.h"

namespace kel::transfer {

class CsvReader final : public RowReader {
public:
    // `columns` empty: the first row names them.
    CsvReader(std::istream& data, const CsvForm& form, const std::vector<Text>& columns);

    const std::vector<Text>& columns() const { return columns_; }
    bool Next(InputRow& row) override;

private:
    bool ReadRow(std::vector<Text>& cells);
    void ReadCell(Text& cell);
    bool AtCellEnd();

    Utf8Reader reader_;
    const std::int32_t delimiter_;
    std::vector<Text> columns_;
    std::vector<Text> cells_;
    std::uint64_t line_ = 0;
};

Cell PartCell(TextView text, const CsvForm& form);
Text JoinCell(const Cell& cell, const CsvForm& form);

// A cell as it stands between delimiters, in quotes where that is needed.
Text QuotedCell(TextView text, const CsvForm& form);

}  // namespace kel::transfer
