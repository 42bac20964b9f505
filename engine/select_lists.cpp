// Running selections and reading their ids.
#include "engine/select_lists.h"

#include "automation/message_pump.h"
#include "automation/variant.h"
#include "engine/field_item.h"

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

// The selection is asked for even when the record state could not be made whole.
void SelectLists::execute(BSTR sentence, TextView keyId) {
    const Text key = RequireKey(keyId, L"mvDBMS::ExecuteSelectList");
    const BusyPointer busy;
    Ignoring([&] { states_.EnsureKeyFieldInfo(keyId, key); });
    const auto record = states_.find(key);
    if (record && record->state.selectList) {
        closeIn(*record, host_.ifAny().get());
    }
    const auto selector = host_.host();
    ComPtr<IDispatch> list;
    CallOut([&] { return selector->ProcessSelect(sentence, list.put()); });
    // The back-end may have run client code meanwhile: the session may have ended, or the key field
    // have got another list.
    const bool isKnown =
        record && states_.find(key).get() == record.get() && host_.isStill(selector);
    if (!isKnown) {
        Close(*selector, list.get());
        return;
    }
    std::swap(record->state.selectList, list);
    record->state.selectListProcessed = true;
    if (list) {
        Close(*selector, list.get());
    }
}

bool SelectLists::readNext(BSTR* id, TextView keyId) {
    const auto record = states_.find(Lower(keyId));
    if (!record || !record->state.selectListProcessed) {
        Bstr::Adopt(std::exchange(*id, nullptr));
        return false;
    }
    ComPtr<IDispatch> list = record->state.selectList;
    const auto reader = host_.host();
    VARIANT_BOOL more = VARIANT_FALSE;
    CallOut([&] { return reader->ReadNext(list.inOut(), id, &more); });
    return more != VARIANT_FALSE;
}

void SelectLists::close(TextView keyId) {
    closeIn(*states_.get(Lower(keyId)), host_.ifAny().get());
}

void SelectLists::closeIn(RecordInfo& record, _mviHostDLL* host) noexcept {
    const ComPtr<_mviHostDLL> closer(host);
    // Taken out first: whoever comes back in meanwhile finds no list to close, and may leave one.
    const ComPtr<IDispatch> list = std::move(record.state.selectList);
    record.state.selectListProcessed = false;
    if (closer) {
        Close(*closer, list.get());
    }
}

}  // namespace kel::engine
