// Conversions between the stored form of a value and the form people read.
//
// A code may be several, parted by value marks: applied from left to right on output and from right
// to left on input; the first that fails ends it. A value of several elements (attribute, value,
// subvalue and text marks) is converted element by element, and its status is that of the last
// element that failed. An empty value converts to itself, except that ML and MR print a zero, L the
// length 0, B "N", and S and C what they were told to.
#pragma once

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/text/text.h"

namespace kel::conversion {

enum class ConversionStatus {
    kGood = 0,
    kBadValue = 1,  // the value does not convert
    kBadCode = 2,   // the code is not valid, or the value is outside the code's ranges (R)
    kDoubtful = 3,  // an input date that was accepted though its day is past the month's end
};

struct Converted {
    Text value;
    ConversionStatus status = ConversionStatus::kGood;
};

// Stored form to display form, and back. Neither throws for a value or a code that is wrong; what
// the environment raises (a translation from a file that is not there) comes out. An element that
// fails stays as it was on output (but is emptied by R) and is emptied on input.
Converted Oconv(TextView value, TextView code, Environment& environment);
Converted Iconv(TextView value, TextView code, Environment& environment);

// The same for a value taken as one text, marks and all, as the functions OCONV and ICONV of
// expressions take theirs.
Converted OconvWhole(TextView value, TextView code, Environment& environment);
Converted IconvWhole(TextView value, TextView code, Environment& environment);

// Lays a value out by a format: width, fill, justification, then decimals, thousands, masks.
Converted Format(TextView value, TextView format, Environment& environment);

}  // namespace kel::conversion
