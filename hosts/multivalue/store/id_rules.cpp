// Checks names and ids; orders ids by code point.
#include "hosts/multivalue/store/id_rules.h"

#include <algorithm>
#include <cstddef>

#include "hosts/multivalue/store/store.h"
#include "hosts/multivalue/text/code_points.h"
#include "hosts/multivalue/text/error.h"

namespace kel::store {

namespace {

bool HasMark(TextView text) {
    return std::any_of(text.begin(), text.end(), [](char16_t unit) {
        return unit >= kTextMark && unit <= kItemMark;
    });
}

// Whether the unit belongs to a pair, and so to a character above all single units.
bool IsPaired(TextView text, std::size_t at) {
    return IsHighSurrogate(text[at])
               ? at + 1 < text.size() && IsLowSurrogate(text[at + 1])
               : IsLowSurrogate(text[at]) && at > 0 && IsHighSurrogate(text[at - 1]);
}

}  // namespace

void CheckFileName(TextView name) {
    const auto isControl = [](char16_t unit) {
        return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
    };
    if (name.empty() || name.size() > kMaxFileName || HasMark(name) || name.front() == u' ' ||
        name.back() == u' ' || std::any_of(name.begin(), name.end(), isControl)) {
        throw Error(ErrorKind::kBadArgument,
                    u"\"" + Text(name.substr(0, kMaxFileName)) +
                        u"\" cannot be the name of a file: a name has 1 to 128 characters, none of "
                        u"them a mark or a control character, and no space at either end.");
    }
}

void CheckRecordId(TextView id) {
    if (id.empty()) {
        throw Error(ErrorKind::kBadArgument, u"A record's id must not be empty.");
    }
    if (id.size() > kMaxIdUnits) {
        throw Error(ErrorKind::kBadArgument,
                    u"The record id \"" + Text(id.substr(0, 40)) +
                        u"...\" is longer than 1024 characters.");
    }
    if (HasMark(id)) {
        throw Error(ErrorKind::kBadArgument,
                    u"The record id \"" + Text(id) +
                        u"\" holds a mark (a character from U+00FB to U+00FF).");
    }
}

bool CanBeId(TextView id) {
    return !id.empty() && id.size() <= kMaxIdUnits && !HasMark(id);
}

bool IsBeforeByCodePoint(TextView left, TextView right) {
    const auto [l, r] = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    if (l == left.end() || r == right.end()) {
        return l == left.end() && r != right.end();
    }
    const auto at = static_cast<std::size_t>(l - left.begin());
    const bool leftPaired = IsPaired(left, at);
    const bool rightPaired = IsPaired(right, at);
    return leftPaired == rightPaired ? *l < *r : rightPaired;
}

}  // namespace kel::store
