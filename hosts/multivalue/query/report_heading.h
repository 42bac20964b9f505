// Headings and footings of reports.
#pragma once

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/query/report_layout.h"
#include "hosts/multivalue/query/tree.h"
#include "hosts/multivalue/text/ascii.h"

namespace kel::query {

// The lines of a heading or footing. Letters in single quotes stand for: D the date, T time and
// date, F the file, P the page, L a new line; any other for nothing.
Lines HeadingLines(TextView text, const Query& query, int page, Environment& environment);

// The clock as people read it.
Text DateText(Environment& environment);
Text TimeText(Environment& environment);
Text TimeAndDate(Environment& environment);

// Reads a text of HEADING, FOOTING or BREAK-ON: `unit` is called with each unit and whether it is
// an option, a letter in single quotes, then in capitals. Two quotes outside of these stand for
// one.
template <typename Unit>
void ReadReportText(TextView text, Unit unit) {
    bool isOption = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isQuote = text[at] == u'\'';
        if (isQuote && !isOption && at + 1 < text.size() && text[at + 1] == u'\'') {
            unit(text[++at], false);
        } else if (isQuote) {
            isOption = !isOption;
        } else {
            unit(isOption ? UpperAscii(text[at]) : text[at], isOption);
        }
    }
}

}  // namespace kel::query
