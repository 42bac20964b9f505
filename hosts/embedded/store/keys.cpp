#include "hosts/embedded/store/keys.h"

#include <algorithm>

#include "hosts/multivalue/error.h"

namespace kel::embedded {

using multivalue::Error;
using multivalue::ErrorKind;
using multivalue::Text;
using multivalue::TextView;

namespace {

bool HasMark(TextView text) {
    return std::any_of(text.begin(), text.end(), [](char16_t unit) {
        return unit >= multivalue::kTextMark && unit <= multivalue::kItemMark;
    });
}

}  // namespace

void CheckFileName(TextView name) {
    const auto isControl = [](char16_t unit) {
        return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
    };
    if (name.empty() || name.size() > multivalue::kMaxFileName || HasMark(name) ||
        name.front() == u' ' || name.back() == u' ' ||
        std::any_of(name.begin(), name.end(), isControl)) {
        throw Error(ErrorKind::kBadArgument,
                    u"\"" + Text(name.substr(0, multivalue::kMaxFileName)) +
                        u"\" cannot be the name of a file: a name has 1 to 128 characters, none of "
                        u"them a mark or a control character, and no space at either end.");
    }
}

Key::Key(TextView id) {
    if (id.empty()) {
        throw Error(ErrorKind::kBadArgument, u"A record's id must not be empty.");
    }
    if (id.size() > multivalue::kMaxIdUnits) {
        throw Error(ErrorKind::kBadArgument,
                    u"The record id \"" + Text(id.substr(0, 40)) +
                        u"...\" is longer than 1024 characters.");
    }
    if (HasMark(id)) {
        throw Error(ErrorKind::kBadArgument,
                    u"The record id \"" + Text(id) +
                        u"\" holds a mark (a character from U+00FB to U+00FF).");
    }
    size_ = EncodeKey(id, bytes_);
}

}  // namespace kel::embedded
