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

ComPtr<RecordInfo> Dbms::info(TextView key) {
    // Nothing else is ever put into this list.
    auto* const state = static_cast<_kelInfo*>(V_DISPATCH(&InfoList().ItemByKey(key)));
    return ComPtr<RecordInfo>(static_cast<RecordInfo*>(state));
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
