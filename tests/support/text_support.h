// Texts with marks written so that people can read them: ^ attribute, ] value, \ subvalue mark.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "hosts/multivalue/text/text.h"

namespace kel::text {

inline Text Marked(std::string_view drawn) {
    Text text;
    for (char c : drawn) {
        text.push_back(c == '^'    ? kAttributeMark
                       : c == ']'  ? kValueMark
                       : c == '\\' ? kSubvalueMark
                                   : static_cast<char16_t>(static_cast<unsigned char>(c)));
    }
    return text;
}

inline std::string Drawn(TextView text) {
    std::string drawn;
    for (char16_t unit : text) {
        if (unit == kAttributeMark || unit == kValueMark || unit == kSubvalueMark) {
            drawn.push_back(unit == kAttributeMark ? '^' : unit == kValueMark ? ']' : '\\');
        } else if (unit >= 0x20 && unit < 0x7F) {
            drawn.push_back(static_cast<char>(unit));
        } else {
            drawn += "<" + std::to_string(static_cast<unsigned>(unit)) + ">";
        }
    }
    return drawn;
}

}  // namespace kel::text
