// The engine's record states, one per key field.
#include "engine/dbms.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below
using registry::ThreadRegistry;

core::FastCollection& Dbms::made(List& list) {
    if (!list) {
        list = std::make_unique<core::FastCollection>();
    }
    return *list;
}

ComPtr<RecordInfo> Dbms::infoIn(const VARIANT& item) {
    // Nothing else is ever put into this list.
    auto* const state = static_cast<_kelInfo*>(V_DISPATCH(&item));
    return ComPtr<RecordInfo>(static_cast<RecordInfo*>(state));
}

ComPtr<RecordInfo> Dbms::info(TextView key) {
    return infoIn(InfoList().ItemByKey(key));
}

ComPtr<IDispatch> Dbms::newDynamicArray() {
    const auto maker = host();
    ComPtr<IDispatch> array;
    CallOut([&] { return maker->CreateDynamicArray(nullptr, array.put()); });
    return array;
}

ComPtr<RecordInfo> Dbms::EnsureKeyFieldInfo(TextView keyId, const Text& key) {
    ComPtr<RecordInfo> result;
    if (InfoList().KeyExists(key)) {
        result = info(key);
    } else {
        result = Make<RecordInfo>(keyId);
        InfoList().Add(Variant(static_cast<_kelInfo*>(result.get())).get(), key);
    }
    if (!result->state.dynamicArray && host_ && GetFlag(*host(), &_mviHostDLL::get_IsConnected)) {
        result->state.dynamicArray = newDynamicArray();
    }
    return result;
}

// Taken out of the list first: what comes in while the select list is closed finds none of it.
void Dbms::dropRecordState(TextView key) noexcept {
    Ignoring([&] {
        const auto leaving = info(key);
        InfoList().RemoveByKey(key);
        closeSelectList(host_.get(), *leaving);
    });
}

long Dbms::lastRow() noexcept {
    ThreadRegistry* const registry = ThreadRegistry::IfAny();
    return registry != nullptr ? registry->xref().upper() : -1;
}

Text Dbms::keyFieldAt(long row) const noexcept {
    Text keyField;
    Ignoring([&] {
        // The table may be gone, or another: a thread whose apartment ends runs client code, too.
        ThreadRegistry* const registry = ThreadRegistry::IfAny();
        if (registry != nullptr && row <= registry->xref().upper()) {
            const auto& entry = registry->xref().row(row);
            keyField = entry.sessionKey == sessionKey_ ? entry.keyFieldKey : Text();
        }
    });
    return keyField;
}

Text Dbms::resolveFileName(const FieldItem& item, const RecordInfo& info, TextView key) {
    Text fileName = item.text(&_kelDictItem::get_FileName);
    if (fileName.empty()) {
        fileName = info.state.fileName;
    }
    if (fileName.empty()) {
        fileName = ThreadRegistry::Current().GetKeyFieldFileName(key);
    }
    return fileName;
}

}  // namespace kel::engine
