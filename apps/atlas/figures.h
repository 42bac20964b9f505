// What the lists of codes do not say about a country.
#pragma once

#include <string_view>

namespace kel::atlas {

struct Figures {
    std::wstring_view code;
    std::wstring_view continent;  // AF, AN, AS, EU, NA, OC, SA
    std::wstring_view currency;   // three letters, or empty
    long area;                    // square kilometres
    long population;
    bool isMember;  // of the United Nations
};

// Null for a country that is not known.
const Figures* FiguresOf(std::wstring_view country);

}  // namespace kel::atlas
