// The session engine: all database work of one session. Private to the component; the session
// callback, the tools object and the dictionary item call it.
#pragma once

#include "automation/object.h"
#include "engine/common_values.h"
#include "engine/connection.h"
#include "engine/correlatives.h"
#include "engine/definitions.h"
#include "engine/elements.h"
#include "engine/file_variables.h"
#include "engine/host_calls.h"
#include "engine/host_link.h"
#include "engine/key_fields.h"
#include "engine/name_lists.h"
#include "engine/record_states.h"
#include "engine/records.h"
#include "engine/select_lists.h"
#include "kelEngine.h"

namespace kel::engine {

// Published as one object; the work is done by its parts, each of which knows what it is given and
// states which failures it traps and which reach the caller. Here arguments are checked, items read
// and failures trapped for members that raise none.
//
// Back-end calls, events and message pumps run foreign code in the middle of members; that code may
// disconnect, or remove the very thing in hand. Parts therefore hold references of their own across
// every such call and look their environment up again afterwards. Whoever calls a member holds the
// engine meanwhile; members that go on after telling others keep it themselves. One thread.
class Dbms final : public automation::Object<kelDBMS, _kelDBMS, IByKeyField> {
public:
    explicit Dbms(TextView sessionName);

    // connection
    STDMETHODIMP get_SessionName(BSTR* result) noexcept override;
    STDMETHODIMP put_SessionName(BSTR value) noexcept override;
    STDMETHODIMP get_AutoUpdateOk(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP put_AutoUpdateOk(VARIANT_BOOL value) noexcept override;
    STDMETHODIMP get_IsConnected(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP get_IsConnecting(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP get_ConnectionFailed(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP get_ConnectionErrMsg(BSTR* result) noexcept override;
    STDMETHODIMP Connect(VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP Disconnect() noexcept override;
    STDMETHODIMP get_OsType(short* result) noexcept override;
    STDMETHODIMP put_OsType(short value) noexcept override;
    STDMETHODIMP ValidOsType(short osType, VARIANT_BOOL* result) noexcept override;

    // elements
    STDMETHODIMP Extract(IDispatch* item, BSTR* result) noexcept override;
    STDMETHODIMP Replace(BSTR value, IDispatch* item) noexcept override;
    STDMETHODIMP Insert(BSTR value, IDispatch* item) noexcept override;
    STDMETHODIMP Delete(IDispatch* item) noexcept override;
    STDMETHODIMP Locate(BSTR search,
                        long* pos,
                        BSTR sortBy,
                        IDispatch* item,
                        VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP Dcount(BSTR delimit, IDispatch* item, long* result) noexcept override;
    STDMETHODIMP
    ProcessCorrelative(
        BSTR value, BSTR key, short cnt, IDispatch* item, BSTR* result) noexcept override;

    // files
    STDMETHODIMP mvOpen(BSTR fileName, short* result) noexcept override;
    STDMETHODIMP OpenFileVar(BSTR fileName, IDispatch** result) noexcept override;
    STDMETHODIMP mvCloseFile(BSTR fileName) noexcept override;

    // records
    STDMETHODIMP mvRead(BSTR recordNumber, IDispatch* item, short* result) noexcept override;
    STDMETHODIMP mvWrite(VARIANT_BOOL writeU,
                         BSTR recordNumber,
                         IDispatch* item,
                         short* result) noexcept override;
    STDMETHODIMP mvDelete(BSTR recordNumber, IDispatch* item) noexcept override;
    STDMETHODIMP mvNew(BSTR recordNumber, IDispatch* item) noexcept override;
    STDMETHODIMP mvRelease(IDispatch* item) noexcept override;

    // stored programs
    STDMETHODIMP CallHostProgram(BSTR progName,
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
    STDMETHODIMP CallHost(IDispatch* item,
                          BSTR progName,
                          VARIANT* extra,
                          BSTR* value,
                          VARIANT_BOOL fourArguments) noexcept override;
    STDMETHODIMP CallCommonHost(BSTR progSpec,
                                BSTR progType,
                                BSTR* value,
                                BSTR sessionName,
                                IDispatch* item) noexcept override;

    // select lists and commands
    STDMETHODIMP ExecuteSelectList(BSTR sentence, IDispatch* item) noexcept override;
    STDMETHODIMP ReadNext(BSTR* id, IDispatch* item, VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP DestorySelectList(IDispatch* item) noexcept override;
    STDMETHODIMP TCLExecute(BSTR sentence, BSTR* capture, BSTR* returning) noexcept override;

    // dictionary and conversions
    STDMETHODIMP ReadDictItem(IDispatch* item) noexcept override;
    STDMETHODIMP WriteDictItem(IDispatch* item) noexcept override;
    STDMETHODIMP Oconv(BSTR value, BSTR conversion, VARIANT* result) noexcept override;
    STDMETHODIMP Iconv(BSTR value, BSTR conversion, VARIANT* result) noexcept override;
    STDMETHODIMP GetDictNameList(BSTR fileName, IDispatch** result) noexcept override;
    STDMETHODIMP GetFileNameList(IDispatch** result) noexcept override;

    // common values
    STDMETHODIMP get_CommonValue(BSTR commonName, VARIANT* result) noexcept override;
    STDMETHODIMP put_CommonValue(BSTR commonName, VARIANT* value) noexcept override;
    STDMETHODIMP get_CommonObject(BSTR commonName, IDispatch** result) noexcept override;
    STDMETHODIMP putref_CommonObject(BSTR commonName, IDispatch** value) noexcept override;
    STDMETHODIMP get_mvInfo(BSTR keyId, IDispatch** result) noexcept override;

    // IByKeyField
    STDMETHODIMP
    ExtractAt(BSTR keyId, long amc, long vmc, long smc, BSTR* result) noexcept override;
    STDMETHODIMP
    ReplaceAt(BSTR keyId, BSTR value, long amc, long vmc, long smc) noexcept override;
    STDMETHODIMP
    InsertAt(BSTR keyId, BSTR value, long amc, long vmc, long smc) noexcept override;
    STDMETHODIMP DeleteAt(BSTR keyId, long amc, long vmc, long smc) noexcept override;
    STDMETHODIMP LocateAt(BSTR keyId,
                          BSTR search,
                          long* pos,
                          BSTR sortBy,
                          long amc,
                          long vmc,
                          VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP DcountAt(
        BSTR keyId, BSTR delimit, long amc, long vmc, long smc, long* result) noexcept override;
    STDMETHODIMP DeriveAt(BSTR keyId,
                          BSTR correlative,
                          BSTR value,
                          BSTR key,
                          short cnt,
                          BSTR* result) noexcept override;
    STDMETHODIMP ReadRecordOf(BSTR keyId,
                              BSTR recordNumber,
                              BSTR fileName,
                              VARIANT_BOOL readU) noexcept override;
    STDMETHODIMP WriteRecordOf(BSTR keyId,
                               BSTR recordNumber,
                               BSTR fileName,
                               VARIANT_BOOL writeU) noexcept override;
    STDMETHODIMP ReleaseRecordOf(BSTR keyId) noexcept override;
    STDMETHODIMP SelectFor(BSTR keyId, BSTR sentence) noexcept override;
    STDMETHODIMP ReadNextOf(BSTR keyId, BSTR* id, VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP CloseSelectOf(BSTR keyId) noexcept override;

private:
    ~Dbms() override = default;
    void terminate() noexcept override;
    // For the length of a member that lets go of a client's last reference to the engine, or may.
    ComPtr<_kelDBMS> kept() noexcept { return ComPtr<_kelDBMS>(self()); }

    // Each knows those before it only.
    KeyFields fields_;
    HostLink host_;
    RecordStates states_{host_};
    FileVariables files_{host_};
    Connection connection_;
    SelectLists selectLists_{host_, states_};
    Elements elements_{host_, states_};
    Records records_{host_, states_, files_};
    HostCalls programs_{host_, states_};
    Correlatives correlatives_{host_, states_, programs_};
    Definitions definitions_{host_, states_};
    NameLists names_{host_, connection_};
    CommonValues common_{fields_};
};

}  // namespace kel::engine
