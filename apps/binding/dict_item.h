// Handle on a kelDictItem, which binds one control to one field of a key field's record.
#pragma once

#include "apps/binding/client.h"

namespace kel::binding {

// What a control sets once, when its form opens.
struct Binding {
    TextView keyId;        // the key field whose record holds the field
    TextView session;      // used for the record's id; the key field's own session comes first
    TextView controlName;  // who tells Refresh that it made a change
    long amc = 0;          // 0: the record's id
    long vmc = 0;
};

class DictItem {
public:
    explicit DictItem(const Binding& binding) : item_(Create<_kelDictItem>(L"kelSDK.kelDictItem")) {
        put(&_kelDictItem::put_KeyId, binding.keyId);
        put(&_kelDictItem::put_Session, binding.session);
        put(&_kelDictItem::put_ControlName, binding.controlName);
        put(&_kelDictItem::put_AMC, binding.amc);
        put(&_kelDictItem::put_VMC, binding.vmc);
    }

    void FileName(TextView value) const { put(&_kelDictItem::put_FileName, value); }
    void ReadU(bool value) const { put(&_kelDictItem::put_ReadU, Flag(value)); }
    void UpdateOnly(bool value) const { put(&_kelDictItem::put_UpdateOnly, Flag(value)); }
    void ReadType(short value) const { put(&_kelDictItem::put_ReadType, value); }

    // 0 found, 1 not found, 2 locked, 3 refused by ReadType.
    short ReadRecord() const {
        return Ask<short>([&](short* to) { return item_->ReadRecord(to); });
    }
    // 0 written, 1 not written.
    short WriteRecord() const {
        return Ask<short>([&](short* to) { return item_->WriteRecord(to); });
    }
    void DeleteRecord() const { Check(item_->DeleteRecord()); }
    void ClearRecord() const { Check(item_->ClearRecord()); }
    short Count() const {
        return Ask<short>([&](short* to) { return item_->Count(to); });
    }

    // A row of a multivalued field counts from 1; 0 is the whole field.
    Text ExternalValue(short row = 0) const {
        return AskText([&](BSTR* to) { return item_->get_ExternalValue(row, to); });
    }
    void ExternalValue(short row, TextView value) const {
        Check(item_->put_ExternalValue(row, Str(value).get()));
    }
    void CommonValue(TextView name, TextView value) const {
        Var copy(value);
        Check(item_->put_CommonValue(Str(name).get(), copy.inOut()));
    }

    // Calls a stored program on the record in the key field's buffer; it may change both record and
    // value.
    void CallProg(TextView program, TextView type, Text& value) const {
        Str held(value);
        Check(item_->CallProg(Str(program).get(), Str(type).get(), held.inOut()));
        value = held.text();
    }

    // State of the record in the key field's buffer.
    bool IsRead() const {
        return AskFlag([&](VARIANT_BOOL* to) { return info()->get_IsRead(to); });
    }
    bool IsNew() const {
        return AskFlag([&](VARIANT_BOOL* to) { return info()->get_IsNew(to); });
    }
    bool IsChanged() const {
        return AskFlag([&](VARIANT_BOOL* to) { return info()->get_IsChanged(to); });
    }

private:
    template <typename Value>
    void put(HRESULT (STDMETHODCALLTYPE _kelDictItem::*setter)(Value), Value value) const {
        Check((item_.get()->*setter)(value));
    }
    void put(HRESULT (STDMETHODCALLTYPE _kelDictItem::*setter)(BSTR), TextView value) const {
        Check((item_.get()->*setter)(Str(value).get()));
    }
    Ptr<_kelInfo> info() const {
        return AskObject<_kelInfo>([&](_kelInfo** to) { return item_->mvInfo(to); });
    }

    Ptr<_kelDictItem> item_;
};

}  // namespace kel::binding
