// The objects that the test back-end hands out: record buffers, file variables, select lists.
// Opaque to everybody else: they have no members to call.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <vector>

#include "hosts/multivalue/dynamic_array.h"
#include "tests/backend/test_backend.h"

namespace kel::tests {

class Opaque final : public IDispatch {
public:
    enum class Kind { kArray, kFile, kList };

    static ComPtr<Opaque> Make(Kind kind);
    // The object behind a reference, when it is one of ours; borrowed.
    static Opaque* From(IUnknown* object);
    static Text NameOf(IUnknown* object);
    static long Live(Kind kind);
    static void RestartNumbers();

    const Kind kind;
    const long number;

    multivalue::DynamicArray array;  // of a record buffer
    Text file;                       // of a file variable
    std::vector<Text> ids;           // of a select list
    std::size_t next = 0;
    bool isOpen = true;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override;
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() noexcept override;
    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override;
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept override {
        return DISP_E_UNKNOWNNAME;
    }
    STDMETHODIMP Invoke(
        DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) noexcept override {
        return DISP_E_MEMBERNOTFOUND;
    }

private:
    explicit Opaque(Kind itsKind);
    ~Opaque();

    ULONG references_ = 1;
};

inline multivalue::TextView Units(TextView text) {
    static_assert(sizeof(wchar_t) == sizeof(char16_t));
    return {reinterpret_cast<const char16_t*>(text.data()), text.size()};
}
inline Text FromUnits(multivalue::TextView text) {
    return {reinterpret_cast<const wchar_t*>(text.data()), text.size()};
}

}  // namespace kel::tests
