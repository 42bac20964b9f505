// What the dispatcher of conversions and the families of codes share. Not for users of the library.
//
// Each family converts one element and appends what comes out to `out`, which may hold earlier
// elements. What it has appended when it fails is taken off again.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "hosts/multivalue/conversion/conversion.h"
#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/text/ascii.h"
#include "hosts/multivalue/text/code_reader.h"

namespace kel::conversion {

enum class Direction { kOut, kIn };

// The widest field a code may ask for: far above any form or report, and it keeps a mistyped code
// from asking for gigabytes of fill.
inline constexpr int kMaxFieldWidth = 32767;

struct Outcome {
    // Not explicit: mostly the status is all there is to say.
    constexpr Outcome(ConversionStatus own, bool emptied = false)
        : status(own), emptiesValue(emptied) {}

    ConversionStatus status;
    // A failure that answers "" on output too, instead of the value unchanged.
    bool emptiesValue;
};

struct Element {
    TextView value;
    Direction direction;
    Environment& environment;
};

// `count` groups of a text parted by `delimiter`, from behind the first `skip`, with the delimiters
// between them.
TextView GroupsOf(TextView text, char16_t delimiter, int skip, int count);

// The input side of D.
Outcome FromDate(const Element& element, TextView code, Text& out);

// The codes, by first letter. `code` starts behind the letters that choose the family.
Outcome ConvertDate(const Element& element, TextView code, Text& out);    // D
Outcome ConvertTime(const Element& element, TextView code, Text& out);    // MT
Outcome ConvertNumber(const Element& element, TextView code, Text& out);  // MD ML MR, from D L R
Outcome ConvertCharacters(const Element& element, TextView code, Text& out);  // MC
Outcome ConvertRadix(const Element& element, TextView code, Text& out);    // MX MO MB, from X O B
Outcome ConvertBase64(const Element& element, TextView code, Text& out);   // B64
Outcome ConvertTruth(const Element& element, TextView code, Text& out);    // B
Outcome ConvertGroup(const Element& element, TextView code, Text& out);    // G
Outcome ConvertLength(const Element& element, TextView code, Text& out);   // L
Outcome ConvertRange(const Element& element, TextView code, Text& out);    // R
Outcome ConvertPattern(const Element& element, TextView code, Text& out);  // P
Outcome ConvertSubstitution(const Element& element, TextView code, Text& out);   // S
Outcome ConvertConcatenation(const Element& element, TextView code, Text& out);  // C
Outcome ConvertExtraction(const Element& element, TextView code, Text& out);     // T m,n
Outcome ConvertTranslation(const Element& element, TextView code, Text& out);    // T file;...
Outcome ConvertPosition(const Element& element, TextView code, Text& out);       // <a,v,s>

}  // namespace kel::conversion
