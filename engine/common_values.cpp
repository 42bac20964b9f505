// Setting and finding shared values, and telling of them.
#include "engine/common_values.h"

#include "automation/com_method.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

core::FastCollection& CommonValues::CommonList() {
    if (!list_) {
        list_ = std::make_unique<core::FastCollection>();
    }
    return *list_;
}

Variant CommonValues::value(TextView name) noexcept {
    Variant found;
    Ignoring([&] { found = Variant(CommonList().ItemByKey(name)); });
    return found;
}

ComPtr<IDispatch> CommonValues::object(TextView name) noexcept {
    ComPtr<IDispatch> found;
    Ignoring([&] { found = ObjectIn<IDispatch>(CommonList().ItemByKey(name)); });
    return found;
}

void CommonValues::setValue(BSTR name, const VARIANT* value) noexcept {
    Ignoring([&] {
        const Variant shared = Variant::Through(Require(value));
        if (CommonList().KeyExists(View(name))) {
            CommonList().RemoveByKey(View(name));
        }
        CommonList().Add(shared.get(), View(name));
    });
    tellChanged(name);
}

void CommonValues::setObject(BSTR name, IDispatch* object) noexcept {
    Ignoring([&] {
        if (CommonList().KeyExists(View(name))) {
            CommonList().SetItem(Variant(View(name)).get(), object);
        } else {
            CommonList().Add(Variant(object).get(), View(name));
        }
    });
    tellChanged(name);
}

void CommonValues::tellChanged(BSTR name) const noexcept {
    fields_.forEach([&](const Text& key) {
        TellField(
            key, [&](_kelFieldCallBack& callback) { return callback.FldCommonValueChanged(name); });
    });
}

}  // namespace kel::engine
