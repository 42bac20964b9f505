#include "apps/kelsh/script_host.h"

#include <activscp.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <stdexcept>

#include "apps/kelsh/script_events.h"
#include "apps/kelsh/script_objects.h"
#include "apps/kelsh/text.h"
#include "automation/plain_object.h"

namespace kel::kelsh {

using automation::Bstr;
using automation::Check;
using automation::Error;
using automation::Variant;

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

// One script: its engine, and what the engine asks of its host.
class ScriptRun final : public automation::PlainObject<IActiveScriptSite> {
public:
    ScriptRun(const Text& path, Connection& connection, Terminal& terminal)
        : name_(std::filesystem::path(path).filename().wstring()),
          source_(ReadSource(path)),
          connection_(connection),
          terminal_(terminal) {
        const Text extension = automation::Lower(std::filesystem::path(path).extension().wstring());
        engine_ = demo::Create<IActiveScript>(extension == L".js" ? L"JScript" : L"VBScript");
    }

    ScriptResult Run(const std::vector<Text>& arguments) {
        const auto parser = engine_.as<IActiveScriptParse>();
        Check(parser ? parser->InitNew() : E_NOINTERFACE);
        Check(engine_->SetScriptSite(this));
        AddItems(arguments);
        ListenByName();
        // The procedures of a script are known as soon as its text is parsed; what stands outside
        // of them runs when the engine is started.
        HRESULT code = parser->ParseScriptText(source_.c_str(),
                                               nullptr,
                                               nullptr,
                                               nullptr,
                                               0,
                                               1,
                                               SCRIPTTEXT_ISVISIBLE,
                                               nullptr,
                                               nullptr);
        if (SUCCEEDED(code)) {
            code = engine_->SetScriptState(SCRIPTSTATE_STARTED);
        }
        if (FAILED(code) && !told_ && !result_.quit) {
            TellText(Error::FromCode(code).description());
        }
        events_.clear();
        script_.reset();
        engine_->Close();
        result_.good = !told_;
        return result_;
    }

    // IActiveScriptSite
    STDMETHODIMP GetLCID(LCID* locale) noexcept override {
        *locale = LOCALE_USER_DEFAULT;
        return S_OK;
    }
    STDMETHODIMP GetItemInfo(LPCOLESTR name,
                             DWORD wanted,
                             IUnknown** item,
                             ITypeInfo** type) noexcept override {
        if ((wanted & SCRIPTINFO_ITYPEINFO) != 0 && type != nullptr) {
            *type = nullptr;  // asked for events only, which are delivered here
        }
        const auto found = items_.find(name);
        if (found == items_.end()) {
            return TYPE_E_ELEMENTNOTFOUND;
        }
        if ((wanted & SCRIPTINFO_IUNKNOWN) != 0 && item != nullptr) {
            found->second->AddRef();
            *item = found->second.get();
        }
        return S_OK;
    }
    STDMETHODIMP GetDocVersionString(BSTR* version) noexcept override {
        *version = nullptr;
        return E_NOTIMPL;
    }
    STDMETHODIMP OnScriptTerminate(const VARIANT*, const EXCEPINFO*) noexcept override {
        return S_OK;
    }
    STDMETHODIMP OnStateChange(SCRIPTSTATE) noexcept override { return S_OK; }
    STDMETHODIMP OnEnterScript() noexcept override { return S_OK; }
    STDMETHODIMP OnLeaveScript() noexcept override { return S_OK; }
    STDMETHODIMP OnScriptError(IActiveScriptError* error) noexcept override {
        automation::Ignoring([&] { Tell(*error); });
        return S_OK;
    }

private:
    bool answers(REFIID iid) const noexcept override {
        return IsEqualIID(iid, __uuidof(IActiveScriptSite));
    }

