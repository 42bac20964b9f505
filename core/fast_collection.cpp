// The keyed collection: an index, a hash table and their private heap.
#include "core/fast_collection.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "automation/safe_array.h"
#include "core/fast_collection_records.h"

namespace kel::core {

using automation::Error;

namespace {

constexpr long kBucketCount = 2048;
constexpr long kEntryBytes = 4;  // of the index, as counted
constexpr SIZE_T kPointerBytes = sizeof(void*);
constexpr SIZE_T kWidth = kPointerBytes / kEntryBytes;
constexpr SIZE_T kKeyLengthBytes = sizeof(DWORD);
constexpr SIZE_T kKeyOverhead = kKeyLengthBytes + sizeof(wchar_t);
constexpr long kTextCompare = 1;
constexpr const wchar_t* kGetItem = L"Item (Get)";

[[noreturn]] void Fail(long number, const wchar_t* label, TextView description = {}) {
    throw Error(number, Text(L"kelSDK.FastCollection.") + label, description);
}

// The kinds of variant that count as an index.
bool IsIndexNumber(const VARIANT& index) noexcept {
    switch (V_VT(&index) & ~VT_BYREF) {
        case VT_I2:
        case VT_I4:
        case VT_R4:
        case VT_R8:
        case VT_UI1:
            return true;
        default:
            return false;
    }
}

// A numeric index as a 32-bit integer, rounded by the platform. What does not fit is no index.
long IndexNumber(const VARIANT& index) {
    Variant converted;
    const HRESULT code = VariantChangeType(converted.put(), const_cast<VARIANT*>(&index), 0, VT_I4);
    return SUCCEEDED(code) ? V_I4(&converted.get()) : -1;
}

// What an argument refers to, without copying texts or objects.
const VARIANT& Target(const VARIANT& argument) noexcept {
    return V_VT(&argument) == (VT_BYREF | VT_VARIANT) ? *V_VARIANTREF(&argument) : argument;
}

bool IsText(const VARIANT& index) noexcept {
    const VARTYPE kind = V_VT(&index);
    return kind == VT_BSTR || kind == (VT_BYREF | VT_BSTR);
}

TextView TextOf(const VARIANT& index) noexcept {
    return automation::View((V_VT(&index) & VT_BYREF) != 0 ? *V_BSTRREF(&index) : V_BSTR(&index));
}

bool IsGiven(const VARIANT* argument) noexcept {
    return !automation::IsMissing(argument);
}

// A key with the layout of an automation string, as the platform's routines want it; short ones,
// the rule, without any allocation.
class KeyText {
public:
    explicit KeyText(TextView key) {
        if (key.size() < kShort) {
            length_ = static_cast<DWORD>(key.size() * sizeof(wchar_t));
            *std::copy(key.begin(), key.end(), short_) = L'\0';
        } else {
            long_ = Bstr(key);
        }
    }
    BSTR get() noexcept { return long_.get() != nullptr ? long_.get() : short_; }

private:
    static constexpr std::size_t kShort = 64;

