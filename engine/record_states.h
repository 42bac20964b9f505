// The record states of a session, one per key field.
#pragma once

#include <memory>
#include <utility>

#include "core/fast_collection.h"
#include "engine/host_link.h"
#include "engine/record_info.h"

namespace kel::engine {

// Keys are names of key fields in lower case. Only the engine makes and drops states; clients may
// keep one beyond that. One thread.
class RecordStates {
public:
    explicit RecordStates(HostLink& host) noexcept : host_(host) {}

    // Makes sure that a key field has a record state, with a buffer when the session is connected,
    // and answers it. The state stays when the back-end fails to make the buffer, which throws.
    ComPtr<RecordInfo> EnsureKeyFieldInfo(TextView keyId, const Text& key);
    // The state of a key field; throws 381 when there is none.
    ComPtr<RecordInfo> get(TextView key) { return in(InfoList().ItemByKey(key)); }
    // The same where none is no failure.
    ComPtr<RecordInfo> find(TextView key);

    // Takes a state out, for its end. Throws 381.
    ComPtr<RecordInfo> take(TextView key);
    // Takes all states out at once; `forEach` visits them, the last one first.
    using Taken = std::unique_ptr<core::FastCollection>;
    Taken takeAll() noexcept { return std::exchange(list_, nullptr); }
    template <typename Visit>
    static void forEach(const Taken& states, Visit&& visit) noexcept {
        for (long i = states ? states->Count() : 0; i >= 1; --i) {
            automation::Ignoring([&] { visit(*in(states->ItemByIndex(i).get())); });
        }
    }

    // First non-empty of `own`, the state's, if there is one, and the key field's file name.
    static Text fileName(Text own, const RecordInfo* record, TextView key);

private:
    core::FastCollection& InfoList();
    // An item of the list as what it is.
    static ComPtr<RecordInfo> in(const VARIANT& item);

    HostLink& host_;
    std::unique_ptr<core::FastCollection> list_;
};

}  // namespace kel::engine
