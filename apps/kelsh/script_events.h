// Events of automation objects, delivered to procedures of a script by name.
//
// Script engines can tie procedures to the events of their host's objects by themselves, but not
// all do; here the host does it, whatever the engine.
#pragma once

#include <map>
#include <vector>

#include "apps/binding/events.h"

namespace kel::kelsh {

using binding::Text;

// Calls a procedure of the script if there is one of this name, with what it may change passed by
// reference; `result` is what it returns. Failures are the callee's to tell.
using ProcedureCaller = std::function<void(
    const Text& name, std::vector<binding::Var>& arguments, binding::Var& result)>;

// The default event interface of an object.
struct EventInterface {
    IID iid{};
    std::map<DISPID, Text> names;
};

// Throws binding::Error when the object has no events.
EventInterface EventsOf(IUnknown& source);

// An object's events as calls of PREFIX_Event procedures, for the life of the subscription.
binding::Subscription Deliver(IUnknown& source,
                              const EventInterface& events,
                              const Text& prefix,
                              ProcedureCaller call);

}  // namespace kel::kelsh
