// A dictionary item as the engine reads it: which record, which element, for which control.
#pragma once

#include "automation/property.h"
#include "kelSDK.h"

namespace kel::engine {

using automation::Bstr;
using automation::ComPtr;
using automation::Text;
using automation::TextView;

// Reads an item through its interface, so that what a row override or a default answers counts.
class FieldItem {
public:
    // Throws 91 for no object, 13 for an object of another class.
    explicit FieldItem(IDispatch* item);

    _kelDictItem& object() const noexcept { return *item_; }

    // The key field's name and the position, as its members give them.
    struct Address;
    Address address() const;

    Text keyId() const { return text(&_kelDictItem::get_KeyId); }
    Text readKeyId() const { return text(&_kelDictItem::get_ReadKeyId); }
    Text text(HRESULT (STDMETHODCALLTYPE _kelDictItem::*getter)(BSTR*)) const {
        return automation::GetText(*item_, getter);
    }
    bool flag(HRESULT (STDMETHODCALLTYPE _kelDictItem::*getter)(VARIANT_BOOL*)) const {
        return automation::GetFlag(*item_, getter);
    }
    short readType() const { return automation::GetNumber(*item_, &_kelDictItem::get_ReadType); }

private:
    ComPtr<_kelDictItem> item_;
};

// Attribute, value and subvalue from 1; 0 is the whole enclosing level. 16 bits wide, which the
// members' 32-bit positions have to fit.
struct Position {
    short amc = 0;
    short vmc = 0;
    short smc = 0;

    // Throws 6 (overflow) for a position that 16 bits do not hold.
    static Position Of(long amc, long vmc, long smc);
    bool isWholeRecord() const noexcept { return amc == 0 && vmc == 0 && smc == 0; }
};

// Read without making strings where the item is of this component and this apartment.
//   throws  6 (overflow) for a position that 16 bits do not hold
struct FieldItem::Address {
    Text keyId;
    Position at;
};

// A key field's name in lower case, as everything is found by it.
//   throws  kObjectError + 1, "No Key Id", with `source`, when it is empty
Text RequireKey(TextView keyId, const wchar_t* source);

}  // namespace kel::engine
