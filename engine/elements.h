// Work on elements of a key field's record. The record never leaves the back-end as a whole: its
// array object is handed over by reference and edited in place.
#pragma once

#include <optional>

#include "engine/field_item.h"
#include "engine/host_link.h"
#include "engine/record_states.h"

namespace kel::engine {

// What a member is about: an item's field, or a key field and a position.
struct Element {
    std::optional<FieldItem> item;  // when there is one
    Text keyId;
    Text key;  // lower case
    Position at;

    // Both throw what reaches the caller whatever the member traps: 6 (overflow) for a position
    // beyond 16 bits, kObjectError + 1 with `source` for an empty key field.
    Element(IDispatch* object, const wchar_t* source);
    Element(BSTR name, long amc, long vmc, long smc, const wchar_t* source);
};

// Members that change a record mark it changed and, while `autoUpdate` holds, have the other
// controls refresh. One thread.
class Elements {
public:
    Elements(HostLink& host, RecordStates& states) noexcept : host_(host), states_(states) {}

    // Failures are trapped: "" and 0.
    Bstr extract(const Element& element);
    long dcount(const Element& element, BSTR delimit);

    // Failures come out as they were.
    void replace(const Element& element, BSTR value);
    void insert(const Element& element, BSTR value);
    void remove(const Element& element);
    bool locate(const Element& element, BSTR search, long* pos, BSTR sortBy);

    bool autoUpdate = true;

private:
    // The record's array, made if need be.
    ComPtr<IDispatch> array(const Element& element) {
        return states_.EnsureKeyFieldInfo(element.keyId, element.key)->state.dynamicArray;
    }
    void changed(const Element& element) noexcept;

    HostLink& host_;
    RecordStates& states_;
};

}  // namespace kel::engine
