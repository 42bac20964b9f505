// Owner of one reference to a COM object.
#pragma once

#include <unknwn.h>

#include <utility>

namespace kel::automation {

// Holds one reference or none. `get` lends, `put` empties and gives the address for an out
// parameter, `detach` hands the reference over, `reset` releases and optionally shares another.
template <typename T>
class ComPtr {
public:
    ComPtr() noexcept = default;
    ComPtr(std::nullptr_t) noexcept {}
    explicit ComPtr(T* shared) noexcept : pointer_(shared) {
        if (pointer_ != nullptr) {
            pointer_->AddRef();
        }
    }
    ComPtr(const ComPtr& other) noexcept : ComPtr(other.pointer_) {}
    ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    template <typename U>
    ComPtr(const ComPtr<U>& other) noexcept : ComPtr(static_cast<T*>(other.get())) {}
    template <typename U>
    ComPtr(ComPtr<U>&& other) noexcept : pointer_(other.detach()) {}
    ~ComPtr() { release(); }

    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }

    // Takes over a reference that the caller owns.
    static ComPtr Adopt(T* owned) noexcept {
        ComPtr result;
        result.pointer_ = owned;
        return result;
    }

    T* get() const noexcept { return pointer_; }
    T* operator->() const noexcept { return pointer_; }
    T& operator*() const noexcept { return *pointer_; }
    explicit operator bool() const noexcept { return pointer_ != nullptr; }

    T** put() noexcept {
        reset();
        return &pointer_;
    }
    // The address of a reference that a callee may replace (in and out).
    T** inOut() noexcept { return &pointer_; }
    T* detach() noexcept { return std::exchange(pointer_, nullptr); }
    void reset(T* shared = nullptr) noexcept { *this = ComPtr(shared); }

    // The same object through another interface; empty when it has none.
    template <typename U>
    ComPtr<U> as() const noexcept {
        ComPtr<U> result;
        if (pointer_ != nullptr &&
            FAILED(pointer_->QueryInterface(__uuidof(U), reinterpret_cast<void**>(result.put())))) {
            result.reset();
        }
        return result;
    }

private:
    void release() noexcept {
        if (T* last = std::exchange(pointer_, nullptr)) {
            last->Release();
        }
    }

    T* pointer_ = nullptr;
};

}  // namespace kel::automation
