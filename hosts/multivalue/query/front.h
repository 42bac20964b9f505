// The front of query sentences. For the query parser only.
#pragma once

#include <vector>

#include "hosts/multivalue/query/tree.h"
#include "hosts/multivalue/query/words.h"
#include "hosts/multivalue/store/store.h"

namespace kel::query {

// What stands behind the verb: the file and the dictionary to use. Takes USING and its file out of
// the words wherever they stand, since every other word is read by that dictionary.
struct QueryFront {
    Text file;
    Text dictionary;  // the file whose dictionary is used; "" for a dictionary without items
    std::vector<Word> rest;
};

// Raises kBadArgument, naming the word at fault, and kNoSuchFile.
QueryFront ReadQueryFront(TextView sentence, Store& store);

}  // namespace kel::query
