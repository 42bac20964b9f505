// The creatable class that publishes the back-end interface: every body is empty.
#pragma once

#include "automation/object.h"
#include "kelSDK.h"

namespace kel::backend {

// Authors of back-ends read the interface off it, and programs that look for a class of the name
// find one; the component never uses it as a back-end. Each member succeeds, answers the default of
// its result type ("", 0, False, Empty, Nothing) and leaves by-reference arguments alone. A null
// address for a result is E_POINTER. What a true back-end owes its callers is in docs/back-ends.md.
//
// Creatable, and without state: any number of them, on any thread, each used on its own.
class EmptyHost final : public automation::Object<mviHostDLL, _mviHostDLL> {
public:
    EmptyHost() = default;

    // Properties, by number from 1 and by name
    STDMETHODIMP PropertyCount(short* result) noexcept override { return empty(result); }
    STDMETHODIMP GetPropertyName(short, BSTR*, BSTR*) noexcept override { return S_OK; }
    STDMETHODIMP get_PropertyValue(BSTR, BSTR* result) noexcept override { return empty(result); }
    STDMETHODIMP put_PropertyValue(BSTR, BSTR) noexcept override { return S_OK; }
    STDMETHODIMP get_PropertyObject(BSTR, IDispatch** result) noexcept override {
        return empty(result);
    }
    STDMETHODIMP putref_PropertyObject(BSTR, IDispatch**) noexcept override { return S_OK; }
    STDMETHODIMP get_PropertyDescription(BSTR, BSTR* result) noexcept override {
        return empty(result);
    }
    STDMETHODIMP get_PropertyDefault(BSTR, VARIANT* result) noexcept override {
        return empty(result);
    }

    // What kind of back-end it is: number 0, database type 0, and no version, so that it is never
    // taken for one of an accepted version
    STDMETHODIMP get_OsType(short* result) noexcept override { return empty(result); }
    STDMETHODIMP get_OsDescription(BSTR* result) noexcept override { return empty(result); }
    STDMETHODIMP get_DatabaseType(DatabaseTypeEnum* result) noexcept override {
        return empty(result);
    }
    STDMETHODIMP get_Version(BSTR* result) noexcept override { return empty(result); }

    // Connection: Connect succeeds, and it is not connected
    STDMETHODIMP get_IsConnected(VARIANT_BOOL* result) noexcept override { return empty(result); }
    STDMETHODIMP get_ConnectFailed(VARIANT_BOOL* result) noexcept override { return empty(result); }
    STDMETHODIMP Connect() noexcept override { return S_OK; }
    STDMETHODIMP Disconnect() noexcept override { return S_OK; }

    // Dynamic arrays and conversions: no array is ever made
    STDMETHODIMP CreateDynamicArray(BSTR, IDispatch** result) noexcept override {
        return empty(result);
    }
    STDMETHODIMP Extract(IDispatch**, long, long, long, BSTR* result) noexcept override {
        return empty(result);
    }
    STDMETHODIMP Replace(IDispatch**, BSTR, long, long, long) noexcept override { return S_OK; }
    STDMETHODIMP Insert(IDispatch**, BSTR, long, long, long) noexcept override { return S_OK; }
    STDMETHODIMP Delete(IDispatch**, long, long, long) noexcept override { return S_OK; }
    STDMETHODIMP
    Locate(IDispatch**, long*, BSTR, long, long, BSTR, VARIANT_BOOL* result) noexcept override {
        return empty(result);
    }
    STDMETHODIMP Dcount(BSTR, IDispatch**, long, long, long, long* result) noexcept override {
        return empty(result);
    }
    STDMETHODIMP Oconv(BSTR, BSTR, VARIANT* result) noexcept override { return empty(result); }
    STDMETHODIMP Iconv(BSTR, BSTR, VARIANT* result) noexcept override { return empty(result); }

    // Records and stored programs: a read leaves its status alone and gives no array
    STDMETHODIMP
    mvRead(VARIANT_BOOL, BSTR, IDispatch**, short*, IDispatch** result) noexcept override {
        return empty(result);
    }
    STDMETHODIMP mvWrite(VARIANT_BOOL, BSTR, IDispatch**, IDispatch**) noexcept override {
        return S_OK;
    }
    STDMETHODIMP mvDelete(BSTR, IDispatch**) noexcept override { return S_OK; }
    STDMETHODIMP mvRelease(IDispatch**, BSTR) noexcept override { return S_OK; }
    STDMETHODIMP CallHost(BSTR,
                          VARIANT*,
                          VARIANT*,
                          VARIANT*,
                          VARIANT*,
                          VARIANT*,
                          VARIANT*,
                          VARIANT*,
                          VARIANT*,
                          VARIANT*,
                          VARIANT*,
                          VARIANT*,
                          VARIANT*) noexcept override {
        return S_OK;
    }

    // Files, select lists and commands
    STDMETHODIMP OpenFile(BSTR, IDispatch** result) noexcept override { return empty(result); }
    STDMETHODIMP CloseFile(IDispatch**) noexcept override { return S_OK; }
    STDMETHODIMP ProcessSelect(BSTR, IDispatch** result) noexcept override { return empty(result); }
    STDMETHODIMP CloseSelect(IDispatch*, VARIANT* result) noexcept override {
        return empty(result);
    }
    STDMETHODIMP ReadNext(IDispatch**, BSTR*, VARIANT_BOOL* result) noexcept override {
        return empty(result);
    }
    STDMETHODIMP Execute(BSTR, BSTR*, BSTR*) noexcept override { return S_OK; }

    // Dictionary items and correlatives
    STDMETHODIMP
    ReadDictItem(BSTR, BSTR, long*, BSTR*, BSTR*, BSTR*, BSTR*, short*) noexcept override {
        return S_OK;
    }
    STDMETHODIMP
    WriteDictItem(BSTR, BSTR, long, BSTR, BSTR, BSTR, BSTR, short) noexcept override {
        return S_OK;
    }
    STDMETHODIMP
    ProcessCorrelative(
        IDispatch**, BSTR, BSTR, BSTR, short, BSTR, BSTR*, BSTR* result) noexcept override {
        return empty(result);
    }
    STDMETHODIMP ValidCorrelative(BSTR, VARIANT_BOOL* result) noexcept override {
        return empty(result);
    }
    STDMETHODIMP SelectDictName(BSTR, VARIANT_BOOL, IDispatch** result) noexcept override {
        return empty(result);
    }
    STDMETHODIMP SelectFileName(IDispatch** result) noexcept override { return empty(result); }

private:
    ~EmptyHost() override = default;

    // A text is an empty one, not null: some clients tell them apart.
    template <typename T>
    static HRESULT empty(T* result) noexcept {
        return automation::ComMethod([&] {
            automation::Out out{result};
            if constexpr (std::is_same_v<T, BSTR>) {
                out = automation::Bstr();
            }
        });
    }
};

}  // namespace kel::backend
