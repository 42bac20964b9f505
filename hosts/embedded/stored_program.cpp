// The names that a stored program finds, and its procedure Main.
#include "hosts/embedded/stored_program.h"

#include <algorithm>

#include "automation/variant.h"
#include "hosts/embedded/account_objects.h"
#include "hosts/embedded/edges.h"

namespace kel::embedded {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr const wchar_t* kMain = L"Main";

std::unique_ptr<scripting::ScriptEngine> OpenEngine(text::TextView id) {
    const scripting::Language language = scripting::LanguageOf(Wide(id));
    auto engine = scripting::ScriptEngine::Open(language);
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
                             const ComPtr<IDispatch>& account,
                             const ComPtr<IDispatch>& application)
    : source_(std::move(text)), engine_(OpenEngine(id)), arguments_(Make<ProgramArguments>()) {
    engine_->Add(L"Account", *account);
    engine_->Add(L"Arguments", *arguments_);
    if (application) {
        engine_->Add(L"Application", *application);
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
