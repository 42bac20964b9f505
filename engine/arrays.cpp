// Dynamic-array operations on a key field's record. The record never leaves the back-end as a
// whole: its array object is handed over by reference and edited in place.
//
// Each member comes in two forms, about an item's field and about a key field and a position.
// Every member reads the key field and position first; an empty key field and a position
// beyond 16 bits always reach the caller. After that Extract and Dcount trap errors, the others
// raise them again as they came.
#include <optional>

#include "engine/dbms.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr TextView kCallWord = L"CALL";

// Sources of the error for an empty key field.
constexpr const wchar_t* kExtract = L"mvDBMS::Extract";
constexpr const wchar_t* kReplace = L"mvDBMS::Replace";
constexpr const wchar_t* kInsert = L"mvDBMS::Insert";
constexpr const wchar_t* kDelete = L"mvDBMS::Delete";
constexpr const wchar_t* kLocate = L"mvDBMS::Locate";
constexpr const wchar_t* kDcount = L"mvDBMS::Dcount";

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

// What a member is about, once its opening checks have passed.
struct Dbms::Element {
    std::optional<FieldItem> item;  // when there is one
    Text keyId;
    Text key;  // lower case
    Position at;

    Element(IDispatch* object, const wchar_t* source) : item(object) {
        FieldItem::Address address = item->address();
        keyId = std::move(address.keyId);
        at = address.at;
        key = RequireKey(keyId, source);
    }
    Element(BSTR name, long amc, long vmc, long smc, const wchar_t* source)
        : keyId(View(name)), at(Position::Of(amc, vmc, smc)) {
        key = RequireKey(keyId, source);
    }
};

// Marks the record changed and, unless updates are held back, has the other controls refresh.
void Dbms::changed(const Element& element) noexcept {
    Ignoring([&] { info(element.key)->state.isChanged = true; });
    if (!autoUpdateOk_) {
        return;
    }
    Ignoring([&] {
        const Bstr control(element.item ? element.item->text(&_kelDictItem::get_ControlName)
                                        : Text());
        const Bstr amc(DecimalText(element.at.amc));
        const Bstr vmc(DecimalText(element.at.vmc));
        const Bstr smc(DecimalText(element.at.smc));
        tellField(element.key, [&](_kelFieldCallBack& callback) {
            return callback.FldRefresh(control.get(), amc.get(), vmc.get(), smc.get());
        });
    });
}

Bstr Dbms::extract(const Element& element) {
    Bstr value;
    Ignoring([&] {
        ComPtr<IDispatch> array =
            EnsureKeyFieldInfo(element.keyId, element.key)->state.dynamicArray;
        const auto at = element.at;
        const auto extractor = host();
        Bstr extracted;
        CallOut([&] {
            return extractor->Extract(array.inOut(), at.amc, at.vmc, at.smc, extracted.put());
        });
        value = std::move(extracted);
    });
    return value;
}

void Dbms::replace(const Element& element, BSTR value) {
    const auto record = EnsureKeyFieldInfo(element.keyId, element.key);
    if (View(value).empty() && element.at.isWholeRecord()) {
        record->state.dynamicArray = newDynamicArray();
    } else {
        ComPtr<IDispatch> array = record->state.dynamicArray;
        const auto at = element.at;
        const auto editor = host();
        CallOut([&] { return editor->Replace(array.inOut(), value, at.amc, at.vmc, at.smc); });
    }
    changed(element);
}

void Dbms::insert(const Element& element, BSTR value) {
    ComPtr<IDispatch> array = EnsureKeyFieldInfo(element.keyId, element.key)->state.dynamicArray;
    const auto at = element.at;
    const auto editor = host();
    CallOut([&] { return editor->Insert(array.inOut(), value, at.amc, at.vmc, at.smc); });
    changed(element);
}

void Dbms::remove(const Element& element) {
    ComPtr<IDispatch> array = EnsureKeyFieldInfo(element.keyId, element.key)->state.dynamicArray;
    const auto at = element.at;
    const auto editor = host();
    CallOut([&] { return editor->Delete(array.inOut(), at.amc, at.vmc, at.smc); });
    changed(element);
}

