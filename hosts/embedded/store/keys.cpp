#include "hosts/embedded/store/keys.h"

#include "hosts/multivalue/id_rules.h"

namespace kel::embedded {

Key::Key(multivalue::TextView id) {
    multivalue::CheckRecordId(id);
    size_ = EncodeKey(id, bytes_);
}

}  // namespace kel::embedded
