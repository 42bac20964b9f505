// The ordered, keyed collection behind every registry and list of the component: callbacks,
// engines, record states, file variables, common values. Not an automation object.
#pragma once

#include <windows.h>

#include "automation/variant.h"

namespace kel::core {

using automation::Bstr;
using automation::Text;
using automation::TextView;
using automation::Variant;

// Keeps items in order, by an index from 1 and, for items added with a key, through a hash table of
// 2048 chains. All memory but the values' own comes from one private heap, so that clearing or
// destroying is one step however many items there are.
//
// Errors are automation errors with the source "kelSDK.FastCollection." and the member's label.
// A member that fails leaves the collection unchanged.
//
// Letting go of a value may run foreign code that uses this very collection; members therefore
// finish their own work first and release values last.
//
// One thread.
class FastCollection {
public:
    // Sizes in bytes as they are counted on a 32-bit machine, whatever the width: 4 bytes for an
    // entry of the index. 4000 is room for 1000 items.
    static constexpr long kInitialCapacity = 4000;

    // Throws 7 ("Initialize") without memory for the heap or its first blocks.
    FastCollection();
    FastCollection(const FastCollection&) = delete;
    FastCollection& operator=(const FastCollection&) = delete;
    ~FastCollection();

    // Inserts a copy of the item (by-reference values are copied through). With neither position
    // the item goes last. `before`: index 1..Count or key of the item it goes in front of; `after`:
    // index 0..Count-1 or key of the item it follows (appending is giving no position); `before`
    // wins over `after`. An empty key is no key.
    //   throws  5 for an invalid position, 7 without memory, 457 when the key is there already
    void Add(const VARIANT& item,
             TextView key = {},
             const VARIANT* before = nullptr,
             const VARIANT* after = nullptr);

    // Drops everything and starts afresh, at the initial capacity and increment; the compare mode
    // stays. Throws 7, and then nothing is dropped.
    void Clear();

    // 0 binary (the default), 1 text: keys are stored and compared in lower case. Throws 387 while
    // there are items.
    long CompareMode() const noexcept { return compareMode_; }
    void SetCompareMode(long mode);

    long Count() const noexcept { return storage_.count; }

    // Step by which the index grows and shrinks. Setting n stores n/16, at least 4; getting does
    // not multiply back.
    long Increment() const noexcept { return storage_.increment; }
    void SetIncrement(long bytes) noexcept;

    // Size of the index in counted bytes.
    long ItemsCapacity() const noexcept { return storage_.capacity; }

    // False forbids LetItem and SetItem (383). Clear allows them again.
    void SetItemsWritable(bool writable) noexcept { storage_.writable = writable; }

    // Index of the keyed item, or -1.
    long IndexFromKey(TextView key) const;

    // A copy of the item at an index (integer, single, double or byte) or under a key (text).
    //   throws  381 when there is none, 5 for another kind of index
    Variant Item(const VARIANT& index) const;
    // The same, lent until the collection changes.
    const VARIANT& Item(TextView key) const;
    Variant ItemByIndex(long index) const;
    const VARIANT& ItemByKey(TextView key) const;  // lent

    // Replaces a value. An unknown key changes nothing and is no error.
    //   throws  383 when not writable, 381, 5
    void LetItem(const VARIANT& index, const VARIANT& value);
    void SetItem(const VARIANT& index, IDispatch* object);

    bool KeyExists(TextView key) const;

    // Gives the item of `oldKey` another key; an unknown old key is no error. Throws 457.
    void ChangeKey(TextView oldKey, TextView newKey);

    // The key of an item, "" without one; in text mode its lower-case form. Throws 381.
    Bstr Key(long index) const;
    // An empty key is a key like any other here, and the item is found under it. Throws 381,
    // 457, 7.
    void SetKey(long index, TextView key);

    // An array of the keys in index order; items without a key are left out. Lower bound 0.
    Variant Keys() const;

    // Walks the items as they are at each step: what is added behind the walk is visited, and a
    // loop may remove the item it was just given without missing the next one (one removal between
    // two steps is made up for). The enumerator lives on this collection's heap and holds no
    // reference to it: it must not be touched once the collection is cleared or gone. Throws 7.
    automation::ComPtr<IEnumVARIANT> NewEnum() const;

    // Throws 5 for an unknown key or another kind of index, 381 for an index out of range.
    void Remove(const VARIANT& index);
    void RemoveByKey(TextView key);
    void RemoveByIndex(long index);

private:
    struct ItemRecord;
    struct KeyNode;
    class Enumerator;

    // Everything that lives and dies together.
    struct Storage {
        HANDLE heap = nullptr;
        ItemRecord** items = nullptr;  // index 1 stands at items[0]
        KeyNode** buckets = nullptr;   // heads of the hash chains
        long count = 0;
        long capacity = kInitialCapacity;  // counted bytes, see kInitialCapacity
        long increment = kInitialCapacity;
        long lastRemoved = 0;  // index of the item removed last, for the enumerators
        bool writable = true;
        // The record found by key last: forms ask for the same names again and again.
        mutable ItemRecord* lastFound = nullptr;
    };

    static Storage CreateStorage();
    static void ReleaseAll(Storage storage) noexcept;

    // The record under a key, or null.
    ItemRecord* FindKey(TextView key) const;
    // Enters a record under a key that is not there yet; throws std::bad_alloc.
    void LinkKey(TextView key, ItemRecord& record);
    // Takes a stored key out of its chain and frees it. Null and unknown keys change nothing.
    void UnlinkKey(BSTR storedKey) noexcept;
    BSTR CopyKeyText(TextView key) const;
    void FreeKeyText(BSTR key) const noexcept;
    KeyNode** BucketOf(BSTR key) const noexcept;
    bool SameKey(BSTR stored, BSTR key) const noexcept;

    long InsertPosition(const VARIANT* before, const VARIANT* after) const;
    ItemRecord& RecordAt(long index, const wchar_t* label) const;
    void Replace(const VARIANT& index, Variant value, const wchar_t* label);
    void* Allocate(SIZE_T bytes) const;
    void Free(void* block) const noexcept;
    bool ResizeItems(long capacity) noexcept;

    Storage storage_;
    long compareMode_ = 0;
    ULONG compareFlags_ = 0;
};

}  // namespace kel::core
