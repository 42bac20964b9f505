// An automation object that tells when it is released for the last time.
#pragma once

#include <functional>

#include "tests/support/mute_object.h"
#include "tests/support/values.h"

namespace kel::tests {

class Witness final : public MuteObject {
public:
    // Names of the objects gone, in the order of their going.
    class Log {
    public:
        void add(TextView name) { names_ += (names_.empty() ? L"" : L" ") + Text(name); }
        Text take() { return std::exchange(names_, {}); }

    private:
        Text names_;
    };

    static ComPtr<Witness> Make(TextView name, Log& log) {
        return ComPtr<Witness>::Adopt(new Witness(name, log));
    }
    // The only reference, in a variant.
    static Variant Value(TextView name, Log& log) { return Variant(Make(name, log).get()); }

    std::function<void()> onRelease;

private:
    Witness(TextView name, Log& log) : name_(name), log_(log) {}
    ~Witness() override {
        log_.add(name_);
        if (onRelease) {
            onRelease();
        }
    }

    const Text name_;
    Log& log_;
};

}  // namespace kel::tests
