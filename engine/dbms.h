// The session engine: all database work of one session. Private to the component; the session
// callback, the tools object and the dictionary item call it.
#pragma once

#include <memory>
#include <optional>
#include <set>

#include "automation/object.h"
#include "core/collection.h"
#include "core/fast_collection.h"
#include "engine/connection_state.h"
#include "engine/field_item.h"
#include "engine/record_info.h"
#include "kelEngine.h"

namespace kel::engine {

// Owns the connection through one back-end object, the record states, the open file variables and
// the common values. Members are implemented in one file per concern; each states there which
// failures it traps and which reach the caller.
//
// Back-end calls, events and message pumps run foreign code in the middle of members; that code may
// disconnect, or remove the very thing in hand. Members therefore hold references of their own
// across every such call and look their surroundings up again afterwards. One thread.
class Dbms final : public automation::Object<kelDBMS, _kelDBMS, IElements> {
public:
    explicit Dbms(TextView sessionName);

    // connection.cpp
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

    // arrays.cpp
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

    // arrays.cpp, IElements: the same without an item
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

    // files.cpp
    STDMETHODIMP mvOpen(BSTR fileName, short* result) noexcept override;
    STDMETHODIMP OpenFileVar(BSTR fileName, IDispatch** result) noexcept override;
    STDMETHODIMP mvCloseFile(BSTR fileName) noexcept override;

    // record_read.cpp
    STDMETHODIMP mvRead(BSTR recordNumber, IDispatch* item, short* result) noexcept override;

    // record_write.cpp
    STDMETHODIMP mvWrite(VARIANT_BOOL writeU,
                         BSTR recordNumber,
                         IDispatch* item,
                         short* result) noexcept override;
    STDMETHODIMP mvDelete(BSTR recordNumber, IDispatch* item) noexcept override;
    STDMETHODIMP mvNew(BSTR recordNumber, IDispatch* item) noexcept override;
    STDMETHODIMP mvRelease(IDispatch* item) noexcept override;

    // host_calls.cpp
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

    // selections.cpp
    STDMETHODIMP ExecuteSelectList(BSTR sentence, IDispatch* item) noexcept override;
    STDMETHODIMP ReadNext(BSTR* id, IDispatch* item, VARIANT_BOOL* result) noexcept override;
    STDMETHODIMP DestorySelectList(IDispatch* item) noexcept override;
    STDMETHODIMP TCLExecute(BSTR sentence, BSTR* capture, BSTR* returning) noexcept override;

    // dictionary.cpp
    STDMETHODIMP ReadDictItem(IDispatch* item) noexcept override;
    STDMETHODIMP WriteDictItem(IDispatch* item) noexcept override;
    STDMETHODIMP Oconv(BSTR value, BSTR conversion, VARIANT* result) noexcept override;
    STDMETHODIMP Iconv(BSTR value, BSTR conversion, VARIANT* result) noexcept override;
    STDMETHODIMP GetDictNameList(BSTR fileName, IDispatch** result) noexcept override;
    STDMETHODIMP GetFileNameList(IDispatch** result) noexcept override;

    // common_values.cpp
    STDMETHODIMP get_CommonValue(BSTR commonName, VARIANT* result) noexcept override;
    STDMETHODIMP put_CommonValue(BSTR commonName, VARIANT* value) noexcept override;
    STDMETHODIMP get_CommonObject(BSTR commonName, IDispatch** result) noexcept override;
    STDMETHODIMP putref_CommonObject(BSTR commonName, IDispatch** value) noexcept override;
    STDMETHODIMP get_mvInfo(BSTR keyId, IDispatch** result) noexcept override;

private:
    using List = std::unique_ptr<core::FastCollection>;
    struct ConnectAttempt;
    struct Element;
    struct HostRecord;

    ~Dbms() override = default;
    void terminate() noexcept override;

    // ---- connection.cpp
    // The back-end, held for the caller's call. Throws 91 when there is none.
    ComPtr<_mviHostDLL> host() const;
    short osType();
    bool isConnected() noexcept;
    bool connect();
    void disconnect() noexcept;
    void attemptConnect(ConnectAttempt& attempt);
    void prepareHost(ConnectAttempt& attempt);
    void passProperties(_kelSessionCallBack& session);
    void callHostConnect(ConnectAttempt& attempt);
    void announce(const ConnectAttempt& attempt) noexcept;
    void takeSteps(ConnectionState::Steps& steps) noexcept;
    void letGoOfBackend() noexcept;