    void AddItems(const std::vector<Text>& arguments) {
        const ComPtr<IDispatch> list = MakeTextList(arguments);
        const auto host = MakeScriptObject({
            {L"Echo", [this](auto& values) { return Echo(values); }},
            {L"Quit", [this](auto& values) { return Quit(values); }},
            {L"ConnectObject", [this](auto& values) { return ConnectObject(values); }},
            {L"Arguments",
             [list](auto& values) {
                 return values.empty() ? Variant(list.get()) : ItemOf(*list, values[0]);
             }},
        });
        items_[L"kel"].reset(&connection_.base().raw());
        items_[L"session"].reset(&connection_.session().raw());
        items_[L"tools"].reset(&connection_.tools().raw());
        items_[L"WScript"] = host;
        items_[L"kelsh"] = host;
        for (const auto& [name, object] : items_) {
            // Not as sources of events: an engine that binds them too would make them come twice.
            Check(engine_->AddNamedItem(
                name.c_str(),
                SCRIPTITEM_ISVISIBLE | (name == L"kelsh" ? SCRIPTITEM_GLOBALMEMBERS : 0)));
        }
    }

    static Variant ItemOf(IDispatch& list, Variant& index) {
        DISPPARAMS parameters{index.inOut(), nullptr, 1, 0};
        Variant value;
        Check(list.Invoke(DISPID_VALUE,
                          IID_NULL,
                          LOCALE_USER_DEFAULT,
                          DISPATCH_PROPERTYGET,
                          &parameters,
                          value.put(),
                          nullptr,
                          nullptr));
        return value;
    }

    // Ties the session and every key field that the script has a procedure for.
    void ListenByName() {
        Listen(connection_.session().source(), L"session");
        const demo::Base& base = connection_.base();
        const EventInterface events = EventsOf(base.GetFieldCallBack(kAnyField).source());
        std::set<Text> known{L"session"};
        for (const Text& name : NamesWithPrefix(source_)) {
            const std::size_t bar = name.rfind(L'_');
            const Text prefix = name.substr(0, bar);
            const Text event = automation::Lower(name.substr(bar + 1));
            const bool isEvent =
                std::any_of(events.names.begin(), events.names.end(), [&](const auto& one) {
                    return automation::Lower(one.second) == event;
                });
            if (!prefix.empty() && isEvent && known.insert(automation::Lower(prefix)).second) {
                Listen(base.GetFieldCallBack(prefix).source(), prefix);
            }
        }
    }

    // A source is tied to a prefix once, so that scripts for other hosts can ask for what they get
    // here by name.
    void Listen(IUnknown& source, const Text& prefix) {
        const std::pair key(ComPtr<IUnknown>(&source).as<IUnknown>().get(),
                            automation::Lower(prefix));
        if (!tied_.insert(key).second) {
            return;
        }
        events_.push_back(std::make_unique<ScriptEvents>(
            source, EventsOf(source), prefix, [this](const auto& name, auto& values, auto& result) {
                Call(name, values, result);
            }));
    }

    Variant Echo(std::vector<Variant>& values) {
        Text line;
        for (Variant& value : values) {
            line += (&value == &values.front() ? L"" : L" ") + Text(value.text().view());
        }
        terminal_.Print(line);
        return {};
    }

    // Ends the script by an error that nobody is told of.
    Variant Quit(std::vector<Variant>& values) {
        result_.quit = true;
        result_.exitCode = values.empty() ? 0 : automation::ToShort(values[0].text().view());
        throw Error(E_ABORT, L"kelsh", L"Quit");
    }

    Variant ConnectObject(std::vector<Variant>& values) {
        const auto source = values.size() == 2 ? values[0].object<IUnknown>() : ComPtr<IUnknown>();
        if (!source) {
            throw Error(automation::kInvalidCall, L"kelsh", L"ConnectObject OBJECT, PREFIX");
        }
        Text prefix(values[1].text().view());
        if (prefix.ends_with(L'_')) {
            prefix.pop_back();
        }
        Listen(*source, prefix);
        return {};
    }

