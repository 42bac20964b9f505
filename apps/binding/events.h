// Hearing the component's events: a subscription calls a function for every event of a source, for
// as long as it lives.
#pragma once

#include <ocidl.h>

#include <functional>
#include <memory>

#include "apps/binding/com.h"

namespace kel::binding {

// Events of a key field's callback, with the numbers that the type library publishes.
enum class FieldEvent : DISPID {
    kRefresh = 1,
    kClear,
    kDeleted,
    kReadValid,
    kConnected,
    kDisconnected,
    kCommonValueChanged,
    kSessionChanged,
    kKeyFieldChanged
};

// Events of a session's callback.
enum class SessionEvent : DISPID {
    kConnection = 1,
    kConnectionFailed,
    kDisconnect,
    kPropertyValue
};

// The arguments of one event. Automation passes them last first; here they count from 0 in the
// order in which the event declares them.
class Arguments {
public:
    explicit Arguments(const DISPPARAMS& parameters) : parameters_(parameters) {}

    UINT count() const { return parameters_.cArgs; }
    // Empty for one that is not there; a flag is "True" or "False".
    std::wstring text(UINT index) const;
    long number(UINT index) const { return std::wcstol(text(index).c_str(), nullptr, 10); }
    bool flag(UINT index) const { return text(index) == L"True"; }
    // Writes an answer into a by-reference text.
    void answer(UINT index, std::wstring_view text) const;

private:
    VARIANT* at(UINT index) const;

    const DISPPARAMS& parameters_;
};

using Handler = std::function<void(DISPID event, const Arguments& arguments)>;

class Subscription {
public:
    Subscription() = default;
    // Calls `handler` for each event of the event interface `events` of `source`. What the handler
    // throws ends with it: neither the other listeners nor the source learn of it.
    //   throws  Error when the source has no such events
    Subscription(IUnknown& source, REFIID events, Handler handler);
    Subscription(Subscription&& other) noexcept = default;
    Subscription& operator=(Subscription&& other) noexcept;
    ~Subscription() { end(); }

    void end();

private:
    Ptr<IConnectionPoint> point_;
    std::shared_ptr<Handler> handler_;  // emptied at the end, whoever still holds the sink
    DWORD cookie_ = 0;
};

}  // namespace kel::binding
