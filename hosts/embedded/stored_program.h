// One stored program, loaded: its script and the arguments of the call under way.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <memory>
#include <span>

#include "automation/com_ptr.h"
#include "hosts/multivalue/text/text.h"
#include "scripting/script_engine.h"

namespace kel::embedded {

class ProgramArguments;

class StoredProgram {
public:
    // Takes the text in; nothing is read or run yet. Throws automation::Error when the engine is
    // not installed.
    //   id    the program's, whose ending names the language
    //   text  lines parted by attribute marks
    //   application  may be empty; a program without trust finds one that refuses everything
    StoredProgram(const text::Text& id,
                  text::Text text,
                  scripting::Trust trust,
                  const automation::ComPtr<IDispatch>& account,
                  const automation::ComPtr<IDispatch>& application);
    StoredProgram(const StoredProgram&) = delete;
    StoredProgram& operator=(const StoredProgram&) = delete;
    ~StoredProgram();

    const text::Text& source() const { return source_; }
    // Whether it can run again: a program without Main runs as it starts, which it does once.
    bool isReusable() const { return hasMain_; }

    scripting::ScriptEngine& engine() { return *engine_; }

    // Runs the program; it may change what the arguments hold.
    scripting::Outcome run(std::span<VARIANT* const> arguments);

private:
    text::Text source_;
    std::unique_ptr<scripting::ScriptEngine> engine_;
    automation::ComPtr<ProgramArguments> arguments_;
    bool isLoaded_ = false;
    bool hasMain_ = false;
};

}  // namespace kel::embedded
