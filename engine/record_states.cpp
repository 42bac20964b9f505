// Making, finding and forgetting record states.
#include "engine/record_states.h"

#include "automation/property.h"
#include "registry/thread_registry.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below
using registry::ThreadRegistry;

core::FastCollection& RecordStates::InfoList() {
    if (!list_) {
        list_ = std::make_unique<core::FastCollection>();
    }
    return *list_;
}

ComPtr<RecordInfo> RecordStates::in(const VARIANT& item) {
    // Nothing else is ever put into this list.
    auto* const state = static_cast<_kelInfo*>(V_DISPATCH(&item));
    return ComPtr<RecordInfo>(static_cast<RecordInfo*>(state));
}

ComPtr<RecordInfo> RecordStates::find(TextView key) {
    return InfoList().KeyExists(key) ? get(key) : nullptr;
}

ComPtr<RecordInfo> RecordStates::EnsureKeyFieldInfo(TextView keyId, const Text& key) {
    ComPtr<RecordInfo> result = find(key);
    if (!result) {
        result = Make<RecordInfo>(keyId);
        InfoList().Add(Variant(static_cast<_kelInfo*>(result.get())).get(), key);
    }
    if (!result->state.dynamicArray && host_.ifAny() &&
        GetFlag(*host_.host(), &_mviHostDLL::get_IsConnected)) {
        result->state.dynamicArray = host_.newDynamicArray();
    }
    return result;
}

ComPtr<RecordInfo> RecordStates::take(TextView key) {
    auto leaving = get(key);
    InfoList().RemoveByKey(key);
    return leaving;
}

Text RecordStates::fileName(Text own, const RecordInfo* record, TextView key) {
    if (own.empty() && record != nullptr) {
        own = record->state.fileName;
    }
    if (own.empty()) {
        own = ThreadRegistry::Current().GetKeyFieldFileName(key);
    }
    return own;
}

}  // namespace kel::engine
