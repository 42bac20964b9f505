// The functions on text that expressions have. They take texts as a whole: a mark is a unit like
// any other. Each appends its result to `out`. Counts and positions are from 1; letters are those
// of ASCII.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hosts/multivalue/text/dynamic_array.h"
#include "hosts/multivalue/text/text.h"

namespace kel::text {

// The part from `start` (at least 1), `length` units at most.
TextView Substring(TextView text, std::int32_t start, std::int32_t length);
TextView FirstUnits(TextView text, std::int32_t length);
TextView LastUnits(TextView text, std::int32_t length);

// `count` fields from the first-th, with the delimiters between them. Only the delimiter's first
// unit counts; without one the text is the only field. A number below 1 is 1.
TextView FieldsOf(TextView text, TextView delimiter, std::int32_t first, std::int32_t count);

// Where the occurrence-th `part` begins; 0 if there are fewer. "" is found at 1.
std::size_t IndexOf(TextView text, TextView part, std::int32_t occurrence);

// How often `part` occurs. "" counts the units.
std::size_t CountOf(TextView text, TextView part, Overlap overlap);

void AppendUpper(TextView text, Text& out);
Text Upper(TextView text);

// The text as a sentence has it for a word that is data, whatever is in it: in quotes, each quote
// inside doubled.
Text Quoted(TextView text);

void AppendLower(TextView text, Text& out);

// Takes `unit` away at places that `option` names: A everywhere; L and F in front; T and E behind;
// B in front and behind; R all but one wherever several stand together, and both ends; D as R, for
// blanks whatever `unit` is.
void AppendTrimmed(TextView text, char16_t unit, char16_t option, Text& out);

// Puts `replacement` in place of `count` occurrences of `part` (0: of all) from the first-th on.
// Raises kTooLong when the result would pass `limit` units.
void AppendChanged(TextView text,
                   TextView part,
                   TextView replacement,
                   std::int32_t count,
                   std::int32_t first,
                   std::size_t limit,
                   Text& out);

// An element of a text with marks; see Position.
TextView ElementAt(TextView text, Position position);

}  // namespace kel::text
