#include "tests/support/dispatch.h"

#include <algorithm>

namespace kel::tests {

Dispatch::Dispatch(IUnknown* object) : object_(ComPtr<IUnknown>(object).as<IDispatch>()) {}

Dispatch Dispatch::Create(const wchar_t* progId) {
    CLSID clsid;
    ComPtr<IUnknown> object;
    if (SUCCEEDED(CLSIDFromProgID(progId, &clsid))) {
        CoCreateInstance(clsid,
                         nullptr,
                         CLSCTX_INPROC_SERVER,
                         IID_IUnknown,
                         reinterpret_cast<void**>(object.put()));
    }
    return Dispatch(object.get());
}

Outcome Dispatch::call(TextView name, const Arguments& arguments) const {
    return run(name, DISPATCH_METHOD, arguments);
}

Outcome Dispatch::get(TextView name, const Arguments& arguments) const {
    return run(name, DISPATCH_PROPERTYGET, arguments);
}

Outcome Dispatch::put(TextView name, const Arguments& arguments) const {
    return run(name, DISPATCH_PROPERTYPUT, arguments);
}

Outcome Dispatch::putRef(TextView name, const Arguments& arguments) const {
    return run(name, DISPATCH_PROPERTYPUTREF, arguments);
}

Outcome Dispatch::invoke(DISPID id, WORD flags, const Arguments& positional) const {
    return run(id, flags, positional, {});
}

Outcome Dispatch::run(TextView name, WORD flags, const Arguments& arguments) const {
    std::vector<Text> names{Text(name)};
    for (const Argument& argument : arguments) {
        if (!argument.name.empty()) {
            names.push_back(argument.name);
        }
    }
    std::vector<LPOLESTR> pointers;
    std::transform(names.begin(), names.end(), std::back_inserter(pointers), [](Text& one) {
        return one.data();
    });
    std::vector<DISPID> ids(names.size(), DISPID_UNKNOWN);
    Outcome failed;
    failed.code = !object_ ? E_POINTER
                           : object_->GetIDsOfNames(IID_NULL,
                                                    pointers.data(),
                                                    static_cast<UINT>(pointers.size()),
                                                    LOCALE_USER_DEFAULT,
                                                    ids.data());
    if (!failed.ok()) {
        failed.error.number = failed.code;
        return failed;
    }
    return run(ids.front(), flags, arguments, {ids.begin() + 1, ids.end()});
}

Outcome Dispatch::run(DISPID id,
                      WORD flags,
                      const Arguments& arguments,
                      const std::vector<DISPID>& namedIds) const {
    // Last argument first; the named ones stand in front, in the order of their identifiers.
    std::vector<VARIANTARG> values;
    std::vector<DISPID> named(namedIds.rbegin(), namedIds.rend());
    std::transform(
        arguments.rbegin(), arguments.rend(), std::back_inserter(values), [](const Argument& one) {
            return one.value.get();
        });
    if ((flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0) {
        named.insert(named.begin(), DISPID_PROPERTYPUT);
    }
    DISPPARAMS params{values.data(),
                      named.data(),
                      static_cast<UINT>(values.size()),
                      static_cast<UINT>(named.size())};
    Outcome outcome;
    EXCEPINFO exception{};
    outcome.code = !object_ ? E_POINTER
                            : object_->Invoke(id,
                                              IID_NULL,
                                              LOCALE_USER_DEFAULT,
                                              flags,
                                              &params,
                                              outcome.value.put(),
                                              &exception,
                                              &outcome.argument);
    if (outcome.code == DISP_E_EXCEPTION) {
        outcome.error = ErrorOf(exception);
    } else if (!outcome.ok()) {
        outcome.error.number = outcome.code;
    }
    return outcome;
}

}  // namespace kel::tests
