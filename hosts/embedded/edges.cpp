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

}  // namespace kel::embedded
