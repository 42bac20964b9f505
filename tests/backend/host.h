// A back-end object: every entry of the interface written down and scripted, and behind that a
// small database in memory.
#pragma once

#include <map>

#include "automation/object.h"
#include "kelSDK.h"
#include "tests/backend/state.h"

namespace kel::tests {

// Raises what a test wants raised; the HRESULT to return.
HRESULT RaiseFailure(const Failure& failure);

class Host final : public automation::Object<::mviHostDLL, _mviHostDLL> {
public:
    explicit Host(short osType);

    long number() const { return number_; }
    Text propertyText(TextView name) const;
    void setConnected(bool connected) { connected_ = connected; }

    STDMETHODIMP PropertyCount(short* result) noexcept override;
    STDMETHODIMP GetPropertyName(short index, BSTR* name, BSTR* type) noexcept override;
    STDMETHODIMP get_PropertyValue(BSTR name, BSTR* result) noexcept override;
    STDMETHODIMP put_PropertyValue(BSTR name, BSTR value) noexcept override;
    STDMETHODIMP get_PropertyObject(BSTR name, IDispatch** result) noexcept override;
    STDMETHODIMP putref_PropertyObject(BSTR name, IDispatch** value) noexcept override;
    STDMETHODIMP get_PropertyDescription(BSTR name, BSTR* result) noexcept override;
    STDMETHODIMP get_PropertyDefault(BSTR name, VARIANT* result) noexcept override;
    STDMETHODIMP get_OsType(short* result) noexcept override;
    STDMETHODIMP get_OsDescription(BSTR* result) noexcept override;
    STDMETHODIMP get_DatabaseType(DatabaseTypeEnum* result) noexcept override;
    STDMETHODIMP get_Version(BSTR* result) noexcept override;
    STDMETHODIMP get_IsConnected(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP get_ConnectFailed(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP Connect() noexcept override;
    STDMETHODIMP Disconnect() noexcept override;
    STDMETHODIMP CreateDynamicArray(BSTR data, IDispatch** result) noexcept override;
    STDMETHODIMP Extract(
        IDispatch** array, long amc, long vmc, long smc, BSTR* result) noexcept override;
    STDMETHODIMP Replace(
        IDispatch** array, BSTR value, long amc, long vmc, long smc) noexcept override;
    STDMETHODIMP Insert(
        IDispatch** array, BSTR value, long amc, long vmc, long smc) noexcept override;
    STDMETHODIMP Delete(IDispatch** array, long amc, long vmc, long smc) noexcept override;
    STDMETHODIMP Locate(IDispatch** array,
                        long* position,
                        BSTR search,
                        long amc,
                        long vmc,
                        BSTR sortBy,
                        VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP Dcount(BSTR delimiter,
                        IDispatch** array,
                        long amc,
                        long vmc,
                        long smc,
                        long* result) noexcept override;
    STDMETHODIMP Oconv(BSTR value, BSTR conversion, VARIANT* result) noexcept override;
    STDMETHODIMP Iconv(BSTR value, BSTR conversion, VARIANT* result) noexcept override;
    STDMETHODIMP mvRead(VARIANT_BOOL readU,
                        BSTR id,
                        IDispatch** file,
                        short* status,
                        IDispatch** result) noexcept override;
    STDMETHODIMP mvWrite(VARIANT_BOOL writeU,
                         BSTR id,
                         IDispatch** file,
                         IDispatch** array) noexcept override;
    STDMETHODIMP mvDelete(BSTR id, IDispatch** file) noexcept override;
    STDMETHODIMP mvRelease(IDispatch** file, BSTR id) noexcept override;
    STDMETHODIMP CallHost(BSTR program,
                          VARIANT* a1,
                          VARIANT* a2,
                          VARIANT* a3,
                          VARIANT* a4,
                          VARIANT* a5,
                          VARIANT* a6,
                          VARIANT* a7,
                          VARIANT* a8,
                          VARIANT* a9,
                          VARIANT* a10,
                          VARIANT* a11,
                          VARIANT* a12) noexcept override;
    STDMETHODIMP OpenFile(BSTR name, IDispatch** result) noexcept override;
    STDMETHODIMP CloseFile(IDispatch** file) noexcept override;
    STDMETHODIMP ProcessSelect(BSTR sentence, IDispatch** result) noexcept override;
    STDMETHODIMP CloseSelect(IDispatch* list, VARIANT* result) noexcept override;
    STDMETHODIMP ReadNext(IDispatch** list, BSTR* id, VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP Execute(BSTR sentence, BSTR* capture, BSTR* returning) noexcept override;
    STDMETHODIMP ReadDictItem(BSTR file,
                              BSTR name,
                              long* attribute,
                              BSTR* conversion,
                              BSTR* label,
                              BSTR* justification,
                              BSTR* correlative,
                              short* length) noexcept override;
    STDMETHODIMP WriteDictItem(BSTR file,
                               BSTR name,
                               long attribute,
                               BSTR conversion,
                               BSTR label,
                               BSTR justification,
                               BSTR correlative,
                               short length) noexcept override;
    STDMETHODIMP ProcessCorrelative(IDispatch** array,
                                    BSTR value,
                                    BSTR key,
                                    BSTR file,
                                    short count,
                                    BSTR correlative,
                                    BSTR* internalCorrelative,
                                    BSTR* result) noexcept override;
    STDMETHODIMP ValidCorrelative(BSTR correlative, VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP SelectDictName(BSTR file,
                                VARIANT_BOOL includeCorrelative,
                                IDispatch** result) noexcept override;
    STDMETHODIMP SelectFileName(IDispatch** result) noexcept override;

private:
    using Kind = Opaque::Kind;

    ~Host() override;

    // One entry: recorded, scripted, and `body` as its default.
    HRESULT entry(Member member,
                  std::initializer_list<Parameter> parameters,
                  const std::function<void()>& body) noexcept;

    const short osType_;
    const long number_;
    bool connected_;
    bool connectFailed_ = false;
    std::map<Text, Text> propertyTexts_;
    std::map<Text, ComPtr<IDispatch>> propertyObjects_;
};

}  // namespace kel::tests
