// The automation collection: items in order, some with a key.
#include "core/collection.h"

#include <algorithm>
#include <optional>

#include "automation/plain_object.h"

namespace kel::core {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

// Where a walk stands. The collection tells it of every change, so that it neither misses an item
// nor gives one twice.
class CollectionEnumerator final : public PlainObject<IEnumVARIANT> {
public:
    explicit CollectionEnumerator(Collection& collection, std::size_t next = 0)
        : collection_(&collection), next_(next) {
        collection_->walks_.push_back(this);
    }

    void inserted(std::size_t at) noexcept { next_ += at < next_ ? 1 : 0; }
    void removed(std::size_t at) noexcept { next_ -= at < next_ ? 1 : 0; }

    STDMETHODIMP Next(ULONG wanted, VARIANT* items, ULONG* fetched) noexcept override {
        if (fetched != nullptr) {
            *fetched = 0;
        }
        if (items == nullptr) {
            return E_POINTER;
        }
        ULONG given = 0;
        const HRESULT code = ComMethod([&] {
            for (; given < wanted && next_ < collection_->items_.size(); ++given) {
                const auto entry = collection_->items_[next_++];
                items[given] = Variant(entry->value).detach();
            }
        });
        if (fetched != nullptr) {
            *fetched = given;
        }
        return FAILED(code) ? code : (given == wanted ? S_OK : S_FALSE);
    }
    STDMETHODIMP Skip(ULONG count) noexcept override {
        const std::size_t left = collection_->items_.size() - next_;
        next_ += std::min<std::size_t>(count, left);
        return count <= left ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() noexcept override {
        next_ = 0;
        return S_OK;
    }
    STDMETHODIMP Clone(IEnumVARIANT** clone) noexcept override {
        return ComMethod([&] {
            Out result{clone};
            result = ComPtr<IEnumVARIANT>::Adopt(new CollectionEnumerator(*collection_, next_));
        });
    }

private:
    ~CollectionEnumerator() override { std::erase(collection_->walks_, this); }

    const ComPtr<Collection> collection_;
    std::size_t next_;  // position of the item to be given next, at most the number of items
};

namespace {

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

// Whatever the languages of clients count in.
bool IsNumber(const VARIANT& value) noexcept {
    switch (V_VT(&value)) {
        case VT_I1:
        case VT_UI1:
        case VT_I2:
        case VT_UI2:
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_I8:
        case VT_UI8:
        case VT_R4:
        case VT_R8:
        case VT_CY:
        case VT_BOOL:
        case VT_DECIMAL:
            return true;
        default:
            return false;
    }
}

}  // namespace

struct Collection::Index {
    // Throws 13 for what is neither a number nor a text.
    explicit Index(const VARIANT& given) {
        Variant target = Variant::Through(given);
        if (V_VT(&target.get()) == VT_BSTR) {
            key = Lower(View(V_BSTR(&target.get())));
        } else if (!IsNumber(target.get())) {
            throw Error(kTypeMismatch);
        } else if (SUCCEEDED(VariantChangeType(target.inOut(), target.inOut(), 0, VT_I4))) {
            number = V_I4(&target.get());
        }
    }

    std::optional<Text> key;
    long number = 0;  // from 1; 0 for one that no collection has
};

void Collection::terminate() noexcept {
    // What the items add while they go leaves in a further round; not without end.
    constexpr int kRounds = 4;
    for (int round = 0; round < kRounds && !items_.empty(); ++round) {
        keys_.clear();
        const auto leaving = std::exchange(items_, {});
    }
}

Variant Collection::at(long index) const {
    if (index < 1 || index > count()) {
        throw Error(kSubscriptOutOfRange);
    }
    const auto entry = items_[static_cast<std::size_t>(index - 1)];
    return Variant(entry->value);
}

const Variant* Collection::find(TextView key) const {
    const auto found = keys_.find(Lower(key));
    return found != keys_.end() ? &found->second->value : nullptr;
}

void Collection::add(Variant item, TextView key) {
    insert(items_.size(), std::move(item), Lower(key));
}

void Collection::insert(std::size_t at, Variant item, Text key) {
    if (keys_.find(key) != keys_.end()) {
        throw Error(kKeyExists);
    }
    const auto made = std::make_shared<Entry>(Entry{std::move(item), std::move(key)});
    // All that may fail comes before the first change.
    if (items_.size() == items_.capacity()) {
        constexpr std::size_t kFirst = 8;
        items_.reserve(std::max(kFirst, 2 * items_.size()));
    }
    if (!made->key.empty()) {
        keys_.emplace(made->key, made);
    }
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(at), made);
    for (CollectionEnumerator* walk : walks_) {
        walk->inserted(at);
    }
}

const std::shared_ptr<Collection::Entry>& Collection::entry(const Index& index) const {
    if (index.key) {
        const auto found = keys_.find(*index.key);
        if (found == keys_.end()) {
            throw Error(kInvalidCall);
        }
        return found->second;
    }
    if (index.number < 1 || index.number > count()) {
        throw Error(kSubscriptOutOfRange);
    }
    return items_[static_cast<std::size_t>(index.number - 1)];
}

std::size_t Collection::position(const Index& index) const {
    const auto found = std::find(items_.begin(), items_.end(), entry(index));
    return static_cast<std::size_t>(found - items_.begin());
}

STDMETHODIMP Collection::Add(VARIANT item, VARIANT key, VARIANT before, VARIANT after) noexcept {
    return ComMethod([&] {
        const bool isBefore = !IsMissing(&before);
        const bool isAfter = !IsMissing(&after);
        if (isBefore && isAfter) {
            throw Error(kInvalidCall);
        }
        Variant value = Variant::Through(item);
        Text name = KeyOf(key);
        std::size_t at = items_.size();
        if (isBefore || isAfter) {
            const Index place(isBefore ? before : after);
            at = position(place) + (isAfter ? 1 : 0);
        }
        insert(at, std::move(value), std::move(name));
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
        const auto held = entry(Index(index));
        out = Variant(held->value);
    });
}

STDMETHODIMP Collection::Remove(VARIANT index) noexcept {
    return ComMethod([&] {
        const std::size_t at = position(Index(index));
        const auto place = items_.begin() + static_cast<std::ptrdiff_t>(at);
        const auto leaving = std::move(*place);  // released when all is whole again
        items_.erase(place);
        keys_.erase(leaving->key);
        for (CollectionEnumerator* walk : walks_) {
            walk->removed(at);
        }
    });
}

STDMETHODIMP Collection::get__NewEnum(IUnknown** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = ComPtr<IEnumVARIANT>::Adopt(new CollectionEnumerator(*this));
    });
}

}  // namespace kel::core
