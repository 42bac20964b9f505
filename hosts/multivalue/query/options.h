// How query sentences are read.
#pragma once

namespace kel::query {

// Each is switched by name, by OPTION and by SetOption.
struct QueryOptions {
    bool priorityAnd = false;  // QUERY.PRIORITY.AND: AND binds closer than OR
    bool noCase = false;       // QUERY.NO.CASE: conditions ignore case
    bool wildcards = false;    // R83.WILDCARD: [ ] ^ in constants; always on in the R83 family
};

}  // namespace kel::query
