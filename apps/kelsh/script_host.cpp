// Scripts of the shell: what they find by name, how their events and failures are told.
#include "apps/kelsh/script_host.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <stdexcept>

#include "apps/kelsh/script_events.h"
#include "apps/kelsh/text.h"
#include "scripting/script_engine.h"
#include "scripting/script_object.h"

namespace kel::kelsh {

using binding::Error;
using binding::Ptr;
using binding::Var;
using scripting::Outcome;
using scripting::ScriptEngine;
using scripting::ScriptFailure;

namespace {

// A key field to learn from what events key fields have.
constexpr const wchar_t* kAnyField = L"kelsh.record";

// Source files are UTF-8 or, as old ones are, in the system's own character set.
Text ReadSource(const Text& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    if (!file) {
        throw std::runtime_error(ToUtf8(path + L" cannot be read"));
    }
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (bytes.starts_with("\xEF\xBB\xBF")) {
        bytes.erase(0, 3);
    }
    const int size = static_cast<int>(bytes.size());
    const UINT page =
        size == 0 || MultiByteToWideChar(
                         CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), size, nullptr, 0) != 0
            ? CP_UTF8
            : CP_ACP;
    Text source(
        static_cast<std::size_t>(MultiByteToWideChar(page, 0, bytes.data(), size, nullptr, 0)),
        L'\0');
    MultiByteToWideChar(
        page, 0, bytes.data(), size, source.data(), static_cast<int>(source.size()));
    return source;
}

bool IsWordUnit(wchar_t unit) {
    return unit == L'_' || unit > 0x7F || (unit >= L'0' && unit <= L'9') ||
           (unit >= L'a' && unit <= L'z') || (unit >= L'A' && unit <= L'Z');
}

// The words in a source that may be names of event procedures: PREFIX_EVENT.
std::vector<Text> NamesWithPrefix(const Text& source) {
    std::vector<Text> names;
    for (std::size_t at = 0; at < source.size();) {
        std::size_t end = at;
        while (end < source.size() && IsWordUnit(source[end])) {
            ++end;
        }
        const Text word = source.substr(at, end - at);
        if (word.find(L'_') != Text::npos) {
            names.push_back(word);
        }
        at = end + 1;
    }
    return names;
}

// One script.
class ScriptRun {
public:
    ScriptRun(const Text& path, Connection& connection, Terminal& terminal)
        : name_(std::filesystem::path(path).filename().wstring()),
          source_(ReadSource(path)),
          connection_(connection),
          terminal_(terminal) {
        const scripting::Language language = scripting::LanguageOf(path);
        engine_ = ScriptEngine::Open(language, scripting::Trust::kFull);
        if (!engine_) {
            throw std::runtime_error(ToUtf8(path + L" needs the script engine " +
                                            scripting::NameOf(language) +
                                            L", which is not installed here"));
        }
    }

    ScriptRun(const ScriptRun&) = delete;
    ScriptRun& operator=(const ScriptRun&) = delete;
    ~ScriptRun() { *self_ = nullptr; }

    ScriptResult Run(const std::vector<Text>& arguments) {
        AddItems(arguments);
        ListenByName();
        Outcome failure = engine_->Load(source_);
        if (!failure) {
            failure = engine_->Start();
        }
        if (failure) {
            Tell(*failure);
        }
        events_.clear();
        engine_->Close();
        result_.good = !told_;
        return result_;
    }

private:
    using Values = std::span<const VARIANT>;

    // What a member throws reaches the script as an error. A script may leave the object where the
    // next one finds it, as a common value of the session for example.
    scripting::Member Member(const wchar_t* name,
                             void (ScriptRun::*run)(Values values, VARIANT& result)) {
        return {
            name, [self = self_, run](Values values, VARIANT& result) {
                if (*self == nullptr) {
                    throw ScriptFailure{E_ABORT, L"kelsh", L"The object's script has ended.", {}};
                }
                try {
                    (*self->*run)(values, result);
                } catch (const Error& error) {
                    throw ScriptFailure{error.number(), error.source(), error.description(), {}};
                }
            }};
    }

    void AddItems(const std::vector<Text>& arguments) {
        *arguments_.put() = scripting::MakeTextList(arguments);
        Ptr<IDispatch> host;
        *host.put() = scripting::MakeScriptObject({
            Member(L"Echo", &ScriptRun::Echo),
            Member(L"Quit", &ScriptRun::Quit),
            Member(L"ConnectObject", &ScriptRun::ConnectObject),
            Member(L"Arguments", &ScriptRun::Arguments),
        });
        engine_->Add(L"kel", connection_.base().raw());
        engine_->Add(L"session", connection_.session().raw());
        engine_->Add(L"tools", connection_.tools().raw());
        engine_->Add(L"WScript", *host);
        engine_->Add(L"kelsh", *host, ScriptEngine::Visibility::kGlobal);
    }

