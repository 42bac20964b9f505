#include "hosts/embedded/edges.h"

namespace kel::embedded {

long NumberOf(multivalue::ErrorKind kind) noexcept {
    switch (kind) {
        case multivalue::ErrorKind::kNoSuchFile:
            return mvOpenNotFound;
        case multivalue::ErrorKind::kBadArgument:
            return automation::kInvalidCall;
        default:
            return kOwnErrors + static_cast<long>(kind);
    }
}

multivalue::Text Entered(multivalue::TextView value,
                         multivalue::TextView code,
                         multivalue::Surroundings& around) {
    multivalue::Converted entered = multivalue::Iconv(value, code, around);
    if (entered.status == multivalue::ConversionStatus::kBadValue ||
        entered.status == multivalue::ConversionStatus::kBadCode) {
        const bool isCode = entered.status == multivalue::ConversionStatus::kBadCode;
        throw multivalue::Error(
            multivalue::ErrorKind::kBadArgument,
            u"\"" + multivalue::Text(value) + u"\" cannot be entered: " +
                (isCode ? u"\"" + multivalue::Text(code) + u"\" is no valid conversion."
                        : u"it does not convert by \"" + multivalue::Text(code) + u"\"."));
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
