// Dictionary items, conversions and lists of names.
#include <limits>

#include "engine/dbms.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

// The setters that only the engine may call; an item from another apartment has none.
void SetReadState(const FieldItem& item, enumDictRead state, TextView message) {
    const auto target = ComPtr<_kelDictItem>(&item.object()).as<IDictItemState>();
    if (!target) {
        throw Error(kNoInterface);
    }
    const Bstr text(message);
    CallOut([&] { return target->SetDictErrMsg(text.get()); });
    CallOut([&] { return target->SetDictRead(state); });
}

void CloseNames(_mviHostDLL& reader, const ComPtr<IDispatch>& selectList) {
    Variant ignored;
    CallOut([&] { return reader.CloseSelect(selectList.get(), ignored.put()); });
}

// The ids of a select list of the back-end, in the order received. When reading fails the list is
// closed; otherwise that is left to the caller.
ComPtr<core::Collection> ReadNames(_mviHostDLL& reader, ComPtr<IDispatch>& selectList) {
    auto names = Make<core::Collection>();
    try {
        for (;;) {
            Bstr id;
            VARIANT_BOOL more = VARIANT_FALSE;
            CallOut([&] { return reader.ReadNext(selectList.inOut(), id.inOut(), &more); });
            if (more == VARIANT_FALSE) {
                return names;
            }
            names->add(Variant(std::move(id)));
        }
    } catch (...) {
        const Error error = CurrentError();
        Ignoring([&] { CloseNames(reader, selectList); });
        throw Error(error);
    }
}

}  // namespace

// First non-empty of the item's, its key field's buffer's and its key field's file name.
Text Dbms::dictionaryFileName(const FieldItem& item) {
    const Text key = Lower(item.keyId());
    if (InfoList().KeyExists(key)) {
        return resolveFileName(item, *info(key), key);
    }
    const Text own = item.text(&_kelDictItem::get_FileName);
    return own.empty() ? registry::ThreadRegistry::Current().GetKeyFieldFileName(key) : own;
}

void Dbms::readDefinition(const FieldItem& item, TextView dictName) {
    const Text fileName = dictionaryFileName(item);
    if (fileName.empty()) {
        SetReadState(
            item, DictReadFailed, L"Unable to find a filename associated with " + item.keyId());
        return;
    }
    const Bstr file(fileName);
    const Bstr name(dictName);
    long amc = 0;
    Bstr conversion;
    Bstr label;
    Bstr justification;
    Bstr correlative;
    short length = 0;
    const auto reader = host();
    CallOut([&] {
        return reader->ReadDictItem(file.get(),
                                    name.get(),
                                    &amc,
                                    conversion.inOut(),
                                    label.inOut(),
                                    justification.inOut(),
                                    correlative.inOut(),
                                    &length);
    });
    _kelDictItem& target = item.object();
    CallOut([&] { return target.put_AMC(amc); });
    CallOut([&] { return target.put_Conversion(conversion.get()); });
    CallOut([&] { return target.put_Label(label.get()); });
    CallOut([&] { return target.put_Justification(justification.get()); });
    CallOut([&] { return target.put_Correlative(correlative.get()); });
    CallOut([&] { return target.put_Length(length); });
    SetReadState(item, DictReadInitalized, {});
}

// The outcome is the item's state and message; no error reaches the caller.
STDMETHODIMP Dbms::ReadDictItem(IDispatch* object) noexcept {
    return ComMethod([&] {
        const FieldItem item(object);
        try {
            const Text dictName = item.text(&_kelDictItem::get_DictName);
            if (dictName.empty()) {
                SetReadState(item, DictReadInitalized, {});
            } else {
                readDefinition(item, dictName);
            }
        } catch (...) {
            const Error error = CurrentError();
            Ignoring([&] {
                SetReadState(item,
                             DictReadFailed,
                             DecimalText(error.number()) + L" (" + error.source() + L") " +
                                 error.description());
            });
        }
    });
}

STDMETHODIMP Dbms::WriteDictItem(IDispatch* object) noexcept {
    return ComMethod([&] {
        Ignoring([&] {
            const FieldItem item(object);
            const Bstr name(item.text(&_kelDictItem::get_DictName));
            const Bstr file(name.view().empty() ? Text() : dictionaryFileName(item));
            if (file.view().empty()) {
                return;
            }
            const long length = GetNumber(item.object(), &_kelDictItem::get_Length);
            if (length < std::numeric_limits<short>::min() ||
                length > std::numeric_limits<short>::max()) {
                throw Error(kOverflow);
            }
            const long amc = GetNumber(item.object(), &_kelDictItem::get_AMC);
            const Bstr conversion(item.text(&_kelDictItem::get_Conversion));
            const Bstr label(item.text(&_kelDictItem::get_Label));
            const Bstr justification(item.text(&_kelDictItem::get_Justification));
            const Bstr correlative(item.text(&_kelDictItem::get_Correlative));
            const auto writer = host();
            CallOut([&] {
                return writer->WriteDictItem(file.get(),
                                             name.get(),
                                             amc,
                                             conversion.get(),
                                             label.get(),
                                             justification.get(),
                                             correlative.get(),
                                             static_cast<short>(length));
            });
        });
    });
}

// A failed output conversion must never stop a display: it gives Empty. One that answers what has
// no text to display, as Null or an object, has failed.
STDMETHODIMP Dbms::Oconv(BSTR value, BSTR conversion, VARIANT* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Ignoring([&] {
            const auto converter = host();
            Variant converted;
            CallOut([&] { return converter->Oconv(value, conversion, converted.put()); });
            out = Variant(std::move(converted).text());
        });
    });
}

// A failed input conversion reaches the caller: a form must be able to reject an entry.
STDMETHODIMP Dbms::Iconv(BSTR value, BSTR conversion, VARIANT* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const auto converter = host();
        Variant converted;
        CallOut([&] { return converter->Iconv(value, conversion, converted.put()); });
        out = std::move(converted);
    });
}

STDMETHODIMP Dbms::GetDictNameList(BSTR fileName, IDispatch** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const TextView name = View(fileName);
        if (name.empty()) {
            return;
        }
        if (!dictNameCache_) {
            dictNameCache_ = Make<core::Collection>();
        }
        if (const Variant* known = dictNameCache_->find(name)) {
            out = known->object<IDispatch>();
            return;
        }
        if (!isConnected()) {
            connect();
        }
        ComPtr<IDispatch> selectList;
        const auto selector = host();
        CallOut(
            [&] { return selector->SelectDictName(fileName, VARIANT_FALSE, selectList.put()); });
        ComPtr<IDispatch> names(ComPtr<_Collection>(ReadNames(*selector, selectList)));
        CloseNames(*selector, selectList);
        Ignoring([&] { dictNameCache_->add(Variant(names.get()), name); });
        out = std::move(names);
    });
}

STDMETHODIMP Dbms::GetFileNameList(IDispatch** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        if (!fileNameCache_) {
            if (!isConnected()) {
                connect();
            }
            ComPtr<IDispatch> selectList;
            const auto selector = host();
            CallOut([&] { return selector->SelectFileName(selectList.put()); });
            fileNameCache_ = ReadNames(*selector, selectList);
            // The list of names is whole, whatever becomes of the back-end's.
            Ignoring([&] { CloseNames(*selector, selectList); });
        }
        out = ComPtr<_Collection>(fileNameCache_);
    });
}

}  // namespace kel::engine
