// Back-ends by number: which there are, and what they want to know before they connect. A back-end
// tells this without being connected.
#pragma once

#include <vector>

#include "apps/binding/com.h"

namespace kel::binding {

// The one that comes with the component, and may be used without being registered, by a manifest.
inline constexpr short kEmbedded = 1;

struct BackEnd {
    short number;
    Text description;
    Text version;
};

struct PropertyInfo {
    Text name;
    bool isObject;  // a program sets it; there is nothing to type in
    Text description;
    Text fallback;  // its default
};

// The object of a back-end.
//   throws  Error when none is registered under the number
Ptr<_mviHostDLL> CreateBackEnd(short number);

// The back-ends registered on this machine that can be made in this process, by number.
std::vector<BackEnd> BackEnds();

// Its connection properties, in its order.
std::vector<PropertyInfo> PropertiesOf(_mviHostDLL& backEnd);

}  // namespace kel::binding
