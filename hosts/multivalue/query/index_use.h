// Uses indexes for queries. An index only ever says which records to look at, or in which order:
// the answer is the same as without it.
#pragma once

#include <memory>
#include <optional>

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/query/select_list.h"
#include "hosts/multivalue/query/tree.h"
#include "hosts/multivalue/store/store.h"

namespace kel::query {

// Ids of records that may meet the query's WITH condition, every one that does among them, in the
// order of the file. Null when no index helps.
std::unique_ptr<SelectList> IndexCandidates(const Query& query,
                                            FileNumber file,
                                            Store& store,
                                            Environment& environment);

// All ids of the file in the order that the query sorts by. Null when no index has it.
std::unique_ptr<SelectList> IndexOrder(const Query& query,
                                       const std::vector<SortKey>& keys,
                                       FileNumber file,
                                       Store& store,
                                       Environment& environment);

}  // namespace kel::query
