// The host's side of the platform's interfaces for script engines.
#include "scripting/script_engine.h"

#include <activscp.h>
#include <objsafe.h>
#include <servprov.h>
#include <urlmon.h>

#include <cstring>
#include <map>
#include <utility>
#include <vector>

#include "automation/error.h"
#include "automation/plain_object.h"
#include "automation/variant.h"
#include "scripting/script_escape.h"

namespace kel::scripting {

using automation::Bstr;
using automation::ComPtr;
using automation::Error;
using automation::Text;

namespace {

// The 32- and the 64-bit interface differ in one parameter's width.
#ifdef _WIN64
using IScriptParser = IActiveScriptParse64;
#else
using IScriptParser = IActiveScriptParse32;
#endif

ScriptFailure FailureOf(HRESULT code) {
    const Error error = Error::FromCode(code);
    return {error.number(), {}, error.description(), {}};
}

Outcome OutcomeOf(HRESULT code) {
    return FAILED(code) ? Outcome(FailureOf(code)) : Outcome();
}

// Takes over what the exception owns.
ScriptFailure FailureOf(EXCEPINFO& exception) {
    if (exception.pfnDeferredFillIn != nullptr) {
        exception.pfnDeferredFillIn(&exception);
    }
    const Bstr source = Bstr::Adopt(exception.bstrSource);
    const Bstr description = Bstr::Adopt(exception.bstrDescription);
    const Bstr help = Bstr::Adopt(exception.bstrHelpFile);
    ScriptFailure failure = FailureOf(exception.scode);
    failure.source = source.view();
    if (!description.view().empty()) {
        failure.description = description.view();
    }
    return failure;
}

// Makes the engine ask its site before it makes objects, and get none. Before anything else: it is
// asked for when the script is read.
bool Seal(const ComPtr<IActiveScript>& engine) {
    constexpr DWORD kOn =
        INTERFACESAFE_FOR_UNTRUSTED_DATA | INTERFACE_USES_DISPEX | INTERFACE_USES_SECURITY_MANAGER;
    ComPtr<IObjectSafety> safety;
    engine->QueryInterface(IID_IObjectSafety, reinterpret_cast<void**>(safety.put()));
    DWORD known = 0;
    DWORD enabled = 0;
    return safety &&
           SUCCEEDED(
               safety->GetInterfaceSafetyOptions(__uuidof(IScriptParser), &known, &enabled)) &&
           (known & kOn) == kOn &&
           SUCCEEDED(safety->SetInterfaceSafetyOptions(__uuidof(IScriptParser), known, kOn));
}

}  // namespace

Language LanguageOf(std::wstring_view name) {
    constexpr std::wstring_view kEnding = L".js";
    return name.size() >= kEnding.size() &&
                   automation::LowerEquals(name.substr(name.size() - kEnding.size()), kEnding)
               ? Language::kJScript
               : Language::kVbScript;
}

const wchar_t* NameOf(Language language) {
    return language == Language::kJScript ? L"JScript" : L"VBScript";
}

// What the engine asks of its host: the objects behind names, where to report failures, and, of a
// script without trust, whether it may make an object (never) and how dialogs are shown (not).
class ScriptEngine::Site final : public automation::PlainObject<IActiveScriptSite>,
                                 public IServiceProvider,
                                 public IInternetHostSecurityManager,
                                 public IActiveScriptSiteUIControl {
public:
    explicit Site(Trust trust) : trust_(trust) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        const HRESULT code = PlainObject::QueryInterface(iid, object);
        if (code != E_NOINTERFACE || trust_ == Trust::kFull) {
            return code;
        }
        *object = IsEqualIID(iid, IID_IServiceProvider)
                      ? static_cast<void*>(static_cast<IServiceProvider*>(this))
                  : IsEqualIID(iid, IID_IInternetHostSecurityManager)
                      ? static_cast<void*>(static_cast<IInternetHostSecurityManager*>(this))
                  : IsEqualIID(iid, __uuidof(IActiveScriptSiteUIControl))
                      ? static_cast<void*>(static_cast<IActiveScriptSiteUIControl*>(this))
                      : nullptr;
        if (*object == nullptr) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return PlainObject::AddRef(); }
    STDMETHODIMP_(ULONG) Release() noexcept override { return PlainObject::Release(); }

    std::map<Text, ComPtr<IDispatch>> items;
    Outcome reported;

