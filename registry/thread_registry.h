// The state that all objects of one thread share: the callbacks and engines by name, and the
// cross-reference table.
#pragma once

#include <windows.h>

#include <memory>

#include "core/fast_collection.h"
#include "kelEngine.h"
#include "kelSDK.h"
#include "registry/key_field_xref.h"

namespace kel::registry {

// Made empty on a thread's first use of the component and released when the thread's apartment
// ends, while COM is still alive there. Nothing is shared between threads; no locks.
//
// The lists hold automation objects under lower-case names. They are made on first use and may be
// made anew when they were empty, so a reference to one is not kept across anything that may run
// client code.
class ThreadRegistry {
public:
    // Called by DllMain (or a test program's main) before any use and after the last one; no COM.
    static bool AttachProcess() noexcept;
    static void DetachProcess() noexcept;

    // The calling thread's registry, made if need be.
    static ThreadRegistry& Current();
    // The calling thread's registry if it has one: what the end of an object asks.
    static ThreadRegistry* IfAny() noexcept;

    ThreadRegistry() = default;
    ThreadRegistry(const ThreadRegistry&) = delete;
    ThreadRegistry& operator=(const ThreadRegistry&) = delete;
    ~ThreadRegistry() = default;

    core::FastCollection& FieldCallbackList() { return made(fieldCallbacks_); }
    core::FastCollection& SessionCallbackList() { return made(sessionCallbacks_); }
    core::FastCollection& EngineList() { return made(engines_); }
    KeyFieldXRef& xref() noexcept { return xref_; }

    bool hasNoCallbacks() const noexcept;
    void releaseEmptyCallbackLists() noexcept;
    void releaseEngineListIfEmpty() noexcept;

    // Sequence number of a new root object; stays at 32767 once there.
    short nextBaseNumber() noexcept;

    // The callback of a key field, under any spelling. Throws 381 when there is none.
    automation::ComPtr<_kelFieldCallBack> fieldCallback(TextView keyField);
    // The callback of a session by lower-case name; throws 381.
    automation::ComPtr<_kelSessionCallBack> sessionCallback(TextView sessionKey);
    // The engine of a session by lower-case name; throws 381.
    automation::ComPtr<_kelDBMS> engine(TextView sessionKey);

    // "" when the key field is tied to none.
    Text GetKeyFieldSession(TextView keyField) const;
    Text GetKeyFieldFileName(TextView keyField) const;
    void RemoveSessionXRef(TextView keyField);

    // Lets go of everything listed, while client code may still add to it: for the apartment's end.
    void releaseAll() noexcept;

private:
    using List = std::unique_ptr<core::FastCollection>;

    static core::FastCollection& made(List& list);
    static bool isEmpty(const List& list) noexcept { return !list || list->Count() == 0; }

    List fieldCallbacks_;
    List sessionCallbacks_;
    List engines_;
    KeyFieldXRef xref_;
    short baseCount_ = 0;
};

}  // namespace kel::registry
