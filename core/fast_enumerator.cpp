// The enumerator of the keyed collection.
#include <new>

#include "automation/error.h"
#include "core/fast_collection_records.h"

namespace kel::core {

// Lies on the collection's heap and goes with it at the latest. It reads the live index, so what it
// knows of the collection is only where it stands and how many items there were.
class FastCollection::Enumerator final : public IEnumVARIANT {
public:
    explicit Enumerator(const Storage& storage) noexcept
        : heap_(storage.heap), items_(&storage.items), known_(storage.count), state_(&storage) {
        static_assert(sizeof(void*) != 4 || sizeof(Enumerator) == 28);
    }
    Enumerator(const Enumerator&) = delete;
    Enumerator& operator=(const Enumerator&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        if (object == nullptr) {
            return E_POINTER;
        }
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IEnumVARIANT);
        *object = known ? static_cast<IEnumVARIANT*>(this) : nullptr;
        if (!known) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() noexcept override {
        const ULONG left = --references_;
        if (left == 0) {
            HeapFree(heap_, 0, this);
        }
        return left;
    }

    // At most one item a call, whatever is asked for.
    STDMETHODIMP Next(ULONG, VARIANT* items, ULONG* fetched) noexcept override {
        if (items == nullptr) {
            return E_POINTER;
        }
        const long bound = state_->count;
        if (known_ > bound && state_->lastRemoved < current_) {
            --current_;
        }
        known_ = bound;
        const bool isOver = current_ > bound || current_ < 1;
        if (fetched != nullptr) {
            *fetched = 0;
        }
        if (isOver) {
            return S_FALSE;
        }
        VariantInit(items);
        const HRESULT code = VariantCopy(items, &(*items_)[current_ - 1]->Value);
        if (FAILED(code)) {
            return code;
        }
        ++current_;
        if (fetched != nullptr) {
            *fetched = 1;
        }
        return S_OK;
    }
    // Not checked against the end; the next step is.
    STDMETHODIMP Skip(ULONG count) noexcept override {
        current_ = static_cast<long>(static_cast<ULONG>(current_) + count);
        return S_OK;
    }
    STDMETHODIMP Reset() noexcept override {
        current_ = 1;
        return S_OK;
    }
    STDMETHODIMP Clone(IEnumVARIANT** clone) noexcept override {
        if (clone != nullptr) {
            *clone = nullptr;
        }
        return E_NOTIMPL;
    }

private:
    // Never run: the record is given back to the heap as it is.
    ~Enumerator() = default;

    ULONG references_ = 1;
    const HANDLE heap_;
    ItemRecord** const* const items_;
    long current_ = 1;
    long known_;
    const Storage* const state_;
};

automation::ComPtr<IEnumVARIANT> FastCollection::NewEnum() const {
    void* const block = HeapAlloc(storage_.heap, HEAP_ZERO_MEMORY, sizeof(Enumerator));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return automation::ComPtr<IEnumVARIANT>::Adopt(new (block) Enumerator(storage_));
}

}  // namespace kel::core
