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
    // The table is read anew at each row: what a handler adds behind is visited, too.
    automation::Ignoring([&] {
        for (long i = 0;; ++i) {
            auto* registry = registry::ThreadRegistry::IfAny();
            if (registry == nullptr || i > registry->xref().upper()) {
                return;
            }
            const auto& row = registry->xref().row(i);
            const bool isOurs = !row.keyField.empty() && row.sessionKey == sessionKey_;
            const Text key = isOurs ? row.keyFieldKey : Text();
            visit(key);
        }
    });
}

}  // namespace kel::engine
