// fuzz_conversion SECONDS SEED: values and codes at random through the conversions, formats and
// decimal numbers. Looks for what the sanitizers catch and for broken rules.
#include "hosts/multivalue/conversion/conversion.h"
#include "hosts/multivalue/number/decimal.h"
#include "hosts/multivalue/text/pattern.h"
#include "tests/support/mutator.h"
#include "tests/support/plain_environment.h"

namespace kel::conversion {
namespace {

const std::vector<Text>& Values() {
    static const std::vector<Text> values = {u"",
                                             u"0",
                                             u"-1",
                                             u"12345",
                                             u"-99.995",
                                             u".5",
                                             u"1 JAN 2000",
                                             u"12/31/67",
                                             u"9:30pm",
                                             u"2000-02-30",
                                             u"abc",
                                             u"$1,234.56",
                                             u"A*B*C",
                                             u"(12.34)",
                                             u"9223372036854775807",
                                             u"ff",
                                             u"-2147483648",
                                             u"hello world",
                                             u"a\u00fdb",
                                             u"1\u00fe2\u00fd3\u00fc4\u00fb5",
                                             u"YWJj",
                                             u"January 1, 2000",
                                             u"99999999999999999999999.999"};
    return values;
}

const std::vector<Text>& Codes() {
    static const std::vector<Text> codes = {u"D",
                                            u"D2/E",
                                            u"D4-YMD[4,2,2]",
                                            u"DDMY[Z,A3,2]",
                                            u"D*1",
                                            u"DWAL",
                                            u"MTHS",
                                            u"MD2,$",
                                            u"MD24PZT",
                                            u"MR2C#10",
                                            u"ML(%3-*4)",
                                            u"MR2,10*",
                                            u"MCU",
                                            u"MC/AN",
                                            u"MCDX",
                                            u"MX0C",
                                            u"MB",
                                            u"B64",
                                            u"G1*2",
                                            u"L2,4",
                                            u"R0,5;-10,20",
                                            u"P(2N-4A);(~3X'a')",
                                            u"P(...)",
                                            u"S;*;'x'",
                                            u"C;1;*",
                                            u"T2,3",
                                            u"TF;V2;1;2",
                                            u"TDICT F;X;;0",
                                            u"<1,2,3>",
                                            u"MD2\u00fdMCU",
                                            u"10L",
                                            u"5T",
                                            u"8\"0\"R2,$Z",
                                            u"12R26E",
                                            u"R###-####",
                                            u"MD2[a,b,c,d]"};
    return codes;
}

constexpr TextView kMarks = u"\u00fb\u00fc\u00fd\u00fe";

bool IsWidthFirst(TextView code) {
    return !code.empty() && code[0] >= u'0' && code[0] <= u'9' &&
           code.find_first_of(kMarks) == TextView::npos;
}

// Lines of a format with a width are all of that width.
bool LinesAreEven(TextView text) {
    std::size_t width = text.find(kTextMark);
    for (TextView rest = text; width != TextView::npos && !rest.empty();) {
        const std::size_t end = rest.find(kTextMark);
        if (std::min(end, rest.size()) != width) {
            return false;
        }
        rest.remove_prefix(end == TextView::npos ? rest.size() : end + 1);
    }
    return true;
}

void TryDecimals(const Text& left, const Text& right) {
    const std::optional<Decimal> a = Decimal::Parse(left);
    const std::optional<Decimal> b = Decimal::Parse(right);
    if (!a || !b) {
        return;
    }
    if (!(*a + *b - *b == *a) || !(Decimal::Parse(a->ToText()) == a)) {
        GiveUp("what is added can be taken away, what is shown can be read", {left, right});
    }
    if (!b->IsZero() && !(Decimal::Divide(*a * *b, *b, a->Scale(), Rounding::kTruncate) == *a)) {
        GiveUp("what is multiplied can be divided", {left, right});
    }
}

void TryOne(Mutator& mutator) {
    PlainEnvironment environment;
    environment.family = mutator.Below(2) == 0 ? Family::kUni : Family::kR83;
    environment.dateOrder = mutator.Below(2) == 0 ? DateOrder::kMonthFirst : DateOrder::kDayFirst;
    environment.files[u"F"][u"1"] = u"a\u00fdb\u00fec";
    environment.files[u"DICT F"][u"1"] = u"D\u00fe1";
    const Text value = mutator.Vary(Values());
    const Text code = mutator.Vary(Codes());
    try {
        const Converted out = OconvWhole(value, code, environment);
        if (out.status == ConversionStatus::kBadValue && code.find(kValueMark) == Text::npos &&
            out.value != value) {
            GiveUp("a value that does not convert stays", {value, code});
        }
        Oconv(value, code, environment);
        Iconv(value, code, environment);
        IconvWhole(value, code, environment);
        const Converted laidOut = Format(value, code, environment);
        if (IsWidthFirst(code) && laidOut.status == ConversionStatus::kGood &&
            value.find_first_of(kMarks) == Text::npos && !LinesAreEven(laidOut.value)) {
            GiveUp("lines are of one width", {value, code});
        }
    } catch (const Error&) {
        // A translation from a file that is not there.
    }
    Matches(value, code);
    TryDecimals(value, mutator.Vary(Values()));
    const Text day = Decimal(static_cast<std::int64_t>(mutator.Below(4000000)) - 700000).ToText();
    const Converted date = Oconv(day, u"D4-", environment);
    if (date.status == ConversionStatus::kGood &&
        Iconv(date.value, u"D4-", environment).value != day) {
        GiveUp("a date that was shown can be entered", {day, date.value});
    }
}

}  // namespace
}  // namespace kel::conversion

int main(int argc, char** argv) {
    return kel::text::RunFor(
        argc,
        argv,
        u"0123456789DMYTAHLRSPGCXZEJQWI,;.:/-+*#%$<>()[]{}\"' ~\u00fb\u00fc\u00fd\u00fe",
        kel::conversion::TryOne);
}
