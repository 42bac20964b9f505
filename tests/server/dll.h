// The product's DLLs as files: loaded by path, with the entry points that COM calls.
#pragma once

#include <windows.h>

#include "tests/support/values.h"

namespace kel::tests {

// Full path of "kelSDK.dll" or "kelos1.dll", where the build puts them.
Text ProductPath(const wchar_t* name);

// One reference to a loaded DLL.
class Dll {
public:
    // By name for one of the product, or by full path. Throws the platform's error when it cannot
    // be loaded.
    explicit Dll(const Text& name);
    Dll(const Dll&) = delete;
    Dll& operator=(const Dll&) = delete;
    ~Dll() { free(); }

    HMODULE module() const { return module_; }
    void free();

    HRESULT getClassObject(REFCLSID clsid, REFIID iid, void** object) const;
    HRESULT canUnloadNow() const;
    HRESULT registerServer() const;
    HRESULT unregisterServer() const;
    HRESULT install(bool install, const wchar_t* argument) const;

    // A new object through the class factory.
    template <typename T>
    ComPtr<T> make(REFCLSID clsid) const {
        ComPtr<IClassFactory> factory;
        ComPtr<T> object;
        if (SUCCEEDED(getClassObject(
                clsid, IID_IClassFactory, reinterpret_cast<void**>(factory.put())))) {
            factory->CreateInstance(nullptr, __uuidof(T), reinterpret_cast<void**>(object.put()));
        }
        return object;
    }

private:
    template <typename Function>
    Function entry(const char* name) const;

    HMODULE module_ = nullptr;
};

// The class of the embedded back-end.
inline constexpr CLSID kEmbeddedClass = {
    0xf9400713, 0x436c, 0x4cd3, {0xac, 0xe3, 0xe8, 0x55, 0x06, 0xbd, 0x90, 0x72}};

}  // namespace kel::tests
