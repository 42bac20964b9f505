// Reading, changing and searching elements of a record.
#include "engine/elements.h"

#include "engine/key_fields.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

Element::Element(IDispatch* object, const wchar_t* source) : item(object) {
    FieldItem::Address address = item->address();
    keyId = std::move(address.keyId);
    at = address.at;
    key = RequireKey(keyId, source);
}

Element::Element(BSTR name, long amc, long vmc, long smc, const wchar_t* source)
    : keyId(View(name)), at(Position::Of(amc, vmc, smc)) {
    key = RequireKey(keyId, source);
}

void Elements::changed(const Element& element) noexcept {
    Ignoring([&] { states_.get(element.key)->state.isChanged = true; });
    if (!autoUpdate) {
        return;
    }
    Ignoring([&] {
        const Bstr control(element.item ? element.item->text(&_kelDictItem::get_ControlName)
                                        : Text());
        const Bstr amc(DecimalText(element.at.amc));
        const Bstr vmc(DecimalText(element.at.vmc));
        const Bstr smc(DecimalText(element.at.smc));
        TellField(element.key, [&](_kelFieldCallBack& callback) {
            return callback.FldRefresh(control.get(), amc.get(), vmc.get(), smc.get());
        });
    });
}

Bstr Elements::extract(const Element& element) {
    Bstr value;
    Ignoring([&] {
        ComPtr<IDispatch> record = array(element);
        const auto at = element.at;
        const auto extractor = host_.host();
        Bstr extracted;
        CallOut([&] {
            return extractor->Extract(record.inOut(), at.amc, at.vmc, at.smc, extracted.put());
        });
        value = std::move(extracted);
    });
    return value;
}

long Elements::dcount(const Element& element, BSTR delimit) {
    long count = 0;
    Ignoring([&] {
        ComPtr<IDispatch> record = array(element);
        const auto at = element.at;
        const auto counter = host_.host();
        long counted = 0;
        CallOut([&] {
            return counter->Dcount(delimit, record.inOut(), at.amc, at.vmc, at.smc, &counted);
        });
        count = counted;
    });
    return count;
}

void Elements::replace(const Element& element, BSTR value) {
    const auto record = states_.EnsureKeyFieldInfo(element.keyId, element.key);
    if (View(value).empty() && element.at.isWholeRecord()) {
        record->state.dynamicArray = host_.newDynamicArray();
    } else {
        ComPtr<IDispatch> whole = record->state.dynamicArray;
        const auto at = element.at;
        const auto editor = host_.host();
        CallOut([&] { return editor->Replace(whole.inOut(), value, at.amc, at.vmc, at.smc); });
    }
    changed(element);
}

void Elements::insert(const Element& element, BSTR value) {
    ComPtr<IDispatch> record = array(element);
    const auto at = element.at;
    const auto editor = host_.host();
    CallOut([&] { return editor->Insert(record.inOut(), value, at.amc, at.vmc, at.smc); });
    changed(element);
}

void Elements::remove(const Element& element) {
    ComPtr<IDispatch> record = array(element);
    const auto at = element.at;
    const auto editor = host_.host();
    CallOut([&] { return editor->Delete(record.inOut(), at.amc, at.vmc, at.smc); });
    changed(element);
}

bool Elements::locate(const Element& element, BSTR search, long* pos, BSTR sortBy) {
    ComPtr<IDispatch> record = array(element);
    const auto at = element.at;
    const auto searcher = host_.host();
    VARIANT_BOOL found = VARIANT_FALSE;
    CallOut([&] {
        return searcher->Locate(record.inOut(), pos, search, at.amc, at.vmc, sortBy, &found);
    });
    return found != VARIANT_FALSE;
}

}  // namespace kel::engine
