// Values and objects that all controls of a session share. Nothing here raises an error.
#include "engine/dbms.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

STDMETHODIMP Dbms::get_CommonValue(BSTR commonName, VARIANT* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Ignoring([&] { out = Variant(CommonList().ItemByKey(View(commonName))); });
    });
}

STDMETHODIMP Dbms::put_CommonValue(BSTR commonName, VARIANT* value) noexcept {
    return ComMethod([&] {
        Ignoring([&] {
            const TextView name = View(commonName);
            const Variant shared = Variant::Through(Require(value));
            // Removed and added: a value set again moves to the end of the order.
            if (CommonList().KeyExists(name)) {
                CommonList().RemoveByKey(name);
            }
            CommonList().Add(shared.get(), name);
        });
        tellCommonValueChanged(commonName);
    });
}

STDMETHODIMP Dbms::get_CommonObject(BSTR commonName, IDispatch** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Ignoring([&] { out = ObjectIn<IDispatch>(CommonList().ItemByKey(View(commonName))); });
    });
}

STDMETHODIMP Dbms::putref_CommonObject(BSTR commonName, IDispatch** value) noexcept {
    return ComMethod([&] {
        Ignoring([&] {
            const TextView name = View(commonName);
            IDispatch* const object = value != nullptr ? *value : nullptr;
            // Replaced in place: an object set again keeps its position.
            if (CommonList().KeyExists(name)) {
                CommonList().SetItem(Variant(name).get(), object);
            } else {
                CommonList().Add(Variant(object).get(), name);
            }
        });
        tellCommonValueChanged(commonName);
    });
}

void Dbms::tellCommonValueChanged(BSTR commonName) noexcept {
    const ComPtr<_kelDBMS> keep(self());
    forEachKeyField([&](const Text& key) {
        tellField(key, [&](_kelFieldCallBack& callback) {
            return callback.FldCommonValueChanged(commonName);
        });
    });
}

STDMETHODIMP Dbms::get_mvInfo(BSTR keyId, IDispatch** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const TextView name = View(keyId);
        if (name.empty()) {
            return;  // no key field, no state
        }
        Ignoring([&] { EnsureKeyFieldInfo(name); });
        // The state is there even when its buffer could not be made.
        Ignoring([&] { out = ComPtr<_kelInfo>(info(Lower(name))); });
    });
}

}  // namespace kel::engine
