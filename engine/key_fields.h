// The key fields of a session as the thread's table has them, and telling their controls.
#pragma once

#include "automation/error.h"
#include "registry/thread_registry.h"

namespace kel::engine {

using automation::Text;
using automation::TextView;

// Calls `call` with the callback of a key field. A missing or failing callback is ignored.
template <typename Call>
void TellField(TextView key, Call&& call) noexcept {
    automation::Ignoring([&] {
        if (auto* registry = registry::ThreadRegistry::IfAny()) {
            const auto callback = registry->fieldCallback(key);
            automation::CallOut([&] { return call(*callback); });
        }
    });
}

// Knows the session's name, and nothing of the engine. Rows are numbered from 0. One thread.
class KeyFields {
public:
    explicit KeyFields(TextView session) : session_(automation::Lower(session)) {}

    // The session's name in lower case.
    const Text& session() const noexcept { return session_; }
    void rename(TextView session) { session_ = automation::Lower(session); }

    // Highest row of the table; -1 without one.
    static long lastRow() noexcept;
    // The key field in a row, in lower case; "" for none, or another session's.
    Text at(long row) const noexcept;
    // Visits the key fields in the order of the table, as far as it reaches when the walk begins:
    // handlers that always add one do not make it endless.
    template <typename Visit>
    void forEach(Visit&& visit) const noexcept {
        const long last = lastRow();
        for (long row = 0; row <= last; ++row) {
            // Read anew at each row: the visits run client code.
            const Text key = at(row);
            if (!key.empty()) {
                visit(key);
            }
        }
    }

private:
    Text session_;
};

}  // namespace kel::engine
