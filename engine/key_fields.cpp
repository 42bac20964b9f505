// Which rows of the thread's table belong to a session.
#include "engine/key_fields.h"

namespace kel::engine {

using registry::ThreadRegistry;

long KeyFields::lastRow() noexcept {
    ThreadRegistry* const registry = ThreadRegistry::IfAny();
    return registry != nullptr ? registry->xref().upper() : -1;
}

Text KeyFields::at(long row) const noexcept {
    Text keyField;
    automation::Ignoring([&] {
        // The table may be gone, or another: a thread whose apartment ends runs client code, too.
        ThreadRegistry* const registry = ThreadRegistry::IfAny();
        if (registry != nullptr && row <= registry->xref().upper()) {
            const auto& entry = registry->xref().row(row);
            keyField = entry.sessionKey == session_ ? entry.keyFieldKey : Text();
        }
    });
    return keyField;
}

}  // namespace kel::engine