    // A procedure of the script; nothing when there is none of the name.
    void Call(const Text& name, std::vector<Variant>& values, Variant& result) {
        if (result_.quit) {
            return;
        }
        if (!script_ && FAILED(engine_->GetScriptDispatch(nullptr, script_.put()))) {
            return;
        }
        Text copy = name;
        LPOLESTR names[] = {copy.data()};
        DISPID id = DISPID_UNKNOWN;
        if (FAILED(script_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id))) {
            return;
        }
        std::vector<VARIANT> given(values.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            VARIANT& one = given[values.size() - 1 - i];
            V_VT(&one) = VT_BYREF | VT_VARIANT;
            V_VARIANTREF(&one) = values[i].inOut();
        }
        DISPPARAMS parameters{given.data(), nullptr, static_cast<UINT>(given.size()), 0};
        EXCEPINFO exception{};
        const int toldBefore = errors_;
        const HRESULT code = script_->Invoke(id,
                                             IID_NULL,
                                             LOCALE_USER_DEFAULT,
                                             DISPATCH_METHOD,
                                             &parameters,
                                             result.put(),
                                             &exception,
                                             nullptr);
        const Bstr source = Bstr::Adopt(exception.bstrSource);
        const Bstr description = Bstr::Adopt(exception.bstrDescription);
        const Bstr help = Bstr::Adopt(exception.bstrHelpFile);
        // Engines tell their site of most errors; of the others, as of a wrong number of arguments,
        // only this call.
        if (FAILED(code) && errors_ == toldBefore && !result_.quit) {
            TellText(name + L": " +
                     (description.view().empty() ? Error::FromCode(code).description()
                                                 : Text(description.view())));
        }
    }

    void TellText(const Text& text) {
        ++errors_;
        told_ = true;
        terminal_.Complain(name_ + L": " + text);
    }

    void Tell(IActiveScriptError& error) {
        if (result_.quit) {
            return;
        }
        EXCEPINFO exception{};
        DWORD context = 0;
        ULONG line = 0;
        LONG column = 0;
        error.GetExceptionInfo(&exception);
        if (exception.pfnDeferredFillIn != nullptr) {
            exception.pfnDeferredFillIn(&exception);
        }
        const Bstr source = Bstr::Adopt(exception.bstrSource);
        const Bstr description = Bstr::Adopt(exception.bstrDescription);
        const Bstr help = Bstr::Adopt(exception.bstrHelpFile);
        const bool hasLine = SUCCEEDED(error.GetSourcePosition(&context, &line, &column));
        const long number = automation::NumberOfCode(exception.scode);
        Text text = hasLine ? L"line " + std::to_wstring(line) + L": " : Text();
        text += description.view().empty() ? Error::FromCode(exception.scode).description()
                                           : Text(description.view());
        text += L" (" + automation::DecimalText(number) +
                (source.view().empty() ? Text() : L", " + Text(source.view())) + L")";
        if (hasLine) {
            text += SourceLine(line);
        }
        TellText(text);
    }

    // The line itself below the message.
    Text SourceLine(ULONG number) const {
        std::size_t at = 0;
        for (ULONG line = 1; line < number && at != Text::npos; ++line) {
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

    const Text name_;
    const Text source_;
    Connection& connection_;
    Terminal& terminal_;
    ComPtr<IActiveScript> engine_;
    ComPtr<IDispatch> script_;
    std::map<Text, ComPtr<IDispatch>> items_;
    std::vector<std::unique_ptr<ScriptEvents>> events_;
    std::set<std::pair<IUnknown*, Text>> tied_;  // the subscriptions keep the sources alive
    ScriptResult result_;
    int errors_ = 0;
    bool told_ = false;
};

}  // namespace

ScriptResult RunScriptFile(const Text& path,
                           const std::vector<Text>& arguments,
                           Connection& connection,
                           Terminal& terminal) {
    const auto run = ComPtr<ScriptRun>::Adopt(new ScriptRun(path, connection, terminal));
    return run->Run(arguments);
}

}  // namespace kel::kelsh
