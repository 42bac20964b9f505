// Values and objects that all controls of a session share.
#pragma once

#include "automation/variant.h"
#include "core/fast_collection.h"
#include "engine/key_fields.h"

namespace kel::engine {

using automation::ComPtr;
using automation::Variant;

// By name, in an order. Each change is told to the controls of all key fields of the session;
// nothing here fails. One thread.
class CommonValues {
public:
    explicit CommonValues(const KeyFields& fields) noexcept : fields_(fields) {}

    // Empty and none for an unknown name.
    Variant value(TextView name) noexcept;
    ComPtr<IDispatch> object(TextView name) noexcept;
    // A value set again moves to the end of the order.
    void setValue(BSTR name, const VARIANT* value) noexcept;
    // An object set again keeps its position.
    void setObject(BSTR name, IDispatch* object) noexcept;
    void clear() noexcept { list_.reset(); }

private:
    core::FastCollection& CommonList();
    void tellChanged(BSTR name) const noexcept;

    const KeyFields& fields_;
    std::unique_ptr<core::FastCollection> list_;
};

}  // namespace kel::engine
