// Dynamic-array operations on a key field's record. The record never leaves the back-end as a
// whole: its array object is handed over by reference and edited in place.
//
// Every member reads the item's key field and position first; an empty key field and a position
// beyond 16 bits always reach the caller. After that Extract and Dcount trap errors, the others
// raise them again as they came.
#include "engine/dbms.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr TextView kCallWord = L"CALL";

// The second blank-separated word of a text.
TextView SecondWord(TextView text) {
    const std::size_t blank = text.find(L' ');
    if (blank == TextView::npos) {
        return {};
    }
    const TextView rest = text.substr(blank + 1);
    return rest.substr(0, rest.find(L' '));
}

}  // namespace

// What an item addresses, once its opening checks have passed.
struct Dbms::Element {
    FieldItem item;
    Text keyId;
    Text key;  // lower case
    Position at;
};

Dbms::Element Dbms::openElement(IDispatch* object, const wchar_t* source) {
    FieldItem item(object);
    FieldItem::Address address = item.address();
    Text key = RequireKey(address.keyId, source);
    return {std::move(item), std::move(address.keyId), std::move(key), address.at};
}

// Marks the record changed and, unless updates are held back, has the other controls refresh.
void Dbms::changed(const Element& element) noexcept {
    Ignoring([&] { info(element.key)->state.isChanged = true; });
    if (!autoUpdateOk_) {
        return;
    }
    Ignoring([&] {
        const Bstr control(element.item.text(&_kelDictItem::get_ControlName));
        const Bstr amc(DecimalText(element.at.amc));
        const Bstr vmc(DecimalText(element.at.vmc));
        const Bstr smc(DecimalText(element.at.smc));
        tellField(element.key, [&](_kelFieldCallBack& callback) {
            return callback.FldRefresh(control.get(), amc.get(), vmc.get(), smc.get());
        });
    });
}

STDMETHODIMP Dbms::Extract(IDispatch* item, BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const Element element = openElement(item, L"mvDBMS::Extract");
        Bstr value;
        Ignoring([&] {
            ComPtr<IDispatch> array = EnsureKeyFieldInfo(element.keyId)->state.dynamicArray;
            const auto at = element.at;
            const auto extractor = host();
            CallOut([&] {
                return extractor->Extract(array.inOut(), at.amc, at.vmc, at.smc, value.put());
            });
        });
        out = std::move(value);
    });
}

STDMETHODIMP Dbms::Replace(BSTR value, IDispatch* item) noexcept {
    return ComMethod([&] {
        const Element element = openElement(item, L"mvDBMS::Replace");
        const auto record = EnsureKeyFieldInfo(element.keyId);
        if (View(value).empty() && element.at.isWholeRecord()) {
            record->state.dynamicArray = newDynamicArray();
        } else {
            ComPtr<IDispatch> array = record->state.dynamicArray;
            const auto at = element.at;
            const auto editor = host();
            CallOut([&] { return editor->Replace(array.inOut(), value, at.amc, at.vmc, at.smc); });
        }
        changed(element);
    });
}

STDMETHODIMP Dbms::Insert(BSTR value, IDispatch* item) noexcept {
    return ComMethod([&] {
        const Element element = openElement(item, L"mvDBMS::Insert");
        ComPtr<IDispatch> array = EnsureKeyFieldInfo(element.keyId)->state.dynamicArray;
        const auto at = element.at;
        const auto editor = host();
        CallOut([&] { return editor->Insert(array.inOut(), value, at.amc, at.vmc, at.smc); });
        changed(element);
    });
}

STDMETHODIMP Dbms::Delete(IDispatch* item) noexcept {
    return ComMethod([&] {
        const Element element = openElement(item, L"mvDBMS::Delete");
        ComPtr<IDispatch> array = EnsureKeyFieldInfo(element.keyId)->state.dynamicArray;
        const auto at = element.at;
        const auto editor = host();
        CallOut([&] { return editor->Delete(array.inOut(), at.amc, at.vmc, at.smc); });
        changed(element);
    });
}

STDMETHODIMP Dbms::Locate(
    BSTR search, long* pos, BSTR sortBy, IDispatch* item, VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Require(pos);
        const Element element = openElement(item, L"mvDBMS::Locate");
        ComPtr<IDispatch> array = EnsureKeyFieldInfo(element.keyId)->state.dynamicArray;
        const auto at = element.at;
        const auto searcher = host();
        VARIANT_BOOL found = VARIANT_FALSE;
        CallOut([&] {
            return searcher->Locate(array.inOut(), pos, search, at.amc, at.vmc, sortBy, &found);
        });
        out = found;
    });
}

STDMETHODIMP Dbms::Dcount(BSTR delimit, IDispatch* item, long* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const Element element = openElement(item, L"mvDBMS::Dcount");
        long count = 0;
        Ignoring([&] {
            ComPtr<IDispatch> array = EnsureKeyFieldInfo(element.keyId)->state.dynamicArray;
            const auto at = element.at;
            const auto counter = host();
            long counted = 0;
            CallOut([&] {
                return counter->Dcount(delimit, array.inOut(), at.amc, at.vmc, at.smc, &counted);
            });
            count = counted;
        });
        out = count;
    });
}

STDMETHODIMP Dbms::ProcessCorrelative(
    BSTR value, BSTR key, short cnt, IDispatch* item, BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const Element element = openElement(item, L"mvDBMS::ProcessCorrelative");
        out = TextView(processCorrelative(element, value, View(key), cnt));
    });
}

Text Dbms::processCorrelative(const Element& element, BSTR value, TextView key, short cnt) {
    const FieldItem& item = element.item;
    Text correlative = item.text(&_kelDictItem::get_InternalCorrelative);
    if (correlative.empty()) {
        correlative = item.text(&_kelDictItem::get_Correlative);
    }
    if (correlative.empty()) {
        return Text(View(value));
    }
    const auto record = EnsureKeyFieldInfo(element.keyId);
    ComPtr<IDispatch> array = record->state.dynamicArray;
    const Bstr recordKey(key.empty() ? TextView(record->state.recNo) : key);
    const Bstr fileName(resolveFileName(item, *record, element.key));

    if (LowerEquals(TextView(correlative).substr(0, kCallWord.size()), Lower(kCallWord))) {
        const Bstr program(SecondWord(correlative));
        Variant changing{View(value)};
        Bstr errorText;
        callHost(&item.object(), program.get(), changing.inOut(), errorText.inOut(), false);
        return errorText.view().empty() ? Text(changing.text().view()) : Text();
    }

    const auto evaluator = host();
    const Bstr written(correlative);
    Bstr internalForm;
    Bstr derived;
    CallOut([&] {
        return evaluator->ProcessCorrelative(array.inOut(),
                                             value,
                                             recordKey.get(),
                                             fileName.get(),
                                             cnt,
                                             written.get(),
                                             internalForm.inOut(),
                                             derived.put());
    });
    if (!internalForm.view().empty()) {
        CallOut([&] { return item.object().put_InternalCorrelative(internalForm.get()); });
    }
    return Text(derived.view());
}

}  // namespace kel::engine
