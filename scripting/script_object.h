// Objects for scripts that are made of functions: what a host offers besides objects it has anyway.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <functional>
#include <span>
#include <string>
#include <vector>

namespace kel::scripting {

// What a member does: the arguments in declared order, borrowed, by-reference ones looked through;
// the answer goes into `result`, which is empty. A ScriptFailure that it throws reaches the script
// as an error with that number, source and description; anything else as an unexpected one.
using MemberFunction = std::function<void(std::span<const VARIANT> arguments, VARIANT& result)>;

struct Member {
    std::wstring name;
    MemberFunction run;
};

// An object with these members, called by name in any case; the first is also the object's default
// member. The caller owns the reference.
IDispatch* MakeScriptObject(std::vector<Member> members);

// A list of texts as scripts know it: Item (from 0, the default member), Count, length. The caller
// owns the reference.
IDispatch* MakeTextList(std::vector<std::wstring> texts);

}  // namespace kel::scripting
