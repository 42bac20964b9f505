// Select lists and commands. Unlike the record members these go by the item's KeyId. None of them
// raises an error to the caller.
#include "automation/message_pump.h"
#include "engine/dbms.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

STDMETHODIMP Dbms::ExecuteSelectList(BSTR sentence, IDispatch* item) noexcept {
    return ComMethod([&] {
        Ignoring([&] {
            const Text keyId = FieldItem(item).keyId();
            const Text key = RequireKey(keyId, L"mvDBMS::ExecuteSelectList");
            const BusyPointer busy;
            const auto record = EnsureKeyFieldInfo(keyId);
            if (record->state.selectList) {
                destroySelectList(key);
            }
            const auto selector = host();
            ComPtr<IDispatch> list;
            CallOut([&] { return selector->ProcessSelect(sentence, list.put()); });
            record->state.selectList = std::move(list);
            record->state.selectListProcessed = true;
        });
    });
}

STDMETHODIMP Dbms::ReadNext(BSTR* id, IDispatch* item, VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Require(id);
        Ignoring([&] {
            const Text key = Lower(FieldItem(item).keyId());
            const auto record = InfoList().KeyExists(key) ? info(key) : nullptr;
            if (!record || !record->state.selectListProcessed) {
                SysFreeString(std::exchange(*id, nullptr));
                return;
            }
            ComPtr<IDispatch> list = record->state.selectList;
            const auto reader = host();
            VARIANT_BOOL more = VARIANT_FALSE;
            CallOut([&] { return reader->ReadNext(list.inOut(), id, &more); });
            out = more;
        });
    });
}

void Dbms::destroySelectList(TextView key) noexcept {
    Ignoring([&] {
        const auto record = info(key);
        Ignoring([&] {
            const ComPtr<IDispatch> list = record->state.selectList;
            const auto closer = host();
            Variant ignored;
            CallOut([&] { return closer->CloseSelect(list.get(), ignored.put()); });
        });
        record->state.selectList.reset();
        record->state.selectListProcessed = false;
    });
}

STDMETHODIMP Dbms::DestorySelectList(IDispatch* item) noexcept {
    return ComMethod([&] { Ignoring([&] { destroySelectList(Lower(FieldItem(item).keyId())); }); });
}

STDMETHODIMP Dbms::TCLExecute(BSTR sentence, BSTR* capture, BSTR* returning) noexcept {
    return ComMethod([&] {
        Ignoring([&] {
            const BusyPointer busy;
            const auto executor = host();
            CallOut([&] { return executor->Execute(sentence, capture, returning); });
        });
    });
}

}  // namespace kel::engine