    // The list, or one of them.
    void Arguments(Values values, VARIANT& result) {
        if (values.empty()) {
            result = Var(arguments_.get()).detach();
            return;
        }
        VARIANT index = values[0];  // borrowed
        DISPPARAMS parameters{&index, nullptr, 1, 0};
        binding::Check(arguments_->Invoke(DISPID_VALUE,
                                          IID_NULL,
                                          LOCALE_USER_DEFAULT,
                                          DISPATCH_PROPERTYGET,
                                          &parameters,
                                          &result,
                                          nullptr,
                                          nullptr));
    }

    // Ties the session and every key field that the script has a procedure for.
    void ListenByName() {
        Listen(connection_.session().raw(), L"session");
        const binding::Base& base = connection_.base();
        const EventInterface events = EventsOf(base.GetFieldCallBack(kAnyField).raw());
        std::set<Text, binding::NameLess> known{L"session"};
        for (const Text& name : NamesWithPrefix(source_)) {
            const std::size_t bar = name.rfind(L'_');
            const Text prefix = name.substr(0, bar);
            const Text event = name.substr(bar + 1);
            const bool isEvent =
                std::any_of(events.names.begin(), events.names.end(), [&](const auto& one) {
                    return binding::SameName(one.second, event);
                });
            if (!prefix.empty() && isEvent && known.insert(prefix).second) {
                Listen(base.GetFieldCallBack(prefix).raw(), prefix);
            }
        }
    }

    // A source is tied to a prefix once, so that scripts for other hosts can ask for what they get
    // here by name.
    void Listen(IUnknown& source, const Text& prefix) {
        const std::pair key(Ptr<IUnknown>(&source).as<IUnknown>().get(), binding::Lower(prefix));
        if (!tied_.insert(key).second) {
            return;
        }
        events_.push_back(Deliver(source,
                                  EventsOf(source),
                                  prefix,
                                  [this](const Text& name, std::vector<Var>& values, Var& result) {
                                      Call(name, values, result);
                                  }));
    }

    void Echo(Values values, VARIANT&) {
        Text line;
        for (const VARIANT& value : values) {
            line += (&value == &values.front() ? L"" : L" ") + Var::Of(value).text();
        }
        terminal_.Print(line);
    }

    // Ends the script by an error that nobody is told of.
    void Quit(Values values, VARIANT&) {
        result_.quit = true;
        result_.exitCode =
            values.empty() ? 0 : static_cast<int>(Var::Of(values[0]).number().value_or(0));
        throw Error(E_ABORT, L"kelsh", L"Quit");
    }

    void ConnectObject(Values values, VARIANT&) {
        const auto source =
            values.size() == 2 ? Var::Of(values[0]).object<IUnknown>() : Ptr<IUnknown>();
        if (!source) {
            constexpr long kInvalidCall = 5;
            throw Error(kInvalidCall, L"kelsh", L"ConnectObject OBJECT, PREFIX");
        }
        Text prefix = Var::Of(values[1]).text();
        if (prefix.ends_with(L'_')) {
            prefix.pop_back();
        }
        Listen(*source, prefix);
    }

    // A procedure of the script; nothing when there is none of the name.
    void Call(const Text& name, std::vector<Var>& values, Var& result) {
        if (result_.quit) {
            return;
        }
        std::vector<VARIANT*> addresses;
        for (Var& value : values) {
            addresses.push_back(value.inOut());
        }
        if (const Outcome failure = engine_->Call(name, addresses, *result.put())) {
            Tell(*failure, failure->line ? Text() : name + L": ");
        }
    }

    void Tell(const ScriptFailure& failure, const Text& place = {}) {
        if (result_.quit) {
            return;
        }
        told_ = true;
        terminal_.Complain(
            name_ + L": " +
            (failure.line ? L"line " + std::to_wstring(*failure.line) + L": " : place) +
            failure.description + L" (" + std::to_wstring(failure.number) +
            (failure.source.empty() ? Text() : L", " + failure.source) + L")" +
            (failure.line ? SourceLine(*failure.line) : Text()));
    }

    // The line itself below the message.
    Text SourceLine(unsigned long number) const {
        std::size_t at = 0;
        for (unsigned long line = 1; line < number && at != Text::npos; ++line) {
            at = source_.find(L'\n', at);
            at += at == Text::npos ? 0 : 1;
        }
        if (number == 0 || at == Text::npos) {
            return {};
        }
        const Text line = source_.substr(at, source_.find_first_of(L"\r\n", at) - at);
        const std::size_t text = line.find_first_not_of(L" \t");
        return text == Text::npos ? Text() : L"\n    " + line.substr(text);
    }

    const std::shared_ptr<ScriptRun*> self_ = std::make_shared<ScriptRun*>(this);
    const Text name_;
    const Text source_;
    Connection& connection_;
    Terminal& terminal_;
    std::unique_ptr<ScriptEngine> engine_;
    Ptr<IDispatch> arguments_;
    std::vector<binding::Subscription> events_;
    std::set<std::pair<IUnknown*, Text>> tied_;  // the subscriptions keep the sources alive
    ScriptResult result_;
    bool told_ = false;
};

}  // namespace

ScriptResult RunScriptFile(const Text& path,
                           const std::vector<Text>& arguments,
                           Connection& connection,
                           Terminal& terminal) {
    return ScriptRun(path, connection, terminal).Run(arguments);
}

}  // namespace kel::kelsh