    STDMETHODIMP GetLCID(LCID* locale) noexcept override {
        *locale = LOCALE_USER_DEFAULT;
        return S_OK;
    }
    STDMETHODIMP GetItemInfo(LPCOLESTR name,
                             DWORD wanted,
                             IUnknown** item,
                             ITypeInfo** type) noexcept override {
        if ((wanted & SCRIPTINFO_ITYPEINFO) != 0 && type != nullptr) {
            *type = nullptr;  // asked for by engines that deliver events, which hosts do here
        }
        const auto found = items.find(name);
        if (found == items.end()) {
            return TYPE_E_ELEMENTNOTFOUND;
        }
        if ((wanted & SCRIPTINFO_IUNKNOWN) != 0 && item != nullptr) {
            *item = ComPtr<IUnknown>(found->second).detach();
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
        automation::Ignoring([&] {
            EXCEPINFO exception{};
            automation::Check(error->GetExceptionInfo(&exception));
            ScriptFailure failure = FailureOf(exception);
            DWORD context = 0;
            ULONG line = 0;
            LONG column = 0;
            if (SUCCEEDED(error->GetSourcePosition(&context, &line, &column))) {
                failure.line = line;
            }
            reported = judged(std::move(failure));
        });
        return S_OK;
    }

    STDMETHODIMP QueryService(REFGUID service, REFIID iid, void** object) noexcept override {
        if (IsEqualGUID(service, SID_SInternetHostSecurityManager)) {
            return QueryInterface(iid, object);
        }
        *object = nullptr;
        return E_NOINTERFACE;
    }

    STDMETHODIMP GetSecurityId(BYTE*, DWORD*, DWORD_PTR) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP ProcessUrlAction(
        DWORD, BYTE* policy, DWORD size, BYTE*, DWORD, DWORD, DWORD) noexcept override {
        if (policy != nullptr && size >= sizeof(DWORD)) {
            const DWORD answer = URLPOLICY_DISALLOW;
            std::memcpy(policy, &answer, sizeof answer);
        }
        return S_FALSE;  // as for every policy but "allow"
    }
    STDMETHODIMP QueryCustomPolicy(
        REFGUID, BYTE** policy, DWORD* size, BYTE*, DWORD, DWORD) noexcept override {
        auto* answer = static_cast<DWORD*>(CoTaskMemAlloc(sizeof(DWORD)));
        if (answer == nullptr) {
            return E_OUTOFMEMORY;
        }
        *answer = URLPOLICY_DISALLOW;
        *policy = reinterpret_cast<BYTE*>(answer);
        *size = sizeof *answer;
        return S_OK;
    }

    STDMETHODIMP GetUIBehavior(SCRIPTUICITEM, SCRIPTUICHANDLING* handling) noexcept override {
        *handling = SCRIPTUICHANDLING_NOUIDEFAULT;
        return S_OK;
    }

    // Engines word the refusal as any other object that cannot be made.
    ScriptFailure judged(ScriptFailure failure) const {
        constexpr long kNoTemporaryFile = 322;  // what one says of GetObject
        failure.isRefusal =
            trust_ == Trust::kNone && (failure.number == automation::kCannotCreateObject ||
                                       failure.number == kNoTemporaryFile);
        return failure;
    }

private:
    ~Site() override = default;

    const Trust trust_;
};

struct ScriptEngine::Parts {
    ComPtr<IActiveScript> engine;
    ScriptEscape escape;
    ComPtr<Site> site;
    ComPtr<IDispatch> script;  // its procedures, once they are asked for
    std::vector<std::pair<Text, Visibility>> names;
    bool isStarted = false;

