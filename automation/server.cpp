// The class factories behind the exports of a DLL.
#include "automation/server.h"

#include <algorithm>

#include "automation/com_method.h"
#include "automation/module.h"
#include "automation/plain_object.h"
#include "automation/type_library.h"

namespace kel::automation {
namespace {

HMODULE moduleHandle = nullptr;

// One factory serves one class.
class ClassFactory final : public PlainObject<IClassFactory> {
public:
    explicit ClassFactory(const ClassEntry& entry) noexcept : entry_(entry) {}

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept override {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = nullptr;
        return outer != nullptr ? CLASS_E_NOAGGREGATION : entry_.create(iid, object);
    }
    STDMETHODIMP LockServer(BOOL lock) noexcept override {
        lock ? ModuleLocks::add() : ModuleLocks::remove();
        return S_OK;
    }

private:
    ~ClassFactory() override = default;

    const ClassEntry& entry_;
};

}  // namespace

void ServerAttach(HMODULE module) noexcept {
    moduleHandle = module;
}

HMODULE ModuleHandle() noexcept {
    return moduleHandle;
}

std::wstring ModulePath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            GetModuleFileNameW(moduleHandle, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) {
            throw Error::FromCode(HRESULT_FROM_WIN32(GetLastError()));
        }
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

HRESULT ServerGetClassObject(REFCLSID clsid, REFIID iid, void** object) noexcept {
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    const auto classes = ThisModule().classes;
    const auto entry = std::find_if(classes.begin(), classes.end(), [&](const ClassEntry& one) {
        return IsEqualCLSID(one.clsid, clsid);
    });
    if (entry == classes.end()) {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    return ComMethod([&] {
        const auto factory = ComPtr<ClassFactory>::Adopt(new ClassFactory(*entry));
        const HRESULT code = factory->QueryInterface(iid, object);
        if (FAILED(code)) {
            throw Error::FromCode(code);
        }
    });
}

HRESULT ServerCanUnloadNow() noexcept {
    if (ModuleLocks::count() != 0) {
        return S_FALSE;
    }
    ReleaseTypeInfos();
    return S_OK;
}

}  // namespace kel::automation
