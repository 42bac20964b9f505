// Enumerators over a snapshot of items: IEnumConnections and IEnumConnectionPoints.
#pragma once

#include <windows.h>

#include <ocidl.h>

#include <vector>

#include "automation/com_method.h"
#include "automation/plain_object.h"

namespace kel::automation {

// An enumerator of interface Enum over items of type Item (a plain structure or pointer).
//   Held     an owner of one item
//   Give     fills an Item for the caller from a Held, with a reference of its own
template <typename Enum, typename Item, typename Held, Item (*Give)(const Held&)>
class SnapshotEnumerator final : public PlainObject<Enum> {
public:
    explicit SnapshotEnumerator(std::vector<Held> items, std::size_t next = 0)
        : items_(std::move(items)), next_(next) {}

    STDMETHODIMP Next(ULONG wanted, Item* items, ULONG* fetched) noexcept override {
        if (items == nullptr || (fetched == nullptr && wanted != 1)) {
            return E_POINTER;
        }
        ULONG given = 0;
        while (given < wanted && next_ < items_.size()) {
            items[given++] = Give(items_[next_++]);
        }
        if (fetched != nullptr) {
            *fetched = given;
        }
        return given == wanted ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG count) noexcept override {
        const std::size_t left = items_.size() - next_;
        next_ += count < left ? count : left;
        return count <= left ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() noexcept override {
        next_ = 0;
        return S_OK;
    }
    STDMETHODIMP Clone(Enum** clone) noexcept override {
        return ComMethod([&] {
            Out result{clone};
            result = ComPtr<Enum>::Adopt(new SnapshotEnumerator(items_, next_));
        });
    }

private:
    ~SnapshotEnumerator() override = default;

    const std::vector<Held> items_;
    std::size_t next_;
};

}  // namespace kel::automation
