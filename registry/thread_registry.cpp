// The state of a thread in its slot, from first use to the end of its apartment.
#include "registry/thread_registry.h"

#include <limits>
#include <utility>

#include "automation/error.h"
#include "core/log.h"
#include "registry/apartment_spy.h"
#include "registry/factories.h"

namespace kel::registry {
namespace {

using automation::ComPtr;
using automation::Error;
using automation::Lower;

// A slot of plain memory rather than thread_local: an object with a destructor at the thread's end
// would run after COM is gone and keeps the DLL from being unloaded.
DWORD slot = TLS_OUT_OF_INDEXES;

Factories installed{};

template <typename Interface>
ComPtr<Interface> ItemAs(core::FastCollection& list, TextView key) {
    auto object = automation::ObjectIn<Interface>(list.Item(key));
    if (!object) {
        throw Error(automation::kNoInterface);
    }
    return object;
}

}  // namespace

void SetFactories(const Factories& factories) noexcept {
    installed = factories;
}
const Factories& TheFactories() noexcept {
    return installed;
}

bool ThreadRegistry::AttachProcess() noexcept {
    slot = TlsAlloc();
    return slot != TLS_OUT_OF_INDEXES;
}

void ThreadRegistry::DetachProcess() noexcept {
    if (slot != TLS_OUT_OF_INDEXES) {
        TlsFree(std::exchange(slot, TLS_OUT_OF_INDEXES));
    }
}

ThreadRegistry* ThreadRegistry::IfAny() noexcept {
    return static_cast<ThreadRegistry*>(TlsGetValue(slot));
}

ThreadRegistry& ThreadRegistry::Current() {
    if (ThreadRegistry* existing = IfAny()) {
        return *existing;
    }
    auto made = std::make_unique<ThreadRegistry>();
    ThreadRegistry& result = *made;
    WatchApartment([]() noexcept {
        if (ThreadRegistry* ending = IfAny()) {
            ending->releaseAll();
            TlsSetValue(slot, nullptr);
            delete ending;
        }
    });
    TlsSetValue(slot, made.release());
    return result;
}

core::FastCollection& ThreadRegistry::made(List& list) {
    if (!list) {
        list = std::make_unique<core::FastCollection>();
    }
    return *list;
}

bool ThreadRegistry::hasNoCallbacks() const noexcept {
    return isEmpty(sessionCallbacks_) && isEmpty(fieldCallbacks_);
}

void ThreadRegistry::releaseEmptyCallbackLists() noexcept {
    for (List* list : {&sessionCallbacks_, &fieldCallbacks_}) {
        if (isEmpty(*list)) {
            list->reset();
        }
    }
}

void ThreadRegistry::releaseEngineListIfEmpty() noexcept {
    if (isEmpty(engines_)) {
        engines_.reset();
    }
}

short ThreadRegistry::nextBaseNumber() noexcept {
    if (baseCount_ < std::numeric_limits<short>::max()) {
        ++baseCount_;
    }
    return baseCount_;
}

ComPtr<_kelFieldCallBack> ThreadRegistry::fieldCallback(TextView keyField) {
    return ItemAs<_kelFieldCallBack>(FieldCallbackList(), Lower(keyField));
}

ComPtr<_kelSessionCallBack> ThreadRegistry::sessionCallback(TextView sessionKey) {
    return ItemAs<_kelSessionCallBack>(SessionCallbackList(), sessionKey);
}

ComPtr<_kelDBMS> ThreadRegistry::engine(TextView sessionKey) {
    return ItemAs<_kelDBMS>(EngineList(), sessionKey);
}

Text ThreadRegistry::GetKeyFieldSession(TextView keyField) const {
    const KeyFieldXRef::Row* row = xref_.find(keyField);
    return row != nullptr ? row->session : Text();
}

Text ThreadRegistry::GetKeyFieldFileName(TextView keyField) const {
    const KeyFieldXRef::Row* row = xref_.find(keyField);
    return row != nullptr ? row->fileName : Text();
}

void ThreadRegistry::RemoveSessionXRef(TextView keyField) {
    constexpr short kLevel = 2;
    core::WriteLog(Text(L"RemoveSessionXRef ").append(keyField), kLevel);
    xref_.remove(keyField);
}

void ThreadRegistry::releaseAll() noexcept {
    // Sessions first: their engines disconnect and tell the key fields. What handlers add meanwhile
    // is let go of in a further round; a handler that always adds more gets its way after some.
    constexpr int kRounds = 4;
    for (int round = 0; round < kRounds; ++round) {
        for (List* list : {&sessionCallbacks_, &engines_, &fieldCallbacks_}) {
            if (!isEmpty(*list)) {
                const List leaving = std::exchange(*list, nullptr);
                automation::Ignoring([&] { leaving->Clear(); });
            }
        }
    }
}

}  // namespace kel::registry
