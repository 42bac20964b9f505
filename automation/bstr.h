// Owner of one automation string.
#pragma once

#include <new>
#include <utility>

#include "automation/text.h"

namespace kel::automation {

// Holds one BSTR or null (an empty text). Same verbs as ComPtr.
class Bstr {
public:
    Bstr() noexcept = default;
    // Copies the text; std::bad_alloc when there is no memory.
    explicit Bstr(TextView text) : text_(Allocate(text)) {}
    Bstr(const Bstr&) = delete;
    Bstr(Bstr&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
    ~Bstr() { reset(); }

    Bstr& operator=(const Bstr&) = delete;
    Bstr& operator=(Bstr&& other) noexcept {
        std::swap(text_, other.text_);
        return *this;
    }

    // Takes over a string that the caller owns.
    static Bstr Adopt(BSTR owned) noexcept {
        Bstr result;
        result.text_ = owned;
        return result;
    }

    BSTR get() const noexcept { return text_; }
    TextView view() const noexcept { return View(text_); }
    BSTR* put() noexcept {
        reset();
        return &text_;
    }
    // The address of a string that a callee may replace (in and out).
    BSTR* inOut() noexcept { return &text_; }
    BSTR detach() noexcept { return std::exchange(text_, nullptr); }
    void reset() noexcept {
        if (text_ != nullptr) {
            SysFreeString(std::exchange(text_, nullptr));
        }
    }

private:
    static BSTR Allocate(TextView text) {
        if (text.empty()) {
            return nullptr;
        }
        BSTR copy = text.size() > kMaxUnits
                        ? nullptr
                        : SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
        if (copy == nullptr) {
            throw std::bad_alloc();
        }
        return copy;
    }

    // The length prefix counts bytes in 32 bits and callers read it as signed.
    static constexpr std::size_t kMaxUnits = 0x3FFFFFF0;

    BSTR text_ = nullptr;
};

}  // namespace kel::automation
