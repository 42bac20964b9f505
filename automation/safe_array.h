// Owner of one automation array.
#pragma once

#include <span>
#include <utility>

#include "automation/error.h"

namespace kel::automation {

// Holds one SAFEARRAY or none. Same verbs as ComPtr.
class SafeArray {
public:
    SafeArray() noexcept = default;
    SafeArray(const SafeArray&) = delete;
    SafeArray(SafeArray&& other) noexcept : array_(std::exchange(other.array_, nullptr)) {}
    SafeArray& operator=(const SafeArray&) = delete;
    SafeArray& operator=(SafeArray&& other) noexcept {
        std::swap(array_, other.array_);
        return *this;
    }
    ~SafeArray() { SafeArrayDestroy(array_); }

    // A one-dimensional array of texts with lower bound 0.
    static SafeArray OfTexts(std::span<const TextView> texts) {
        SafeArray result;
        result.array_ = SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(texts.size()));
        if (result.array_ == nullptr) {
            throw std::bad_alloc();
        }
        LONG index = 0;
        for (const TextView text : texts) {
            const Bstr copy(text);
            Check(SafeArrayPutElement(result.array_, &index, copy.get()));
            ++index;
        }
        return result;
    }

    SAFEARRAY* get() const noexcept { return array_; }
    SAFEARRAY* detach() noexcept { return std::exchange(array_, nullptr); }

private:
    SAFEARRAY* array_ = nullptr;
};

}  // namespace kel::automation
