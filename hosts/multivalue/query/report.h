// Reports of queries: LIST and SORT as columns or, where those are too wide for a page, as a line
// for each field; SUM.
#pragma once

#include <cstdint>

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/query/selection.h"
#include "hosts/multivalue/text/text.h"

namespace kel::query {

// Where the lines of a report go.
class ReportSink {
public:
    virtual ~ReportSink() = default;

    virtual void Line(TextView line) = 0;
    // A count, what was counted, what became of it: 3 record(s) listed
    virtual void CountLine(std::uint64_t count, TextView rest) = 0;
};

// Both write the whole report and return how many records it is about. `selection` is at its
// beginning; `sentence`, as the user wrote it, stands above a report without a heading of its own.
std::uint64_t WriteReport(Selection& selection,
                          TextView sentence,
                          Environment& environment,
                          ReportSink& sink);
std::uint64_t WriteSums(Selection& selection, Environment& environment, ReportSink& sink);

}  // namespace kel::query
