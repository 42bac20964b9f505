// Headings and footings of reports.
#pragma once

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/query/report_layout.h"
#include "hosts/multivalue/query/tree.h"

namespace kel::query {

// The lines of a heading or footing. Letters in single quotes stand for: D the date, T time and
// date, F the file, P the page, L a new line; any other for nothing.
Lines HeadingLines(TextView text, const Query& query, int page, Environment& environment);

// The clock as people read it.
Text DateText(Environment& environment);
Text TimeText(Environment& environment);
Text TimeAndDate(Environment& environment);

}  // namespace kel::query