    // What was reported since, or else what the call itself answered.
    Outcome outcome(HRESULT code) const {
        Outcome reported = std::exchange(site->reported, std::nullopt);
        return reported ? std::move(reported) : OutcomeOf(code);
    }
    DISPID procedure(Text name) {
        DISPID id = DISPID_UNKNOWN;
        wchar_t* one[] = {name.data()};
        if ((script || SUCCEEDED(engine->GetScriptDispatch(nullptr, script.put()))) &&
            FAILED(script->GetIDsOfNames(IID_NULL, one, 1, LOCALE_USER_DEFAULT, &id))) {
            id = DISPID_UNKNOWN;
        }
        return id;
    }
};

std::unique_ptr<ScriptEngine> ScriptEngine::Open(Language language, Trust trust) {
    CLSID clsid{};
    auto parts = std::make_unique<Parts>();
    if (FAILED(CLSIDFromProgID(NameOf(language), &clsid)) ||
        FAILED(CoCreateInstance(clsid,
                                nullptr,
                                CLSCTX_INPROC_SERVER,
                                IID_IActiveScript,
                                reinterpret_cast<void**>(parts->engine.put())))) {
        return nullptr;
    }
    if (trust == Trust::kNone && !Seal(parts->engine)) {
        return nullptr;
    }
    parts->site = ComPtr<Site>::Adopt(new Site(trust));
    parts->escape.setEngine(*parts->engine.get());
    return std::unique_ptr<ScriptEngine>(new ScriptEngine(std::move(parts)));
}

ScriptEngine::ScriptEngine(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {}

ScriptEngine::~ScriptEngine() {
    Close();
}

void ScriptEngine::Add(const wchar_t* name, IDispatch& object, Visibility visibility) {
    parts_->site->items[name].reset(&object);
    parts_->names.emplace_back(name, visibility);
}

Outcome ScriptEngine::Load(const std::wstring& source) {
    IActiveScript& engine = *parts_->engine;
    const auto parser = parts_->engine.as<IScriptParser>();
    HRESULT code = parser ? engine.SetScriptSite(parts_->site.get()) : E_NOINTERFACE;
    if (SUCCEEDED(code)) {
        code = parser->InitNew();
    }
    for (const auto& [name, visibility] : parts_->names) {
        if (SUCCEEDED(code)) {
            // Not as sources of events: an engine that binds procedures to them would make events
            // come twice where the host delivers them.
            const DWORD global = visibility == Visibility::kGlobal ? SCRIPTITEM_GLOBALMEMBERS : 0;
            code = engine.AddNamedItem(name.c_str(), SCRIPTITEM_ISVISIBLE | global);
        }
    }
    if (SUCCEEDED(code)) {
        constexpr ULONG kFirstLine = 1;
        code = parser->ParseScriptText(source.c_str(),
                                       nullptr,
                                       nullptr,
                                       nullptr,
                                       0,
                                       kFirstLine,
                                       SCRIPTTEXT_ISVISIBLE,
                                       nullptr,
                                       nullptr);
    }
    return parts_->outcome(code);
}

void ScriptEngine::Interrupt(const std::atomic<int>& inHost) noexcept {
    // Aborted rather than raised as an exception: those the script may catch.
    constexpr DWORD kAbort = 0;
    const EXCEPINFO none{};
    if (FAILED(parts_->engine->InterruptScriptThread(SCRIPTTHREADID_ALL, &none, kAbort))) {
        parts_->escape.force(inHost);
    }
}

Outcome ScriptEngine::Start() {
    if (std::exchange(parts_->isStarted, true)) {
        return {};
    }
    IActiveScript& engine = *parts_->engine;
    return parts_->outcome(
        parts_->escape.run([&] { return engine.SetScriptState(SCRIPTSTATE_STARTED); }));
}

bool ScriptEngine::HasProcedure(const std::wstring& name) {
    return parts_->procedure(name) != DISPID_UNKNOWN;
}

Outcome ScriptEngine::Call(const std::wstring& name,
                           std::span<VARIANT* const> arguments,
                           VARIANT& result) {
    const DISPID id = parts_->procedure(name);
    if (id == DISPID_UNKNOWN) {
        return {};
    }
    std::vector<VARIANTARG> given(arguments.size());
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        VARIANTARG& one = given[arguments.size() - 1 - i];  // they stand last first
        V_VT(&one) = VT_BYREF | VT_VARIANT;
        V_VARIANTREF(&one) = arguments[i];
    }
    DISPPARAMS parameters{given.data(), nullptr, static_cast<UINT>(given.size()), 0};
    EXCEPINFO exception{};
    const ComPtr<IDispatch> script = parts_->script;
    const HRESULT code = parts_->escape.run([&] {
        return script->Invoke(id,
                              IID_NULL,
                              LOCALE_USER_DEFAULT,
                              DISPATCH_METHOD,
                              &parameters,
                              &result,
                              &exception,
                              nullptr);
    });
    if (code == DISP_E_EXCEPTION) {
        ScriptFailure failure = parts_->site->judged(FailureOf(exception));
        Outcome reported = std::exchange(parts_->site->reported, std::nullopt);
        return reported ? std::move(reported) : Outcome(std::move(failure));
    }
    return parts_->outcome(code);
}

void ScriptEngine::Close() noexcept {
    if (parts_->engine && parts_->escape.hasHappened()) {
        // It stands where it was left: it cannot be closed, and is not let go of.
        parts_->script.detach();
        parts_->engine.detach();
        parts_->site->items.clear();
    } else if (parts_->engine) {
        parts_->script.reset();
        parts_->engine->Close();
        parts_->engine.reset();
        parts_->site->items.clear();
    }
}

}  // namespace kel::scripting
