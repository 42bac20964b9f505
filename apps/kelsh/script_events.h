// Events of automation objects, delivered to procedures of a script by name.
//
// Script engines can tie procedures to the events of their host's objects by themselves, but not
// all do; here the host does it, whatever the engine.
#pragma once

#include <windows.h>

#include <ocidl.h>

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "automation/com_ptr.h"
#include "automation/text.h"
#include "automation/variant.h"

namespace kel::kelsh {

using automation::ComPtr;
using automation::Text;
using automation::TextView;

// Calls a procedure of the script if there is one of this name, with what it may change passed by
// reference; `result` is what it returns. Failures are the callee's to tell.
using ProcedureCaller = std::function<void(
    const Text& name, std::vector<automation::Variant>& arguments, automation::Variant& result)>;

// The default event interface of an object.
struct EventInterface {
    IID iid{};
    std::map<DISPID, Text> names;
};

// Throws when the object has no events.
EventInterface EventsOf(IUnknown& source);

// An object's events as calls of PREFIX_Event procedures, for the life of this object.
class ScriptEvents {
public:
    ScriptEvents(IUnknown& source,
                 const EventInterface& events,
                 const Text& prefix,
                 ProcedureCaller call);
    ScriptEvents(const ScriptEvents&) = delete;
    ScriptEvents& operator=(const ScriptEvents&) = delete;
    ~ScriptEvents();

private:
    ComPtr<IConnectionPoint> point_;
    DWORD cookie_ = 0;
};

}  // namespace kel::kelsh
