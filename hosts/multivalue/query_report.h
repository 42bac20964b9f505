// Reports of queries: LIST and SORT as columns or, where those are too wide for a page, as a line
// for each field; SUM.
#pragma once

#include "hosts/multivalue/commands.h"
#include "hosts/multivalue/query_selection.h"

namespace kel::multivalue {

// Writes the whole report to the command's answer. `selection` is at its beginning.
void WriteReport(Selection& selection, Command& command);
void WriteSums(Selection& selection, Command& command);

}  // namespace kel::multivalue
