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

Text TimeAndDate(Environment& environment) {
    return Clock(environment.SecondOfDay(), u"MTS", environment) + u"  " +
           Clock(environment.Today(), u"D", environment);
}

Lines HeadingLines(TextView text, const Query& query, Environment& environment) {
    Lines lines(1);
    bool isQuoted = false;
    for (const char16_t unit : text) {
        if (unit == u'\'') {
            isQuoted = !isQuoted;
        } else if (!isQuoted) {
            lines.back().push_back(unit);
        } else if (unit == u'L' || unit == u'l') {
            lines.emplace_back();
        } else if (unit == u'D' || unit == u'd') {
            lines.back() += Clock(environment.Today(), u"D", environment);
        } else if (unit == u'T' || unit == u't') {
            lines.back() += TimeAndDate(environment);
        } else if (unit == u'F' || unit == u'f') {
            lines.back() += query.file;
        } else if (unit == u'P' || unit == u'p') {
            lines.back() += u"1";
        }
    }
    return lines;
}

}  // namespace kel::query
