// What a script finds besides the component's objects: Echo, Quit and the like.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <functional>
#include <vector>

#include "automation/com_ptr.h"
#include "automation/text.h"
#include "automation/variant.h"

namespace kel::kelsh {

using automation::ComPtr;
using automation::Text;

// What a member does: arguments in declared order, by-reference ones looked through. What it throws
// reaches the script as an error.
using ScriptMember =
    std::function<automation::Variant(std::vector<automation::Variant>& arguments)>;

struct NamedMember {
    Text name;
    ScriptMember run;
};

// An object with these members, called by name; the first is also the object's default member.
ComPtr<IDispatch> MakeScriptObject(std::vector<NamedMember> members);

// A list of texts as scripts know it: Item (from 0), Count, length.
ComPtr<IDispatch> MakeTextList(std::vector<Text> texts);

}  // namespace kel::kelsh
