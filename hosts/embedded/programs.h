// Stored programs: scripts kept as records of the file PROGRAMS, run by the platform's script
// engines.
//
// A program NAME is the record NAME, NAME.vbs or NAME.js, as written or in capitals; .js is JScript
// and everything else VBScript. Its lines are attributes. It sees Account (the calling session,
// kelScript.idl), Arguments, and Application when the client set that property. A procedure Main is
// called with the arguments, by reference in VBScript; without one the code outside procedures is
// the program, run at every call.
#pragma once

#include <map>
#include <memory>
#include <span>

#include "automation/error.h"
#include "automation/variant.h"
#include "hosts/multivalue/text/text.h"
#include "scripting/script_engine.h"

namespace kel::embedded {

class Connection;
class StoredProgram;

inline constexpr text::TextView kProgramFile = u"PROGRAMS";

// Which programs run, and what they may do.
enum class ProgramTrust {
    kNone,    // none runs
    kSealed,  // they have the language and the records of the account
    kFull     // they have Application, too, and may do whatever the user may
};

class Programs {
public:
    // `application` may be empty.
    Programs(Connection& connection, ProgramTrust trust, automation::ComPtr<IDispatch> application);
    Programs(const Programs&) = delete;
    Programs& operator=(const Programs&) = delete;
    ~Programs();

    // Runs a program; it may change what the arguments hold. Throws kNotTrusted where none may run,
    // kNoSuchProgram; for a failing
    // program automation::Error with its number, the description naming program and line.
    void run(text::TextView name, std::span<VARIANT* const> arguments);

    // Closes all engines at rest, and those at work when they return. From then on no program runs.
    void end() noexcept;
    // Throws 10102 after that.
    void requireOpen() const;

private:
    struct Source {
        text::Text id;
        text::Text text;
    };
    Source find(text::TextView name);
    // The failure as callers are told it, with the place of the program that failed.
    automation::Error told(text::TextView id, const scripting::ScriptFailure& failure);

    Connection& connection_;
    const ProgramTrust trust_;
    automation::ComPtr<IDispatch> application_;
    automation::ComPtr<IDispatch> account_;
    // By id; used again as long as the record says the same. Programs that call themselves find
    // theirs taken and get another.
    std::map<text::Text, std::unique_ptr<StoredProgram>> idle_;
    int depth_ = 0;
    bool hasEnded_ = false;
    // What was told last of a program that failed. A program that called it fails with the same and
    // passes it on as it is: it names its place already.
    automation::Text told_;
};

}  // namespace kel::embedded
