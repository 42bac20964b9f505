// The names that a stored program finds, and its procedure Main.
#include "hosts/embedded/stored_program.h"

#include <algorithm>

#include "automation/plain_object.h"
#include "automation/variant.h"
#include "hosts/embedded/account_objects.h"
#include "hosts/embedded/edges.h"

namespace kel::embedded {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr const wchar_t* kMain = L"Main";

// Stands for the client's object where programs are not to use it.
class WithheldObject final : public PlainObject<IDispatch> {
public:
    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT count, LCID, DISPID* ids) noexcept override {
        std::fill(ids, ids + count, DISPID_UNKNOWN);
        ids[0] = 1;
        return S_OK;
    }
    STDMETHODIMP Invoke(DISPID,
                        REFIID,
                        LCID,
                        WORD,
                        DISPPARAMS*,
                        VARIANT*,
                        EXCEPINFO* exception,
                        UINT*) noexcept override {
        const HRESULT code = CodeOfNumber(NumberOf(text::ErrorKind::kNotTrusted));
        if (exception == nullptr) {
            return code;
        }
        *exception = {};
        exception->scode = code;
        Ignoring([&] {
            exception->bstrSource = Bstr(kHostSource).detach();
            exception->bstrDescription =
                Bstr(L"A sealed program may not use Application.").detach();
        });
        return DISP_E_EXCEPTION;
    }

private:
    ~WithheldObject() override = default;
};

std::unique_ptr<scripting::ScriptEngine> OpenEngine(text::TextView id, scripting::Trust trust) {
    const scripting::Language language = scripting::LanguageOf(Wide(id));
    auto engine = scripting::ScriptEngine::Open(language, trust);
    if (!engine) {
        throw Error(kCannotCreateObject,
                    kHostSource,
                    Text(L"Program \"").append(Wide(id)) + L"\" needs the script engine " +
                        scripting::NameOf(language) + L", which is not installed here.");
    }
    return engine;
}

}  // namespace

StoredProgram::StoredProgram(const text::Text& id,
                             text::Text text,
                             scripting::Trust trust,
                             const ComPtr<IDispatch>& account,
                             const ComPtr<IDispatch>& application)
    : source_(std::move(text)),
      engine_(OpenEngine(id, trust)),
      arguments_(Make<ProgramArguments>()) {
    engine_->Add(L"Account", *account);
    engine_->Add(L"Arguments", *arguments_);
    if (application && trust == scripting::Trust::kFull) {
        engine_->Add(L"Application", *application);
    } else if (application) {
        engine_->Add(L"Application", *ComPtr<IDispatch>::Adopt(new WithheldObject));
    }
}

StoredProgram::~StoredProgram() = default;

scripting::Outcome StoredProgram::run(std::span<VARIANT* const> arguments) {
    struct Lent {
        ProgramArguments& object;
        ~Lent() { object.current = {}; }
    } lent{*arguments_};
    lent.object.current = arguments;

    if (!std::exchange(isLoaded_, true)) {
        Text code(Wide(source_));
        std::replace(code.begin(), code.end(), wchar_t{text::kAttributeMark}, L'\n');
        if (auto failure = engine_->Load(code)) {
            return failure;
        }
    }
    if (auto failure = engine_->Start()) {
        return failure;
    }
    hasMain_ = engine_->HasProcedure(kMain);
    Variant ignored;
    return engine_->Call(kMain, arguments, *ignored.put());
}

}  // namespace kel::embedded
