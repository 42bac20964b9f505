// The ordinary automation collection: what clients get for lists of names, and what they fill for
// field errors and mandatory fields.
#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "automation/object.h"
#include "kelSDK.h"

namespace kel::core {

class CollectionEnumerator;

// Items in order with optional text keys that ignore case. Classic errors: 5 for an unknown key or
// an invalid argument, 9 for an index out of range, 13 for an index that is neither number nor
// text, 457 for a key that is there already.
//
// An enumerator sees changes made during the walk, gives each item once however many come and go
// before or behind it, and holds the collection alive.
//
// Taking and releasing an item's reference may run foreign code that uses this very collection.
// Members take what they are given first, look for the place then, and let go last.
class Collection final : public automation::Object<::Collection, _Collection> {
public:
    Collection() = default;

    // For the component's own lists.
    long count() const noexcept { return static_cast<long>(items_.size()); }
    // The item at an index from 1; throws 9.
    automation::Variant at(long index) const;
    // The item under a key, or null.
    const automation::Variant* find(automation::TextView key) const;
    void add(automation::Variant item, automation::TextView key = {});

    STDMETHODIMP Add(VARIANT item, VARIANT key, VARIANT before, VARIANT after) noexcept override;
    STDMETHODIMP get_Count(long* result) noexcept override;
    STDMETHODIMP get_Item(VARIANT index, VARIANT* result) noexcept override;
    STDMETHODIMP Remove(VARIANT index) noexcept override;
    STDMETHODIMP get__NewEnum(IUnknown** result) noexcept override;

private:
    friend class CollectionEnumerator;

    struct Entry {
        automation::Variant value;
        automation::Text key;  // lower case; "" without one
    };
    // An index as a client gave it, understood without looking at the items.
    struct Index;

    ~Collection() override = default;
    void terminate() noexcept override;

    // The entry that an index means, or its position in items_. Throws 5 or 9.
    const std::shared_ptr<Entry>& entry(const Index& index) const;
    std::size_t position(const Index& index) const;
    void insert(std::size_t at, automation::Variant item, automation::Text key);

    // Entries are shared with those who copy a value just now.
    std::vector<std::shared_ptr<Entry>> items_;
    std::unordered_map<automation::TextView, std::shared_ptr<Entry>> keys_;  // the entries' own
    std::vector<CollectionEnumerator*> walks_;  // under way; each holds the collection
};

}  // namespace kel::core
