// The rules of file names and record ids, and the order of ids.
#pragma once

#include "hosts/multivalue/text/text.h"

namespace kel::store {

// Both throw Error (kBadArgument), the text naming what is wrong; the rules are in store.h.
void CheckFileName(TextView name);
void CheckRecordId(TextView id);

// Whether a record could have this id.
bool CanBeId(TextView id);

// Whether `left` comes before `right` by code point: a pair of surrogates counts as the one
// character it is, a lone one as its number.
bool IsBeforeByCodePoint(TextView left, TextView right);

struct ByCodePoint {
    using is_transparent = void;
    bool operator()(TextView left, TextView right) const {
        return IsBeforeByCodePoint(left, right);
    }
};

}  // namespace kel::store