bool Dbms::locate(const Element& element, BSTR search, long* pos, BSTR sortBy) {
    ComPtr<IDispatch> array = EnsureKeyFieldInfo(element.keyId, element.key)->state.dynamicArray;
    const auto at = element.at;
    const auto searcher = host();
    VARIANT_BOOL found = VARIANT_FALSE;
    CallOut([&] {
        return searcher->Locate(array.inOut(), pos, search, at.amc, at.vmc, sortBy, &found);
    });
    return found != VARIANT_FALSE;
}

long Dbms::dcount(const Element& element, BSTR delimit) {
    long count = 0;
    Ignoring([&] {
        ComPtr<IDispatch> array =
            EnsureKeyFieldInfo(element.keyId, element.key)->state.dynamicArray;
        const auto at = element.at;
        const auto counter = host();
        long counted = 0;
        CallOut([&] {
            return counter->Dcount(delimit, array.inOut(), at.amc, at.vmc, at.smc, &counted);
        });
        count = counted;
    });
    return count;
}

STDMETHODIMP Dbms::Extract(IDispatch* item, BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = extract({item, kExtract});
    });
}

STDMETHODIMP Dbms::ExtractAt(BSTR keyId, long amc, long vmc, long smc, BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = extract({keyId, amc, vmc, smc, kExtract});
    });
}

STDMETHODIMP Dbms::Replace(BSTR value, IDispatch* item) noexcept {
    return ComMethod([&] { replace({item, kReplace}, value); });
}

STDMETHODIMP Dbms::ReplaceAt(BSTR keyId, BSTR value, long amc, long vmc, long smc) noexcept {
    return ComMethod([&] { replace({keyId, amc, vmc, smc, kReplace}, value); });
}

STDMETHODIMP Dbms::Insert(BSTR value, IDispatch* item) noexcept {
    return ComMethod([&] { insert({item, kInsert}, value); });
}

STDMETHODIMP Dbms::InsertAt(BSTR keyId, BSTR value, long amc, long vmc, long smc) noexcept {
    return ComMethod([&] { insert({keyId, amc, vmc, smc, kInsert}, value); });
}

STDMETHODIMP Dbms::Delete(IDispatch* item) noexcept {
    return ComMethod([&] { remove({item, kDelete}); });
}

STDMETHODIMP Dbms::DeleteAt(BSTR keyId, long amc, long vmc, long smc) noexcept {
    return ComMethod([&] { remove({keyId, amc, vmc, smc, kDelete}); });
}

STDMETHODIMP Dbms::Locate(
    BSTR search, long* pos, BSTR sortBy, IDispatch* item, VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Require(pos);
        out = locate({item, kLocate}, search, pos, sortBy);
    });
}

STDMETHODIMP Dbms::LocateAt(BSTR keyId,
                            BSTR search,
                            long* pos,
                            BSTR sortBy,
                            long amc,
                            long vmc,
                            VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Require(pos);
        out = locate({keyId, amc, vmc, 0, kLocate}, search, pos, sortBy);
    });
}

STDMETHODIMP Dbms::Dcount(BSTR delimit, IDispatch* item, long* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = dcount({item, kDcount}, delimit);
    });
}

STDMETHODIMP
Dbms::DcountAt(BSTR keyId, BSTR delimit, long amc, long vmc, long smc, long* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = dcount({keyId, amc, vmc, smc, kDcount}, delimit);
    });
}

STDMETHODIMP Dbms::ProcessCorrelative(
    BSTR value, BSTR key, short cnt, IDispatch* item, BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const Element element(item, L"mvDBMS::ProcessCorrelative");
        out = TextView(processCorrelative(element, value, View(key), cnt));
    });
}

Text Dbms::processCorrelative(const Element& element, BSTR value, TextView key, short cnt) {
    const FieldItem& item = *element.item;
    Text correlative = item.text(&_kelDictItem::get_InternalCorrelative);
    if (correlative.empty()) {
        correlative = item.text(&_kelDictItem::get_Correlative);
    }
    if (correlative.empty()) {
        return Text(View(value));
    }
    const auto record = EnsureKeyFieldInfo(element.keyId, element.key);
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
