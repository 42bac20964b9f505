// Numbers of errors, and values on their way across the edge.
#include "hosts/embedded/edges.h"

namespace kel::embedded {

long NumberOf(text::ErrorKind kind) noexcept {
    switch (kind) {
        case text::ErrorKind::kNoSuchFile:
            return mvOpenNotFound;
        case text::ErrorKind::kBadArgument:
            return automation::kInvalidCall;
        case text::ErrorKind::kLocked:
            return mvItemLocked;
        default:
            return kOwnErrors + static_cast<long>(kind);
    }
}

text::Text Entered(text::TextView value,
                   text::TextView code,
                   conversion::Environment& environment) {
    conversion::Converted entered = conversion::Iconv(value, code, environment);
    if (entered.status == conversion::ConversionStatus::kBadValue ||
        entered.status == conversion::ConversionStatus::kBadCode) {
        const bool isCode = entered.status == conversion::ConversionStatus::kBadCode;
        throw text::Error(text::ErrorKind::kBadArgument,
                          u"\"" + text::Text(value) + u"\" cannot be entered: " +
                              (isCode ? u"\"" + text::Text(code) + u"\" is no valid conversion."
                                      : u"it does not convert by \"" + text::Text(code) + u"\"."));
    }
    return std::move(entered.value);
}

std::span<VARIANT* const> Given(std::span<VARIANT* const> arguments) noexcept {
    std::size_t count = 0;
    while (count < arguments.size() && !automation::IsMissing(arguments[count])) {
        ++count;
    }
    return arguments.first(count);
}

void Assign(BSTR* target, automation::TextView text) {
    automation::Bstr copy(text);
    std::swap(automation::Require(target), *copy.inOut());
}

}  // namespace kel::embedded
