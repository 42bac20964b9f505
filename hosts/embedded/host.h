// kelos1.IHostDLL: the embedded multivalue database as a back-end of the component.
#pragma once

#include "automation/object.h"
#include "hosts/embedded/connection.h"
#include "hosts/embedded/objects.h"
#include "hosts/embedded/properties.h"
#include "kelSDK.h"

namespace kel::embedded {

// One session with one account. Record buffers work without a connection; everything else raises
// 10102 (NotConnected) without one. File variables end with the connection that opened them
// (10302). Errors name the member ("kelos1::" and its name) and say what the object in question
// was.
class Host final : public automation::Object<mviHostDLL, _mviHostDLL> {
public:
    Host() = default;

    // host_session.cpp: configuration, identity, connection
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

    // host_arrays.cpp: record buffers
    STDMETHODIMP CreateDynamicArray(BSTR data, IDispatch** result) noexcept override;
    STDMETHODIMP
    Extract(IDispatch** array, long amc, long vmc, long smc, BSTR* result) noexcept override;
    STDMETHODIMP
    Replace(IDispatch** array, BSTR value, long amc, long vmc, long smc) noexcept override;
    STDMETHODIMP
    Insert(IDispatch** array, BSTR value, long amc, long vmc, long smc) noexcept override;
    STDMETHODIMP Delete(IDispatch** array, long amc, long vmc, long smc) noexcept override;
    STDMETHODIMP Locate(IDispatch** array,
                        long* pos,
                        BSTR search,
                        long amc,
                        long vmc,
                        BSTR sortBy,
                        VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP Dcount(BSTR delimit,
                        IDispatch** array,
                        long amc,
                        long vmc,
                        long smc,
                        long* result) noexcept override;

    // host_records.cpp: files and records
    STDMETHODIMP mvRead(VARIANT_BOOL readU,
                        BSTR recordNumber,
                        IDispatch** fileVar,
                        short* status,
                        IDispatch** result) noexcept override;
    STDMETHODIMP mvWrite(VARIANT_BOOL writeU,
                         BSTR recordNumber,
                         IDispatch** fileVar,
                         IDispatch** array) noexcept override;
    STDMETHODIMP mvDelete(BSTR recordNumber, IDispatch** fileVar) noexcept override;
    STDMETHODIMP mvRelease(IDispatch** fileVar, BSTR recordNumber) noexcept override;
    STDMETHODIMP OpenFile(BSTR fileName, IDispatch** result) noexcept override;
    STDMETHODIMP CloseFile(IDispatch** fileVar) noexcept override;

    // host_commands.cpp: conversions, the command level, stored programs
    STDMETHODIMP Oconv(BSTR value, BSTR code, VARIANT* result) noexcept override;
    STDMETHODIMP Iconv(BSTR value, BSTR code, VARIANT* result) noexcept override;
    STDMETHODIMP Execute(BSTR sentence, BSTR* capture, BSTR* returning) noexcept override;
    STDMETHODIMP CallHost(BSTR progName,
                          VARIANT* arg1,
                          VARIANT* arg2,
                          VARIANT* arg3,
                          VARIANT* arg4,
                          VARIANT* arg5,
                          VARIANT* arg6,
                          VARIANT* arg7,
                          VARIANT* arg8,
                          VARIANT* arg9,
                          VARIANT* arg10,
                          VARIANT* arg11,
                          VARIANT* arg12) noexcept override;

    // host_selections.cpp: select lists
    STDMETHODIMP ProcessSelect(BSTR sentence, IDispatch** result) noexcept override;
    STDMETHODIMP CloseSelect(IDispatch* selectList, VARIANT* result) noexcept override;
    STDMETHODIMP
    ReadNext(IDispatch** selectList, BSTR* id, VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP
    SelectDictName(BSTR fileName,
                   VARIANT_BOOL withCorrelatives,
                   IDispatch** result) noexcept override;
    STDMETHODIMP SelectFileName(IDispatch** result) noexcept override;

    // host_dictionary.cpp: definitions of fields and their correlatives
    STDMETHODIMP ReadDictItem(BSTR fileName,
                              BSTR dictName,
                              long* amc,
                              BSTR* conversion,
                              BSTR* label,
                              BSTR* justification,
                              BSTR* correlative,
                              short* length) noexcept override;
    STDMETHODIMP WriteDictItem(BSTR fileName,
                               BSTR dictName,
                               long amc,
                               BSTR conversion,
                               BSTR label,
                               BSTR justification,
                               BSTR correlative,
                               short length) noexcept override;
    STDMETHODIMP ProcessCorrelative(IDispatch** array,
                                    BSTR value,
                                    BSTR key,
                                    BSTR fileName,
                                    short cnt,
                                    BSTR correlative,
                                    BSTR* internalCorrelative,
                                    BSTR* result) noexcept override;
    STDMETHODIMP ValidCorrelative(BSTR correlative, VARIANT_BOOL* result) noexcept override;

private:
    ~Host() override;

    // The open connection, held for a call; throws 10102.
    std::shared_ptr<Connection> connection() const;
    // The file behind a file variable of this connection; throws 10302.
    store::FileNumber fileOf(IDispatch** fileVar) const;

    ConnectionProperties properties_;
    std::shared_ptr<Connection> connection_;
    bool connectFailed_ = false;
};

}  // namespace kel::embedded
