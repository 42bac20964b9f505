// One script in one of the platform's script engines: what it sees by name, its failures, and calls
// of its procedures. What a program makes of these, which names it gives and how it words a
// failure, is not here.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <atomic>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kel::scripting {

enum class Language { kVbScript, kJScript };

// What a script may reach besides the language.
enum class Trust {
    kNone,  // the objects it is given, nothing else: it makes and gets none, shows nothing
    kFull   // whatever the user may
};

// The language that the ending of a name asks for: JScript for ".js", whatever the case, else
// VBScript.
Language LanguageOf(std::wstring_view name);
// Its name, which is also the engine's.
const wchar_t* NameOf(Language language);

// Why a script did not go on, or could not be read.
struct ScriptFailure {
    long number = 0;           // as scripts show it
    std::wstring source;       // what raised it; may be empty
    std::wstring description;  // never empty
    // Of the script, from 1. Nothing where the engine told its caller only, as for a call with a
    // wrong number of arguments.
    std::optional<unsigned long> line;
    // A script without trust wanted an object that it was not given.
    bool isRefusal = false;
};
// Nothing: it went well.
using Outcome = std::optional<ScriptFailure>;

// Everything happens on the thread that opened the engine, the objects' calls included. A procedure
// may be called while another runs, from an object that the script uses; each call has its own
// outcome.
class ScriptEngine {
public:
    // Empty when the engine is not installed, and without trust also when it cannot keep a script
    // from what it may not reach.
    static std::unique_ptr<ScriptEngine> Open(Language language, Trust trust);
    ScriptEngine(const ScriptEngine&) = delete;
    ScriptEngine& operator=(const ScriptEngine&) = delete;
    ~ScriptEngine();

    // Gives the script an object under a name, before Load; the engine keeps it until Close.
    // Members of a global one can be called without the name.
    enum class Visibility { kByName, kGlobal };
    void Add(const wchar_t* name, IDispatch& object, Visibility visibility = Visibility::kByName);

    // Reads a text of lines. Its procedures can be called from here on; what stands outside of them
    // has not run.
    Outcome Load(const std::wstring& source);
    // Runs what stands outside of procedures, the first time it is called.
    Outcome Start();

    bool HasProcedure(const std::wstring& name);
    // Calls a procedure. Arguments are passed by reference, in declared order; `result` receives
    // what a function returns, and was empty. Nothing happens where there is no such procedure.
    Outcome Call(const std::wstring& name, std::span<VARIANT* const> arguments, VARIANT& result);

    // Ends what the script is doing, from any thread, as soon as it is in the script's own code:
    // the call under way fails, and the engine is of no more use. Until then it has no effect, and
    // is to be called again.
    //   inHost  not 0 while the script waits for something that it called and that must return
    void Interrupt(const std::atomic<int>& inHost) noexcept;

    // Ends the script: the engine lets go of all objects.
    void Close() noexcept;

private:
    class Site;
    struct Parts;

    explicit ScriptEngine(std::unique_ptr<Parts> parts);

    std::unique_ptr<Parts> parts_;
};

}  // namespace kel::scripting
