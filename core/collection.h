// The ordinary automation collection: what clients get for lists of names, and what they fill for
// field errors and mandatory fields.
#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "automation/object.h"
#include "kelSDK.h"

namespace kel::core {

// Items in order with optional text keys that ignore case. Classic errors: 5 for an unknown key or
// an invalid argument, 9 for an index out of range, 457 for a key that is there already.
// An enumerator sees changes made during the walk and holds the collection alive.
class Collection final : public automation::Object<::Collection, _Collection> {
public:
    Collection() = default;

    // For the component's own lists.
    long count() const noexcept { return static_cast<long>(items_.size()); }
    const automation::Variant& at(long index) const;
    // The item under a key, or null.
    const automation::Variant* find(automation::TextView key) const;
    void add(automation::Variant item, automation::TextView key = {});

    STDMETHODIMP Add(VARIANT item, VARIANT key, VARIANT before, VARIANT after) noexcept override;
    STDMETHODIMP get_Count(long* result) noexcept override;
    STDMETHODIMP get_Item(VARIANT index, VARIANT* result) noexcept override;
    STDMETHODIMP Remove(VARIANT index) noexcept override;
    STDMETHODIMP get__NewEnum(IUnknown** result) noexcept override;

private:
    struct Entry {
        automation::Variant value;
        automation::Text key;  // lower case; "" without one
    };

    ~Collection() override = default;

    // The entry under an index from 1 or a key. Throws 5, 9, 13.
    Entry& entry(const VARIANT& index) const;
    // Its position in items_.
    std::ptrdiff_t position(const VARIANT& index) const;
    // The entry under a lower-case key, or null.
    Entry* keyed(automation::TextView key) const;
    void insert(std::ptrdiff_t at, automation::Variant item, automation::Text key);

    std::vector<std::unique_ptr<Entry>> items_;
    std::unordered_map<automation::TextView, Entry*> keys_;  // the texts are the entries' own
};

}  // namespace kel::core
