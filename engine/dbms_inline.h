// The templates of Dbms.
#pragma once

#include "engine/dbms.h"
#include "registry/thread_registry.h"

namespace kel::engine {

template <typename Call>
void Dbms::tellField(TextView key, Call&& call) noexcept {
    automation::Ignoring([&] {
        if (auto* registry = registry::ThreadRegistry::IfAny()) {
            const auto callback = registry->fieldCallback(key);
            automation::CallOut([&] { return call(*callback); });
        }
    });
}

template <typename Visit>
void Dbms::forEachKeyField(Visit&& visit) noexcept {
    const long last = lastRow();
    for (long row = 0; row <= last; ++row) {
        // Read anew at each row: the visits run client code.
        const Text key = keyFieldAt(row);
        if (!key.empty()) {
            visit(key);
        }
    }
}

}  // namespace kel::engine
