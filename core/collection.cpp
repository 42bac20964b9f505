#include "core/collection.h"

#include <algorithm>

#include "automation/plain_object.h"
#include "core/fast_collection.h"

namespace kel::core {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

// Walks a collection by index, so that it sees what is there now.
class CollectionEnumerator final : public PlainObject<IEnumVARIANT> {
public:
    explicit CollectionEnumerator(Collection& collection, long next = 1)
        : collection_(&collection), next_(next) {}

    STDMETHODIMP Next(ULONG wanted, VARIANT* items, ULONG* fetched) noexcept override {
        if (fetched != nullptr) {
            *fetched = 0;
        }
        if (items == nullptr) {
            return E_POINTER;
        }
        ULONG given = 0;
        const HRESULT code = ComMethod([&] {
            for (; given < wanted && next_ <= collection_->count(); ++given, ++next_) {
                items[given] = Variant(collection_->at(next_)).detach();
            }
        });
        if (fetched != nullptr) {
            *fetched = given;
        }
        return FAILED(code) ? code : (given == wanted ? S_OK : S_FALSE);
    }
    STDMETHODIMP Skip(ULONG count) noexcept override {
        const long left = std::max(collection_->count() - next_ + 1, 0L);
        const bool enough = count <= static_cast<ULONG>(left);
        next_ += enough ? static_cast<long>(count) : left;
        return enough ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() noexcept override {
        next_ = 1;
        return S_OK;
    }
    STDMETHODIMP Clone(IEnumVARIANT** clone) noexcept override {
        return ComMethod([&] {
            Out result{clone};
            result = ComPtr<IEnumVARIANT>::Adopt(new CollectionEnumerator(*collection_, next_));
        });
    }

private:
    ~CollectionEnumerator() override = default;

    const ComPtr<Collection> collection_;
    long next_;
};

// A key argument: text, or nothing. Other kinds are refused, as everywhere.
Text KeyOf(const VARIANT& key) {
    if (IsMissing(&key) || V_VT(&key) == VT_EMPTY) {
        return {};
    }
    const Variant target = Variant::Through(key);
    if (V_VT(&target.get()) != VT_BSTR) {
        throw Error(kTypeMismatch);
    }
    return Lower(View(V_BSTR(&target.get())));
}

}  // namespace

const Variant& Collection::at(long index) const {
    if (index < 1 || index > count()) {
        throw Error(kSubscriptOutOfRange);
    }
    return items_[static_cast<std::size_t>(index - 1)]->value;
}

const Variant* Collection::find(TextView key) const {
    const Entry* found = keyed(Lower(key));
    return found != nullptr ? &found->value : nullptr;
}

Collection::Entry* Collection::keyed(TextView key) const {
    const auto found = keys_.find(key);
    return found != keys_.end() ? found->second : nullptr;
}

void Collection::add(Variant item, TextView key) {
    insert(count(), std::move(item), Lower(key));
}

void Collection::insert(std::ptrdiff_t at, Variant item, Text key) {
    if (keyed(key) != nullptr) {
        throw Error(kKeyExists);
    }
    auto made = std::make_unique<Entry>(Entry{std::move(item), std::move(key)});
    Entry& entry = *made;
    const auto place = items_.insert(items_.begin() + at, std::move(made));
    if (!entry.key.empty()) {
        try {
            keys_.emplace(entry.key, &entry);
        } catch (...) {
            items_.erase(place);
            throw;
        }
    }
}

std::ptrdiff_t Collection::position(const VARIANT& index) const {
    const auto found =
        std::find_if(items_.begin(), items_.end(), [wanted = &entry(index)](const auto& item) {
            return item.get() == wanted;
        });
    return found - items_.begin();
}

Collection::Entry& Collection::entry(const VARIANT& index) const {
    const Variant target = Variant::Through(index);
    if (V_VT(&target.get()) == VT_BSTR) {
        Entry* found = keyed(Lower(View(V_BSTR(&target.get()))));
        if (found == nullptr) {
            throw Error(kInvalidCall);
        }
        return *found;
    }
    if (!IsIndexNumber(target.get())) {
        throw Error(kTypeMismatch);
    }
    Variant number;
    if (FAILED(VariantChangeType(number.put(), const_cast<VARIANT*>(&target.get()), 0, VT_I4)) ||
        V_I4(&number.get()) < 1 || V_I4(&number.get()) > count()) {
        throw Error(kSubscriptOutOfRange);
    }
    return *items_[static_cast<std::size_t>(V_I4(&number.get()) - 1)];
}

STDMETHODIMP Collection::Add(VARIANT item, VARIANT key, VARIANT before, VARIANT after) noexcept {
    return ComMethod([&] {
        const bool isBefore = !IsMissing(&before);
        const bool isAfter = !IsMissing(&after);
        if (isBefore && isAfter) {
            throw Error(kInvalidCall);
        }
        std::ptrdiff_t at = count();
        if (isBefore) {
            at = position(before);
        } else if (isAfter) {
            at = position(after) + 1;
        }
        insert(at, Variant::Through(item), KeyOf(key));
    });
}

STDMETHODIMP Collection::get_Count(long* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = count();
    });
}

STDMETHODIMP Collection::get_Item(VARIANT index, VARIANT* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = Variant(entry(index).value);
    });
}

STDMETHODIMP Collection::Remove(VARIANT index) noexcept {
    return ComMethod([&] {
        const auto at = items_.begin() + position(index);
        const std::unique_ptr<Entry> leaving = std::move(*at);  // released when all is whole again
        items_.erase(at);
        keys_.erase(leaving->key);
    });
}

STDMETHODIMP Collection::get__NewEnum(IUnknown** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = ComPtr<IEnumVARIANT>::Adopt(new CollectionEnumerator(*this));
    });
}

}  // namespace kel::core
