// One stored program in one of the platform's script engines.
#pragma once

#include <windows.h>

#include <activscp.h>

#include <memory>
#include <span>

#include "automation/com_ptr.h"
#include "hosts/multivalue/text/text.h"

namespace kel::embedded {

class ProgramArguments;
class ScriptSite;

class ScriptEngine {
public:
    // Loads the program; code outside procedures does not run yet. Throws automation::Error when
    // the engine is not installed, and for a text that it cannot read, naming program and line.
    //   id    the program's, whose ending names the language
    //   text  lines parted by attribute marks
    ScriptEngine(const text::Text& id,
                 text::Text text,
                 const automation::ComPtr<IDispatch>& account,
                 const automation::ComPtr<IDispatch>& application);
    ScriptEngine(const ScriptEngine&) = delete;
    ScriptEngine& operator=(const ScriptEngine&) = delete;
    ~ScriptEngine();

    const text::Text& source() const { return source_; }
    // Whether it can run again: a program without Main runs as it starts, which it does once.
    bool isReusable() const { return hasMain_; }

    // Throws automation::Error for a failing program.
    void run(std::span<VARIANT* const> arguments);

private:
    void load();
    void callMain(IDispatch& script, DISPID main, std::span<VARIANT* const> arguments);

    text::Text source_;
    automation::ComPtr<ScriptSite> site_;
    automation::ComPtr<ProgramArguments> arguments_;
    automation::ComPtr<IActiveScript> engine_;
    bool hasMain_ = false;
};

}  // namespace kel::embedded