    // The length stands directly in front of the characters.
    DWORD length_ = 0;
    wchar_t short_[kShort];
    Bstr long_;
};

// Whether a key is made of ASCII letters, digits and blanks only: two such keys are the same to
// every locale when they are the same to the byte. The locale's comparison takes hundreds of
// nanoseconds, and in long chains most keys differ.
bool IsPlain(BSTR key) noexcept {
    const TextView text = automation::View(key);
    return std::all_of(text.begin(), text.end(), [](wchar_t unit) {
        return unit == L' ' || (unit >= L'0' && unit <= L'9') || (unit >= L'A' && unit <= L'Z') ||
               (unit >= L'a' && unit <= L'z');
    });
}

}  // namespace

FastCollection::FastCollection() : storage_(CreateStorage()) {}

FastCollection::~FastCollection() {
    ReleaseAll(storage_);
}

FastCollection::Storage FastCollection::CreateStorage() {
    static_assert(sizeof(void*) != 4 || (sizeof(ItemRecord) == 20 && sizeof(KeyNode) == 12));
    Storage storage;
    storage.heap = HeapCreate(0, 0, 0);
    if (storage.heap != nullptr) {
        storage.items = static_cast<ItemRecord**>(
            HeapAlloc(storage.heap, 0, static_cast<SIZE_T>(kInitialCapacity) * kWidth));
        storage.buckets = static_cast<KeyNode**>(
            HeapAlloc(storage.heap, HEAP_ZERO_MEMORY, kBucketCount * kPointerBytes));
    }
    if (storage.items == nullptr || storage.buckets == nullptr) {
        if (storage.heap != nullptr) {
            HeapDestroy(storage.heap);
        }
        Fail(automation::kOutOfMemory, L"Initialize");
    }
    return storage;
}

void FastCollection::ReleaseAll(Storage storage) noexcept {
    for (long i = 0; i < storage.count; ++i) {
        VariantClear(&storage.items[i]->Value);
    }
    HeapDestroy(storage.heap);
}

void FastCollection::Add(const VARIANT& item,
                         TextView key,
                         const VARIANT* before,
                         const VARIANT* after) {
    constexpr const wchar_t* kLabel = L"Add";
    // Copied first: taking an object's reference may fail or run its code.
    Variant value = Variant::Through(item);
    if (storage_.capacity < (storage_.count + 1) * kEntryBytes &&
        !ResizeItems(storage_.capacity + storage_.increment)) {
        Fail(automation::kOutOfMemory, kLabel);
    }
    const long position = InsertPosition(before, after);
    if (!key.empty() && FindKey(key) != nullptr) {
        Fail(automation::kKeyExists, kLabel);
    }
    ItemRecord* record = nullptr;
    try {
        record = static_cast<ItemRecord*>(Allocate(sizeof(ItemRecord)));
        if (!key.empty()) {
            LinkKey(key, *record);
        }
    } catch (const std::bad_alloc&) {
        Free(record);
        Fail(automation::kOutOfMemory, kLabel);
    }
    record->Value = value.detach();
    ItemRecord** const slot = storage_.items + (position - 1);
    std::memmove(
        slot + 1, slot, static_cast<SIZE_T>(storage_.count - (position - 1)) * kPointerBytes);
    *slot = record;
    ++storage_.count;
}

// The index that a new item takes.
long FastCollection::InsertPosition(const VARIANT* before, const VARIANT* after) const {
    const bool isBefore = IsGiven(before);
    if (!isBefore && !IsGiven(after)) {
        return storage_.count + 1;
    }
    const VARIANT& place = Target(isBefore ? *before : *after);
    const bool isText = IsText(place);
    if (!isText && !IsIndexNumber(place)) {
        Fail(automation::kInvalidCall, L"Add");
    }
    const long index = isText ? IndexFromKey(TextOf(place)) : IndexNumber(place);
    const long first = isBefore || isText ? 1 : 0;
    const long last = isBefore || isText ? storage_.count : storage_.count - 1;
    if (index < first || index > last) {
        Fail(automation::kInvalidCall, L"Add");
    }
    return isBefore ? index : index + 1;
}

void FastCollection::Clear() {
    Storage fresh = CreateStorage();
    std::swap(storage_, fresh);
    ReleaseAll(fresh);
}

void FastCollection::SetCompareMode(long mode) {
    if (storage_.count != 0) {
        Fail(automation::kSetNotPermitted,
             L"CompareMode (Let)",
             L"Cannot change CompareMode. The collection contains items.");
    }
    compareMode_ = mode;
    compareFlags_ = mode == kTextCompare ? NORM_IGNORECASE : 0;
}

void FastCollection::SetIncrement(long bytes) noexcept {
    constexpr long kDivisor = 16;
    constexpr long kSmallest = 4;
    storage_.increment = std::max(bytes / kDivisor, kSmallest);
}

long FastCollection::IndexFromKey(TextView key) const {
    const ItemRecord* record = FindKey(key);
    for (long i = 0; record != nullptr && i < storage_.count; ++i) {
        if (storage_.items[i] == record) {
            return i + 1;
        }
    }
    return -1;
}

FastCollection::ItemRecord& FastCollection::RecordAt(long index, const wchar_t* label) const {
    if (index < 1 || index > storage_.count) {
        Fail(automation::kInvalidArrayIndex, label);
    }
    return *storage_.items[index - 1];
}

Variant FastCollection::Item(const VARIANT& index) const {
    const VARIANT& target = Target(index);
    if (IsIndexNumber(target)) {
        return Variant(RecordAt(IndexNumber(target), kGetItem).Value);
    }
    if (!IsText(target)) {
        Fail(automation::kInvalidCall, kGetItem);
    }
    return Variant(Item(TextOf(target)));
}

const VARIANT& FastCollection::Item(TextView key) const {
    const ItemRecord* record = FindKey(key);
    if (record == nullptr) {
        Fail(automation::kInvalidArrayIndex,
             kGetItem,
             Text(L"Invalid property array index '").append(key).append(L"'"));
    }
    return record->Value;
}

Variant FastCollection::ItemByIndex(long index) const {
    return Variant(RecordAt(index, L"ItemByIndex").Value);
}

const VARIANT& FastCollection::ItemByKey(TextView key) const {
    const ItemRecord* record = FindKey(key);
    if (record == nullptr) {
        Fail(automation::kInvalidArrayIndex, L"ItemByKey");
    }
    return record->Value;
}

void FastCollection::LetItem(const VARIANT& index, const VARIANT& value) {
    Replace(index, Variant::Through(value), L"Item (Let)");
}

void FastCollection::SetItem(const VARIANT& index, IDispatch* object) {
    Replace(index, Variant(object), L"Item (Set)");
}

void FastCollection::Replace(const VARIANT& index, Variant value, const wchar_t* label) {
    if (!storage_.writable) {
        Fail(automation::kSetReadOnly, label);
    }
    const VARIANT& target = Target(index);
    ItemRecord* record = nullptr;
    if (IsIndexNumber(target)) {
        record = &RecordAt(IndexNumber(target), label);
    } else if (IsText(target)) {
        record = FindKey(TextOf(target));
    } else {
        Fail(automation::kInvalidCall, label);
    }
    if (record != nullptr) {
        std::swap(record->Value, *value.inOut());  // the old value goes with `value`
    }
}

bool FastCollection::KeyExists(TextView key) const {
    return FindKey(key) != nullptr;
}

void FastCollection::ChangeKey(TextView oldKey, TextView newKey) {
    const long index = IndexFromKey(oldKey);
    if (index > 0) {
        SetKey(index, newKey);
    }
}

Bstr FastCollection::Key(long index) const {
    return Bstr(automation::View(RecordAt(index, L"Key (Get)").Key));
}

void FastCollection::SetKey(long index, TextView key) {
    constexpr const wchar_t* kLabel = L"Key (LET)";
    ItemRecord& record = RecordAt(index, kLabel);
    if (FindKey(key) != nullptr) {
        Fail(automation::kKeyExists, kLabel);
    }
    const BSTR former = record.Key;
    try {
        LinkKey(key, record);  // which writes the record's key last
    } catch (const std::bad_alloc&) {
        Fail(automation::kOutOfMemory, kLabel);
    }
    UnlinkKey(former);
}

Variant FastCollection::Keys() const {
    std::vector<TextView> keys;
    for (long i = 0; i < storage_.count; ++i) {
        if (storage_.items[i]->Key != nullptr) {
            keys.push_back(automation::View(storage_.items[i]->Key));
        }
    }
    Variant result;
    V_ARRAY(result.inOut()) = automation::SafeArray::OfTexts(keys).detach();
    V_VT(result.inOut()) = VT_ARRAY | VT_BSTR;
    return result;
}

void FastCollection::Remove(const VARIANT& index) {
    const VARIANT& target = Target(index);
    if (IsIndexNumber(target)) {
        RemoveByIndex(IndexNumber(target));
    } else if (IsText(target)) {
        RemoveByKey(TextOf(target));
    } else {
        Fail(automation::kInvalidCall, L"RemoveByKey");
    }
}

void FastCollection::RemoveByKey(TextView key) {
    const long index = IndexFromKey(key);
    if (index < 0) {
        Fail(automation::kInvalidCall, L"RemoveByKey");
    }
    RemoveByIndex(index);
}

void FastCollection::RemoveByIndex(long index) {
    ItemRecord& record = RecordAt(index, L"RemoveByIndex");
    Variant value;
    std::swap(*value.inOut(), record.Value);
    UnlinkKey(record.Key);
    Free(&record);
    ItemRecord** const slot = storage_.items + (index - 1);
    std::memmove(slot, slot + 1, static_cast<SIZE_T>(storage_.count - index) * kPointerBytes);
    --storage_.count;
    storage_.lastRemoved = index;
    // Half a step of slack keeps a collection that hovers at a boundary from resizing every time.
    constexpr double kSlackSteps = 1.5;
    if (storage_.capacity - kSlackSteps * storage_.increment >
        static_cast<double>(storage_.count) * kEntryBytes) {
        ResizeItems(storage_.capacity - storage_.increment);  // failing to shrink does no harm
    }
}

FastCollection::ItemRecord* FastCollection::FindKey(TextView key) const {
    ItemRecord*& last = storage_.lastFound;
    if (last != nullptr && automation::View(last->Key) == key) {
        return last;
    }
    KeyText wanted(compareMode_ == kTextCompare ? TextView(automation::Lower(key)) : key);
    for (const KeyNode* node = *BucketOf(wanted.get()); node != nullptr; node = node->Next) {
        if (SameKey(node->Key, wanted.get())) {
            return last = node->Item;
        }
    }
    return nullptr;
}

void FastCollection::LinkKey(TextView key, ItemRecord& record) {
    auto* const node = static_cast<KeyNode*>(Allocate(sizeof(KeyNode)));
    try {
        node->Key = CopyKeyText(compareMode_ == kTextCompare ? automation::Lower(key) : Text(key));
    } catch (const std::bad_alloc&) {
        Free(node);
        throw;
    }
    node->Item = &record;
    record.Key = node->Key;
    KeyNode** link = BucketOf(node->Key);
    while (*link != nullptr) {
        link = &(*link)->Next;
    }
    *link = node;
}

void FastCollection::UnlinkKey(BSTR storedKey) noexcept {
    if (storedKey == nullptr) {
        return;
    }
    storage_.lastFound = nullptr;
    for (KeyNode** link = BucketOf(storedKey); *link != nullptr; link = &(*link)->Next) {
        KeyNode* const node = *link;
        if (node->Key == storedKey || SameKey(node->Key, storedKey)) {
            *link = node->Next;
            FreeKeyText(node->Key);
            Free(node);
            return;
        }
    }
}

// A private copy laid out like an automation string: its length in bytes, the characters, a zero;
// the pointer stands behind the length, so that any routine for automation strings takes it.
BSTR FastCollection::CopyKeyText(TextView key) const {
    const SIZE_T bytes = key.size() * sizeof(wchar_t);
    auto* const block = static_cast<char*>(Allocate(bytes + kKeyOverhead));
    const auto length = static_cast<DWORD>(bytes);
    std::memcpy(block, &length, kKeyLengthBytes);
    std::memcpy(block + kKeyLengthBytes, key.data(), bytes);
    return reinterpret_cast<BSTR>(block + kKeyLengthBytes);
}

void FastCollection::FreeKeyText(BSTR key) const noexcept {
    Free(reinterpret_cast<char*>(key) - kKeyLengthBytes);
}

FastCollection::KeyNode** FastCollection::BucketOf(BSTR key) const noexcept {
    const auto hash = static_cast<long>(LHashValOfNameSys(SYS_WIN16, 0, key));
    // The platform's hash is never negative; the mask keeps a foreign one inside the table.
    return storage_.buckets + ((hash % kBucketCount) & (kBucketCount - 1));
}

bool FastCollection::SameKey(BSTR stored, BSTR key) const noexcept {
    const UINT bytes = SysStringByteLen(stored);
    if (bytes != SysStringByteLen(key)) {
        return false;
    }
    return bytes == 0 || std::memcmp(stored, key, bytes) == 0 ||
           (!(IsPlain(stored) && IsPlain(key)) &&
            VarBstrCmp(stored, key, LOCALE_USER_DEFAULT, compareFlags_) == VARCMP_EQ);
}

void* FastCollection::Allocate(SIZE_T bytes) const {
    void* const block = HeapAlloc(storage_.heap, HEAP_ZERO_MEMORY, bytes);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void FastCollection::Free(void* block) const noexcept {
    if (block != nullptr) {
        HeapFree(storage_.heap, 0, block);
    }
}

bool FastCollection::ResizeItems(long capacity) noexcept {
    void* const block =
        HeapReAlloc(storage_.heap, 0, storage_.items, static_cast<SIZE_T>(capacity) * kWidth);
    if (block == nullptr) {
        return false;
    }
    storage_.items = static_cast<ItemRecord**>(block);
    storage_.capacity = capacity;
    return true;
}

}  // namespace kel::core
