#include "hosts/embedded/script_engine.h"

#include <algorithm>
#include <map>
#include <optional>
#include <vector>

#include "automation/error.h"
#include "automation/plain_object.h"
#include "automation/variant.h"
#include "hosts/embedded/account_objects.h"
#include "hosts/embedded/edges.h"

namespace kel::embedded {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

// What the engine asks of its host: the objects behind names, and where to report errors.
class ScriptSite final : public PlainObject<IActiveScriptSite> {
public:
    explicit ScriptSite(Text program) : program_(std::move(program)) {}

    void add(const wchar_t* name, ComPtr<IDispatch> object) { items_[name] = std::move(object); }
    const std::map<Text, ComPtr<IDispatch>>& items() const { return items_; }
    void forget() { items_.clear(); }

    // The error reported since the last call.
    std::optional<Error> takeError() { return std::exchange(error_, std::nullopt); }

    STDMETHODIMP GetLCID(LCID*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetItemInfo(LPCOLESTR name,
                             DWORD wanted,
                             IUnknown** item,
                             ITypeInfo** type) noexcept override {
        if ((wanted & SCRIPTINFO_ITYPEINFO) != 0 && type != nullptr) {
            *type = nullptr;
        }
        if ((wanted & SCRIPTINFO_IUNKNOWN) == 0) {
            return S_OK;
        }
        const auto found = items_.find(name);
        *item = found == items_.end() ? nullptr : ComPtr<IUnknown>(found->second).detach();
        return found == items_.end() ? TYPE_E_ELEMENTNOTFOUND : S_OK;
    }
    STDMETHODIMP GetDocVersionString(BSTR*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP OnScriptTerminate(const VARIANT*, const EXCEPINFO*) noexcept override {
        return S_OK;
    }
    STDMETHODIMP OnStateChange(SCRIPTSTATE) noexcept override { return S_OK; }
    STDMETHODIMP OnScriptError(IActiveScriptError* reported) noexcept override {
        Ignoring([&] {
            EXCEPINFO exception{};
            Check(reported->GetExceptionInfo(&exception));
            const Bstr source = Bstr::Adopt(exception.bstrSource);
            const Bstr description = Bstr::Adopt(exception.bstrDescription);
            SysFreeString(exception.bstrHelpFile);
            DWORD context = 0;
            ULONG line = 0;
            LONG column = 0;
            reported->GetSourcePosition(&context, &line, &column);
            const long number = NumberOfCode(exception.scode);
            const Text what(description.view().empty() ? StandardText(number)
                                                       : Text(description.view()));
            // What a program called and failed was reported with its own place already.
            const bool isPlaced = what.starts_with(L"Program \"");
            error_ = Error(number,
                           kHostSource,
                           isPlaced ? what
                                    : L"Program \"" + program_ + L"\", line " +
                                          DecimalText(static_cast<long>(line) + 1) + L": " + what);
        });
        return S_OK;
    }
    STDMETHODIMP OnEnterScript() noexcept override { return S_OK; }
    STDMETHODIMP OnLeaveScript() noexcept override { return S_OK; }

private:
    ~ScriptSite() override = default;

    Text program_;
    std::map<Text, ComPtr<IDispatch>> items_;
    std::optional<Error> error_;
};

namespace {

// The 32- and the 64-bit interface differ in one parameter's width.
#ifdef _WIN64
using IScriptParser = IActiveScriptParse64;
#else
using IScriptParser = IActiveScriptParse32;
#endif

ComPtr<IActiveScript> CreateEngine(text::TextView id) {
    const wchar_t* language =
        id.ends_with(u".js") || id.ends_with(u".JS") ? L"JScript" : L"VBScript";
    CLSID clsid{};
    ComPtr<IActiveScript> engine;
    if (FAILED(CLSIDFromProgID(language, &clsid)) ||
        FAILED(CoCreateInstance(clsid,
                                nullptr,
                                CLSCTX_INPROC_SERVER,
                                IID_IActiveScript,
                                reinterpret_cast<void**>(engine.put())))) {
        throw Error(kCannotCreateObject,
                    kHostSource,
                    Text(L"Program \"").append(Wide(id)) + L"\" needs the script engine " +
                        language + L", which is not installed here.");
    }
    return engine;
}

}  // namespace

ScriptEngine::ScriptEngine(const text::Text& id,
                           text::Text text,
                           const ComPtr<IDispatch>& account,
                           const ComPtr<IDispatch>& application)
    : source_(std::move(text)),
      site_(ComPtr<ScriptSite>::Adopt(new ScriptSite(Text(Wide(id))))),
      arguments_(Make<ProgramArguments>()),
      engine_(CreateEngine(id)) {
    site_->add(L"Account", account);
    site_->add(L"Arguments", arguments_);
    if (application) {
        site_->add(L"Application", application);
    }
    load();
}

ScriptEngine::~ScriptEngine() {
    engine_->Close();
    site_->forget();
}

void ScriptEngine::load() {
    const auto parser = engine_.as<IScriptParser>();
    Check(parser ? S_OK : E_NOINTERFACE);
    Check(engine_->SetScriptSite(site_.get()));
    Check(parser->InitNew());
    for (const auto& [name, object] : site_->items()) {
        Check(engine_->AddNamedItem(name.c_str(), SCRIPTITEM_ISVISIBLE));
    }
    Text code(Wide(source_));
    std::replace(code.begin(), code.end(), wchar_t{text::kAttributeMark}, L'\n');
    const HRESULT parsed = parser->ParseScriptText(
        code.c_str(), nullptr, nullptr, nullptr, 0, 0, SCRIPTTEXT_ISVISIBLE, nullptr, nullptr);
    if (auto error = site_->takeError()) {
        throw std::move(*error);
    }
    Check(parsed);
}

void ScriptEngine::run(std::span<VARIANT* const> arguments) {
    struct Lent {
        ProgramArguments& object;
        ~Lent() { object.current = {}; }
    } lent{*arguments_};
    lent.object.current = arguments;

    // Starting runs the code outside procedures.
    SCRIPTSTATE state = SCRIPTSTATE_UNINITIALIZED;
    Check(engine_->GetScriptState(&state));
    const HRESULT code =
        state == SCRIPTSTATE_CONNECTED ? S_OK : engine_->SetScriptState(SCRIPTSTATE_CONNECTED);
    ComPtr<IDispatch> script;
    DISPID main = DISPID_UNKNOWN;
    if (auto error = site_->takeError()) {
        throw std::move(*error);
    }
    Check(code);
    Check(engine_->GetScriptDispatch(nullptr, script.put()));
    wchar_t name[] = L"Main";
    wchar_t* names[] = {name};
    hasMain_ = SUCCEEDED(script->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &main));
    if (hasMain_) {
        callMain(*script, main, arguments);
    }
}

void ScriptEngine::callMain(IDispatch& script, DISPID main, std::span<VARIANT* const> arguments) {
    std::vector<VARIANTARG> given(arguments.size());
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        VARIANTARG& one = given[arguments.size() - 1 - i];  // they stand last first
        V_VT(&one) = VT_BYREF | VT_VARIANT;
        V_VARIANTREF(&one) = arguments[i];
    }
    DISPPARAMS params{given.data(), nullptr, static_cast<UINT>(given.size()), 0};
    Variant ignored;
    EXCEPINFO exception{};
    const HRESULT code = script.Invoke(main,
                                       IID_NULL,
                                       LOCALE_USER_DEFAULT,
                                       DISPATCH_METHOD,
                                       &params,
                                       ignored.inOut(),
                                       &exception,
                                       nullptr);
    const Bstr description = Bstr::Adopt(exception.bstrDescription);
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrHelpFile);
    if (auto error = site_->takeError()) {
        throw std::move(*error);
    }
    if (FAILED(code)) {
        throw Error(NumberOfCode(code == DISP_E_EXCEPTION ? exception.scode : code),
                    kHostSource,
                    description.view());
    }
}

}  // namespace kel::embedded
