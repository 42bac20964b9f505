// Conversions between the stored form of a value and the form people read.
//
// A code may be several, parted by value marks: applied from left to right on output and from right
// to left on input. A value of several elements (attribute, value, subvalue and text marks) is
// converted element by element. An empty value converts to itself, except that ML and MR with
// decimals print a zero.
#pragma once

#include "hosts/multivalue/surroundings.h"
#include "hosts/multivalue/text.h"

namespace kel::multivalue {

enum class ConversionStatus {
    kGood = 0,
    kBadValue = 1,  // the value does not convert and comes back unchanged
    kBadCode = 2,   // the code is not valid and the value comes back unchanged
    kDoubtful = 3,  // an input date that was accepted though its day is past the month's end
};

struct Converted {
    Text value;
    ConversionStatus status = ConversionStatus::kGood;
};

// Stored form to display form, and back. Neither throws for a value or a code that is wrong; what
// the surroundings raise (a translation from a file that is not there) comes out.
Converted Oconv(TextView value, TextView code, Surroundings& around);
Converted Iconv(TextView value, TextView code, Surroundings& around);

// Lays a value out by a format: width, fill, justification, then decimals, thousands, masks.
Converted Format(TextView value, TextView format, Surroundings& around);

}  // namespace kel::multivalue
