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
// order in which the event declares them. Valid as long as the event's handler runs.
class Arguments {
public:
    explicit Arguments(const DISPPARAMS& parameters) : parameters_(parameters) {}

    UINT count() const { return parameters_.cArgs; }
    // Empty for one that is not there; a flag is "True" or "False".
    std::wstring text(UINT index) const { return value(index).text(); }
    // 0 for what is no number.
    long number(UINT index) const { return value(index).number().value_or(0); }
    bool flag(UINT index) const { return number(index) != 0; }
    // A copy of what was passed, or of what it refers to.
    Var value(UINT index) const;
    // Whether the source takes an answer in this argument.
    bool isByReference(UINT index) const;
    // Writes an answer into a by-reference argument, as the type that the source expects; nothing
    // happens for any other.
    //   throws  Error for an answer that is of no such type
    void answer(UINT index, const Var& value) const;
    void answer(UINT index, std::wstring_view text) const { answer(index, Var(text)); }

private:
    VARIANT* at(UINT index) const;

    const DISPPARAMS& parameters_;
};

using Handler = std::function<void(DISPID event, const Arguments& arguments)>;

// Ties a handler to a source for the life of this object. The source holds the handler meanwhile,
// so a handler that holds its source ends it with end(), or neither ever ends.
class Subscription {
public:
    Subscription() = default;
    // Calls `handler` for each event of the event interface `events` of `source`, on the thread
    // that raises it. What the handler throws ends with it: neither the other listeners nor the
    // source learn of it. The handler may end its own subscription.
    //   throws  Error when the source has no such events
    Subscription(IUnknown& source, REFIID events, Handler handler);
    Subscription(Subscription&& other) noexcept = default;
    Subscription& operator=(Subscription&& other) noexcept;
    ~Subscription() { end(); }

    // Nothing is heard from here on.
    void end();

private:
    Ptr<IConnectionPoint> point_;
    std::shared_ptr<Handler> handler_;  // emptied at the end, whoever still holds the sink
    DWORD cookie_ = 0;
};

// The events of a key field's callback, and of a session's.
Subscription Listen(_kelFieldCallBack& field,
                    std::function<void(FieldEvent event, const Arguments& arguments)> handler);
Subscription Listen(_kelSessionCallBack& session,
                    std::function<void(SessionEvent event, const Arguments& arguments)> handler);

}  // namespace kel::binding
