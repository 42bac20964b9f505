// Parses the query sentences: SELECT, SSELECT, LIST, SORT, COUNT, SUM.
//
//     verb {DICT} file {USING {DICT} file} then in any order
//     'id' ...   WITH ...   WHEN ...   BY field ...   columns   modifiers
//
// Names of fields stand for themselves, names of phrases for the words they hold, and words such as
// THE and FILE for nothing. The only way from a sentence to a Query.
#pragma once

#include <vector>

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/query/options.h"
#include "hosts/multivalue/query/tree.h"
#include "hosts/multivalue/query/words.h"
#include "hosts/multivalue/store/store.h"

namespace kel::query {

// Parses the sentence of a query verb, which its first word is. Raises kBadArgument with a sentence
// that names the word at fault, kNoSuchFile, and what reading the dictionary raises. `environment`
// and `store` must outlive the query.
Query ParseQuery(QueryVerb verb,
                 TextView sentence,
                 const QueryOptions& options,
                 Store& store,
                 Environment& environment);

}  // namespace kel::query
