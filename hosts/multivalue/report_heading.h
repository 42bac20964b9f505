// Headings and footings of reports.
#pragma once

#include "hosts/multivalue/query_tree.h"
#include "hosts/multivalue/report_layout.h"
#include "hosts/multivalue/surroundings.h"

namespace kel::multivalue {

// The lines of a heading or footing. Letters in single quotes stand for: D the date, T time and
// date, F the file, P the page, L a new line; any other for nothing. Output has one page.
Lines HeadingLines(TextView text, const Query& query, Surroundings& around);

Text TimeAndDate(Surroundings& around);

}  // namespace kel::multivalue
