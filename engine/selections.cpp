// Select lists and commands. Unlike the record members these go by the item's KeyId. None of them
// raises an error to the caller.
#include "automation/message_pump.h"
#include "engine/dbms.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

void Close(_mviHostDLL& host, IDispatch* list) noexcept {
    Ignoring([&] {
        Variant ignored;
        CallOut([&] { return host.CloseSelect(list, ignored.put()); });
    });
}

}  // namespace

// Errors are ignored at every step: the selection is asked for even when the record state could not
// be made whole.
STDMETHODIMP Dbms::ExecuteSelectList(BSTR sentence, IDispatch* item) noexcept {
    return ComMethod([&] {
        Ignoring([&] {
            const Text keyId = FieldItem(item).keyId();
            const Text key = RequireKey(keyId, L"mvDBMS::ExecuteSelectList");
            const BusyPointer busy;
            Ignoring([&] { EnsureKeyFieldInfo(keyId, key); });
            ComPtr<RecordInfo> record;
            Ignoring([&] { record = info(key); });
            if (record && record->state.selectList) {
                closeSelectList(host_.get(), *record);
            }
            const auto selector = host();
            ComPtr<IDispatch> list;
            CallOut([&] { return selector->ProcessSelect(sentence, list.put()); });
            // The back-end may have run client code meanwhile: the session may have ended, or
            // the key field have got another list.
            const bool isKnown = record && InfoList().KeyExists(key) &&
                                 info(key).get() == record.get() && selector.get() == host_.get();
            if (!isKnown) {
                Close(*selector, list.get());
                return;
            }
            std::swap(record->state.selectList, list);
            record->state.selectListProcessed = true;
            if (list) {
                Close(*selector, list.get());
            }
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

void Dbms::closeSelectList(_mviHostDLL* host, RecordInfo& record) noexcept {
    const ComPtr<_mviHostDLL> closer(host);
    // Taken out first: whoever comes back in meanwhile finds no list to close, and may leave one.
    const ComPtr<IDispatch> list = std::move(record.state.selectList);
    record.state.selectListProcessed = false;
    if (closer) {
        Close(*closer, list.get());
    }
}

STDMETHODIMP Dbms::DestorySelectList(IDispatch* item) noexcept {
    return ComMethod([&] {
        Ignoring([&] { closeSelectList(host_.get(), *info(Lower(FieldItem(item).keyId()))); });
    });
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