    // ---- record_state.cpp
    static core::FastCollection& made(List& list);
    core::FastCollection& InfoList() { return made(infoList_); }
    core::FastCollection& FileVarList() { return made(fileVarList_); }
    core::FastCollection& CommonList() { return made(commonList_); }
    // Makes sure that a key field has a record state, with a buffer when the session is connected,
    // and answers it. Throws what the back-end throws on making the buffer.
    ComPtr<RecordInfo> EnsureKeyFieldInfo(TextView keyId) {
        return EnsureKeyFieldInfo(keyId, automation::Lower(keyId));
    }
    ComPtr<RecordInfo> EnsureKeyFieldInfo(TextView keyId, const Text& key);
    // The record state of a key field, by lower-case name; throws 381 when there is none.
    ComPtr<RecordInfo> info(TextView key);
    // An item of InfoList as what it is.
    static ComPtr<RecordInfo> infoIn(const VARIANT& item);
    ComPtr<IDispatch> newDynamicArray();
    // First non-empty of the item's, the buffer's and the key field's file name.
    static Text resolveFileName(const FieldItem& item, const RecordInfo& info, TextView key);

    // Calls `call` with the callback of a key field. A missing or failing callback is ignored.
    template <typename Call>
    static void tellField(TextView key, Call&& call) noexcept;
    // Highest index of the cross-reference table; -1 without a table.
    static long lastRow() noexcept;
    // The key field in a row of the table, in lower case; "" for none, or another session's.
    Text keyFieldAt(long row) const noexcept;
    // Visits the key fields of this session in the order of the table, as far as it reaches when
    // the walk begins: handlers that always add one do not make it endless.
    template <typename Visit>
    void forEachKeyField(Visit&& visit) noexcept;
    // Lets go of the record state of a key field, if there is one.
    void dropRecordState(TextView key) noexcept;

    // ---- arrays.cpp
    void changed(const Element& element) noexcept;
    // The members, once it is known what they are about.
    Bstr extract(const Element& element);
    void replace(const Element& element, BSTR value);
    void insert(const Element& element, BSTR value);
    void remove(const Element& element);
    bool locate(const Element& element, BSTR search, long* pos, BSTR sortBy);
    long dcount(const Element& element, BSTR delimit);
    Text processCorrelative(const Element& element, BSTR value, TextView key, short cnt);

    // ---- files.cpp
    short open(TextView fileName);
    ComPtr<IDispatch> fileVariable(TextView fileName) noexcept;
    void closeFile(TextView fileName) noexcept;
    // Closes all files, the last one first; without a back-end they are only let go of.
    static void closeFiles(_mviHostDLL* host, List files) noexcept;

    // ---- record_read.cpp
    short read(TextView recordNumber, const FieldItem& item, TextView key);

    // ---- record_write.cpp
    short write(bool writeU, TextView recordNumber, const FieldItem& item, TextView key);

    // ---- host_calls.cpp
    void callHost(
        IDispatch* item, BSTR progName, VARIANT* extra, BSTR* value, bool fourArguments) noexcept;
    HostRecord lendHostRecord(TextView keyId, const Text& key);
    // Puts what a stored program made of the record back into the key field: what has a text.
    void storeHostRecord(RecordState& state,
                         const std::optional<Bstr>& recNo,
                         const std::optional<Bstr>& text);
    // Has the controls of a key field show the whole record, since a stored program asked for it.
    void refreshForProgram(const Text& key) noexcept;

    // ---- selections.cpp
    // Takes a record's select list out and has the back-end, if there is one, close it; no list is
    // closed as Nothing.
    static void closeSelectList(_mviHostDLL* host, RecordInfo& record) noexcept;

    // ---- dictionary.cpp
    Text dictionaryFileName(const FieldItem& item);
    void readDefinition(const FieldItem& item, TextView dictName);

    // ---- common_values.cpp
    void tellCommonValueChanged(BSTR commonName) noexcept;

    // The definition's own fields.
    ComPtr<core::Collection> dictNameCache_;  // lists of names by file name
    ComPtr<core::Collection> fileNameCache_;
    Text sessionName_;
    Text sessionKey_;         // lower case
    short storedOsType_ = 0;  // last accepted; the client or the back-end is asked instead
    ComPtr<_mviHostDLL> host_;
    List infoList_;
    List fileVarList_;
    List commonList_;
    ConnectionState connection_;
    bool isAskingOsType_ = false;  // the client is being asked for it
    Text connectionErrMsg_;
    bool autoUpdateOk_ = true;
    std::set<Text> refreshedByProgram_;  // key fields whose controls follow a program's answer
};

}  // namespace kel::engine

#include "engine/dbms_inline.h"
