// The connection properties of the embedded back-end.
#pragma once

#include <array>

#include "automation/variant.h"
#include "hosts/embedded/connection.h"

namespace kel::embedded {

// Text properties by name, one object property. Names ignore case. The client's texts are kept as
// given and looked at when connecting; an empty text stands for the default.
class ConnectionProperties {
public:
    static constexpr short kCount = 10;

    struct Description {
        const wchar_t* name;
        const wchar_t* type;  // "String" or "Object"
        const wchar_t* explanation;
        const wchar_t* fallback;
    };

    // By number from 1; throws 9. By name; throws 5.
    static const Description& At(short number);
    static const Description& Named(automation::TextView name);

    // Throw 5 for an unknown name and for a property of the other type.
    const automation::Text& text(automation::TextView name) const;
    void setText(automation::TextView name, automation::TextView value);
    automation::ComPtr<IDispatch> object(automation::TextView name) const;
    void setObject(automation::TextView name, IDispatch* value);

    // The family that the property names now; Uni while it names none.
    conversion::Family family() const;
    // What the properties say. Throws 5, naming the property, for a text that means nothing.
    ConnectionOptions options() const;

private:
    static std::size_t indexOf(automation::TextView name, bool isObject);
    automation::Text effective(std::size_t index) const;
    std::uint32_t milliseconds(std::size_t index) const;
    StoreOptions storeOptions() const;

    std::array<automation::Text, kCount> texts_;
    automation::ComPtr<IDispatch> application_;
};

}  // namespace kel::embedded
