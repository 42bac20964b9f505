// Text between the automation interfaces and the portable library: the same 16-bit units under two
// names.
#pragma once

#include "automation/text.h"
#include "hosts/multivalue/text.h"

namespace kel::kelsh {

inline multivalue::Text Units(automation::TextView text) {
    return multivalue::Text(text.begin(), text.end());
}

inline automation::Text Wide(multivalue::TextView text) {
    return automation::Text(text.begin(), text.end());
}

}  // namespace kel::kelsh
