#include "hosts/embedded/store/keys.h"

#include "hosts/multivalue/store/id_rules.h"

namespace kel::embedded {

Key::Key(text::TextView id) {
    store::CheckRecordId(id);
    size_ = EncodeKey(id, bytes_);
}

}  // namespace kel::embedded
