// Correlatives: how a dictionary has a field worked out of a record. Written as
//
//     A;7*8                    terms over attribute numbers, infix
//     F;7;8;*                  the same with a stack
//     C;1;" / ";2              attributes and constants strung together
//     I;SUM(QTY*PRICE)         an expression over field names
//     CALL PRICE.OF            a stored program, given the value, the id and the record
//     MCU, G0 1, TCITIES;X;;1  any conversion
//
// or several of them parted by value marks, each applied to the result of the one before. What they
// mean in detail is in docs/expressions.md.
//
// All compile into one form: steps, each a tree of operations. Field names are resolved then, with
// the items they name, so that the dictionary is not asked again. What was compiled can be written
// out as text and read back, which costs a small part of compiling.
#pragma once

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/expression/compiled.h"
#include "hosts/multivalue/text/text.h"

namespace kel::expression {

// `file` is the one whose dictionary names mean; "" stands for a dictionary without items. Raises
// kBadArgument with a sentence that names the word at fault and its place, counted from 1; also for
// an item that refers to itself, and for what is nested deeper or is longer than a
// CompiledExpression can be.
// "" compiles into what gives the value back.
CompiledExpression CompileCorrelative(TextView correlative,
                                      TextView file,
                                      Environment& environment);

// Compiles a field: the correlative of `item` over the item's own attribute.
struct DictionaryItem;
CompiledExpression CompileItem(const DictionaryItem& item, TextView file, Environment& environment);

// Whether a correlative is well-formed, whatever the fields, files and programs it names.
bool IsValidCorrelative(TextView correlative);

}  // namespace kel::expression
