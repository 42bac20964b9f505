// Rows of data on their way in, whatever their format, and what can be wrong with them.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "apps/kelsh/transfer/transfer.h"
#include "hosts/multivalue/text/text.h"

namespace kel::transfer {

// Values, each of at least one subvalue.
using Cell = std::vector<std::vector<Text>>;

struct InputCell {
    Text column;
    bool isParted = false;  // by the format itself: `parts` counts, otherwise `text`
    Text text;
    Cell parts;
};

struct InputRow {
    std::uint64_t line = 0;
    std::vector<InputCell> cells;
};

// A fault in the data. Caught by Import, never seen by others.
struct RowFault {
    TransferFault fault;
    bool canGoOn = true;  // whether the next row can be read
};

class RowReader {
public:
    virtual ~RowReader() = default;

    virtual bool Next(InputRow& row) = 0;  // false at the end; throws RowFault
};

}  // namespace kel::transfer
