// Reading and writing definitions.
#include "engine/definitions.h"

#include <limits>

#include "automation/property.h"
#include "kelEngine.h"

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

}  // namespace

Text Definitions::fileName(const FieldItem& item) {
    const Text key = Lower(item.keyId());
    const auto record = states_.find(key);
    return RecordStates::fileName(item.text(&_kelDictItem::get_FileName), record.get(), key);
}

void Definitions::readNamed(const FieldItem& item, TextView dictName) {
    const Text found = fileName(item);
    if (found.empty()) {
        SetReadState(
            item, DictReadFailed, L"Unable to find a filename associated with " + item.keyId());
        return;
    }
    const Bstr file(found);
    const Bstr name(dictName);
    long amc = 0;
    Bstr conversion;
    Bstr label;
    Bstr justification;
    Bstr correlative;
    short length = 0;
    const auto reader = host_.host();
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

void Definitions::read(const FieldItem& item) noexcept {
    Ignoring([&] {
        try {
            const Text dictName = item.text(&_kelDictItem::get_DictName);
            if (dictName.empty()) {
                SetReadState(item, DictReadInitalized, {});
            } else {
                readNamed(item, dictName);
            }
        } catch (...) {
            const Error error = CurrentError();
            SetReadState(
                item,
                DictReadFailed,
                DecimalText(error.number()) + L" (" + error.source() + L") " + error.description());
        }
    });
}

void Definitions::write(const FieldItem& item) {
    const Bstr name(item.text(&_kelDictItem::get_DictName));
    const Bstr file(name.view().empty() ? Text() : fileName(item));
    if (file.view().empty()) {
        return;
    }
    const long length = GetNumber(item.object(), &_kelDictItem::get_Length);
    if (length < std::numeric_limits<short>::min() || length > std::numeric_limits<short>::max()) {
        throw Error(kOverflow);
    }
    const long amc = GetNumber(item.object(), &_kelDictItem::get_AMC);
    const Bstr conversion(item.text(&_kelDictItem::get_Conversion));
    const Bstr label(item.text(&_kelDictItem::get_Label));
    const Bstr justification(item.text(&_kelDictItem::get_Justification));
    const Bstr correlative(item.text(&_kelDictItem::get_Correlative));
    const auto writer = host_.host();
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
}

}  // namespace kel::engine
