#include "hosts/multivalue/report_heading.h"

#include "hosts/multivalue/conversion.h"

namespace kel::multivalue {

namespace {

Text Clock(std::int32_t number, TextView conversion, Surroundings& around) {
    Text text;
    Number(number).AppendTo(text);
    return Oconv(text, conversion, around).value;
}

}  // namespace

Text TimeAndDate(Surroundings& around) {
    return Clock(around.SecondOfDay(), u"MTS", around) + u"  " +
           Clock(around.Today(), u"D", around);
}

Lines HeadingLines(TextView text, const Query& query, Surroundings& around) {
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
            lines.back() += Clock(around.Today(), u"D", around);
        } else if (unit == u'T' || unit == u't') {
            lines.back() += TimeAndDate(around);
        } else if (unit == u'F' || unit == u'f') {
            lines.back() += query.file;
        } else if (unit == u'P' || unit == u'p') {
            lines.back() += u"1";
        }
    }
    return lines;
}

}  // namespace kel::multivalue
