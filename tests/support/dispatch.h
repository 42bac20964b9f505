// A late-bound client: calls by name, with named, omitted and by-reference arguments.
#pragma once

#include <vector>

#include "tests/support/errors.h"

namespace kel::tests {

// One argument. Anything Value() or ByRef() makes; `name` for a named argument.
struct Argument {
    template <typename T>
    Argument(T&& from) : value(Value(std::forward<T>(from))) {}  // NOLINT: implicit on purpose
    Argument(Text argumentName, Variant argumentValue)
        : value(std::move(argumentValue)), name(std::move(argumentName)) {}

    Variant value;
    Text name;
};

template <typename T>
Argument Named(TextView name, T&& value) {
    return {Text(name), Value(std::forward<T>(value))};
}

using Arguments = std::vector<Argument>;

// What came of a late-bound call. `error` holds the EXCEPINFO of a member's failure, or just the
// number of a call that never reached its member.
struct Outcome {
    HRESULT code = S_OK;
    Variant value;
    ErrorFields error;
    UINT argument = 0;  // index that the callee names as the culprit

    bool ok() const { return SUCCEEDED(code); }
    Text text() const { return Shown(value.get()); }
};

class Dispatch {
public:
    // Null gives an object whose every call fails with E_POINTER.
    explicit Dispatch(IUnknown* object);
    // Creates by programmatic identifier; empty when that fails.
    static Dispatch Create(const wchar_t* progId);

    IDispatch* get() const { return object_.get(); }

    // Positional arguments first, named ones behind them.
    Outcome call(TextView name, const Arguments& arguments = {}) const;
    Outcome get(TextView name, const Arguments& arguments = {}) const;
    // The last argument is the new value.
    Outcome put(TextView name, const Arguments& arguments) const;
    Outcome putRef(TextView name, const Arguments& arguments) const;

    Outcome invoke(DISPID id, WORD flags, const Arguments& positional) const;

private:
    Outcome run(TextView name, WORD flags, const Arguments& arguments) const;
    Outcome run(DISPID id,
                WORD flags,
                const Arguments& arguments,
                const std::vector<DISPID>& namedIds) const;

    ComPtr<IDispatch> object_;
};

}  // namespace kel::tests
