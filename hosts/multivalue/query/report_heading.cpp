// Fills in the letters of headings and footings.
#include "hosts/multivalue/query/report_heading.h"

#include "hosts/multivalue/conversion/conversion.h"

namespace kel::query {

namespace {

Text Clock(std::int32_t number, TextView conversion, Environment& environment) {
    Text text;
    Number(number).AppendTo(text);
    return Oconv(text, conversion, environment).value;
}

}  // namespace

Text DateText(Environment& environment) {
    return Clock(environment.Today(), u"D", environment);
}

Text TimeText(Environment& environment) {
    return Clock(environment.SecondOfDay(), u"MTS", environment);
}

Text TimeAndDate(Environment& environment) {
    return TimeText(environment) + u"  " + DateText(environment);
}

Lines HeadingLines(TextView text, const Query& query, int page, Environment& environment) {
    Lines lines(1);
    ReadReportText(text, [&](char16_t unit, bool isOption) {
        if (!isOption) {
            lines.back().push_back(unit);
        } else if (unit == u'L') {
            lines.emplace_back();
        } else if (unit == u'D') {
            lines.back() += DateText(environment);
        } else if (unit == u'T') {
            lines.back() += TimeAndDate(environment);
        } else if (unit == u'F') {
            lines.back() += query.file;
        } else if (unit == u'P') {
            Number(page).AppendTo(lines.back());
        }
    });
    return lines;
}

}  // namespace kel::query
