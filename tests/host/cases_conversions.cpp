// Conversions and formats: oconv, iconv, the same of an account that writes the day first (_eu), of
// values of several elements (_mv), and fmt.
#include "hosts/multivalue/conversion/conversion.h"
#include "tests/host/cases.h"
#include "tests/support/plain_environment.h"
#include "tests/support/text_support.h"

namespace kel::cases {

namespace {

using Conversion = Converted (*)(TextView, TextView, Environment&);

// The cases were taken while the record "0" was the one worked on.
struct OfRecordZero : PlainEnvironment {
    Text FieldOfRecord(std::int32_t number) override { return number <= 1 ? u"0" : u""; }
};

struct Fields {
    const char* out;
    const char* status;
};

Check MakeCheck(Conversion convert, DateOrder order, Fields fields = {"out", "status"}) {
    return [=](const Json& c) -> std::optional<std::string> {
        OfRecordZero environment;
        environment.dateOrder = order;
        const Converted got = convert(TextOf(c, "value"), TextOf(c, "code"), environment);
        const int status = static_cast<int>(got.status);
        if (got.value == TextOf(c, fields.out) && status == c.at(fields.status).get<int>()) {
            return std::nullopt;
        }
        return "\"" + Drawn(got.value) + "\", status " + std::to_string(status);
    };
}

}  // namespace

// A value of one case is one text, marks and all, except where the case says otherwise.
void AddConversionChecks(Checks& checks) {
    checks.insert({
        {"oconv", MakeCheck(OconvWhole, DateOrder::kMonthFirst)},
        {"oconv_eu", MakeCheck(OconvWhole, DateOrder::kDayFirst)},
        {"oconv_mv", MakeCheck(Oconv, DateOrder::kMonthFirst, {"oconvs_out", "oconvs_status"})},
        {"iconv", MakeCheck(IconvWhole, DateOrder::kMonthFirst)},
        {"iconv_eu", MakeCheck(IconvWhole, DateOrder::kDayFirst)},
        {"fmt", MakeCheck(Format, DateOrder::kMonthFirst)},
    });
}

}  // namespace kel::cases
