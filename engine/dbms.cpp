// The engine as its interfaces have it: each member hands its work to the part that does it.
#include "engine/dbms.h"

#include "automation/message_pump.h"
#include "automation/stored_property.h"
#include "backend/discovery.h"
#include "core/log.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr short kBeginLevel = 1;
constexpr long kUnknownOsType = kObjectError + 3;
constexpr short kOpen = 0;
constexpr short kNoFileName = 1;

// Sources of the error for an empty key field, where two members share one. They name mvDBMS though
// the class is kelDBMS: it is the name that programs look for in this one error.
constexpr const wchar_t* kExtract = L"mvDBMS::Extract";
constexpr const wchar_t* kReplace = L"mvDBMS::Replace";
constexpr const wchar_t* kInsert = L"mvDBMS::Insert";
constexpr const wchar_t* kDelete = L"mvDBMS::Delete";
constexpr const wchar_t* kLocate = L"mvDBMS::Locate";
constexpr const wchar_t* kDcount = L"mvDBMS::Dcount";
constexpr const wchar_t* kDerive = L"mvDBMS::ProcessCorrelative";
constexpr const wchar_t* kRead = L"mvDBMS::mvRead";
constexpr const wchar_t* kWrite = L"mvDBMS::mvWrite";
constexpr const wchar_t* kRelease = L"mvDBMS::mvRelease";

}  // namespace

Dbms::Dbms(TextView sessionName)
    : fields_(sessionName), connection_(sessionName, host_, states_, files_, fields_) {
    // Published spelling: logs are searched for it.
    core::WriteLog(L"DBMS Initalized", core::kTraceLevel);
}

void Dbms::terminate() noexcept {
    Ignoring([&] {
        core::WriteLog(L"DBMS Terminated Begin " + connection_.sessionName(), kBeginLevel);
    });
    connection_.disconnect();
    names_.forget();
    common_.clear();
    // What client code has begun while the common values went.
    states_.takeAll();
    files_.takeAll();
    Ignoring([&] {
        core::WriteLog(L"DBMS Terminated " + connection_.sessionName(), core::kTraceLevel);
    });
}

STDMETHODIMP Dbms::get_SessionName(BSTR* result) noexcept {
    return GiveText(connection_.sessionName(), result);
}

STDMETHODIMP Dbms::put_SessionName(BSTR value) noexcept {
    return ComMethod([&] { connection_.rename(View(value)); });
}

STDMETHODIMP Dbms::get_AutoUpdateOk(VARIANT_BOOL* result) noexcept {
    return GiveFlag(elements_.autoUpdate, result);
}

STDMETHODIMP Dbms::put_AutoUpdateOk(VARIANT_BOOL value) noexcept {
    return TakeFlag(value, elements_.autoUpdate);
}

STDMETHODIMP Dbms::get_IsConnected(VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = host_.isConnected();
    });
}

STDMETHODIMP Dbms::get_IsConnecting(VARIANT_BOOL* result) noexcept {
    return GiveFlag(connection_.isBusy(), result);
}

STDMETHODIMP Dbms::get_ConnectionFailed(VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = connection_.hasFailed();
    });
}

STDMETHODIMP Dbms::get_ConnectionErrMsg(BSTR* result) noexcept {
    return GiveText(connection_.errorMessage(), result);
}

STDMETHODIMP Dbms::Connect(VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const auto keep = kept();
        out = connection_.connect();
    });
}

STDMETHODIMP Dbms::Disconnect() noexcept {
    return ComMethod([&] {
        const auto keep = kept();
        connection_.disconnect();
    });
}

STDMETHODIMP Dbms::get_OsType(short* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = connection_.osType();
    });
}

// Only checked: which back-end is used is what the client's session answers when it connects.
STDMETHODIMP Dbms::put_OsType(short value) noexcept {
    return ComMethod([&] {
        if (!backend::IsRegistered(value)) {
            throw Error(kUnknownOsType,
                        L"kelDBMS::OsType",
                        L"Unable to find a registered DLL version 2 or above for OsType " +
                            DecimalText(value));
        }
    });
}

STDMETHODIMP Dbms::ValidOsType(short osType, VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = backend::IsRegistered(osType);
    });
}

STDMETHODIMP Dbms::Extract(IDispatch* item, BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = elements_.extract({item, kExtract});
    });
}

STDMETHODIMP Dbms::ExtractAt(BSTR keyId, long amc, long vmc, long smc, BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = elements_.extract({keyId, amc, vmc, smc, kExtract});
    });
}

STDMETHODIMP Dbms::Replace(BSTR value, IDispatch* item) noexcept {
    return ComMethod([&] { elements_.replace({item, kReplace}, value); });
}

STDMETHODIMP Dbms::ReplaceAt(BSTR keyId, BSTR value, long amc, long vmc, long smc) noexcept {
    return ComMethod([&] { elements_.replace({keyId, amc, vmc, smc, kReplace}, value); });
}

STDMETHODIMP Dbms::Insert(BSTR value, IDispatch* item) noexcept {
    return ComMethod([&] { elements_.insert({item, kInsert}, value); });
}

STDMETHODIMP Dbms::InsertAt(BSTR keyId, BSTR value, long amc, long vmc, long smc) noexcept {
    return ComMethod([&] { elements_.insert({keyId, amc, vmc, smc, kInsert}, value); });
}

STDMETHODIMP Dbms::Delete(IDispatch* item) noexcept {
    return ComMethod([&] { elements_.remove({item, kDelete}); });
}

STDMETHODIMP Dbms::DeleteAt(BSTR keyId, long amc, long vmc, long smc) noexcept {
    return ComMethod([&] { elements_.remove({keyId, amc, vmc, smc, kDelete}); });
}

STDMETHODIMP Dbms::Locate(
    BSTR search, long* pos, BSTR sortBy, IDispatch* item, VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Require(pos);
        out = elements_.locate({item, kLocate}, search, pos, sortBy);
    });
}

STDMETHODIMP Dbms::LocateAt(BSTR keyId,
                            BSTR search,
                            long* pos,
                            BSTR sortBy,
                            long amc,
                            long vmc,
                            VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Require(pos);
        out = elements_.locate({keyId, amc, vmc, 0, kLocate}, search, pos, sortBy);
    });
}

STDMETHODIMP Dbms::Dcount(BSTR delimit, IDispatch* item, long* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = elements_.dcount({item, kDcount}, delimit);
    });
}

STDMETHODIMP
Dbms::DcountAt(BSTR keyId, BSTR delimit, long amc, long vmc, long smc, long* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = elements_.dcount({keyId, amc, vmc, smc, kDcount}, delimit);
    });
}

STDMETHODIMP Dbms::ProcessCorrelative(
    BSTR value, BSTR key, short cnt, IDispatch* item, BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const auto keep = kept();
        out = TextView(correlatives_.derive({item, kDerive}, {value, View(key), cnt}));
    });
}

STDMETHODIMP Dbms::DeriveAt(
    BSTR keyId, BSTR correlative, BSTR value, BSTR key, short cnt, BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const auto keep = kept();
        out = TextView(correlatives_.derive(
            {keyId, 0, 0, 0, kDerive}, View(correlative), {value, View(key), cnt}));
    });
}

STDMETHODIMP Dbms::mvOpen(BSTR fileName, short* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = files_.open(View(fileName)) ? kOpen : kNoFileName;
    });
}

STDMETHODIMP Dbms::OpenFileVar(BSTR fileName, IDispatch** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = files_.find(View(fileName));
    });
}

STDMETHODIMP Dbms::mvCloseFile(BSTR fileName) noexcept {
    return ComMethod([&] { files_.close(View(fileName)); });
}

STDMETHODIMP Dbms::mvRead(BSTR recordNumber, IDispatch* item, short* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = records_.read({item, kRead}, View(recordNumber));
    });
}

STDMETHODIMP Dbms::ReadRecordOf(BSTR keyId,
                                BSTR recordNumber,
                                BSTR fileName,
                                VARIANT_BOOL readU) noexcept {
    return ComMethod([&] {
        records_.read({keyId, fileName, readU != VARIANT_FALSE, kRead}, View(recordNumber));
    });
}

STDMETHODIMP Dbms::mvWrite(VARIANT_BOOL writeU,
                           BSTR recordNumber,
                           IDispatch* item,
                           short* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = records_.write({item, kWrite}, View(recordNumber), writeU != VARIANT_FALSE);
    });
}

STDMETHODIMP Dbms::WriteRecordOf(BSTR keyId,
                                 BSTR recordNumber,
                                 BSTR fileName,
                                 VARIANT_BOOL writeU) noexcept {
    return ComMethod([&] {
        records_.write(
            {keyId, fileName, false, kWrite}, View(recordNumber), writeU != VARIANT_FALSE);
    });
}

STDMETHODIMP Dbms::mvDelete(BSTR recordNumber, IDispatch* item) noexcept {
    return ComMethod([&] { records_.remove({item, L"mvDBMS::mvDelete"}, View(recordNumber)); });
}

STDMETHODIMP Dbms::mvNew(BSTR recordNumber, IDispatch* item) noexcept {
    return ComMethod([&] { records_.begin({item, L"mvDBMS::mvNew"}, View(recordNumber)); });
}

STDMETHODIMP Dbms::mvRelease(IDispatch* item) noexcept {
    return ComMethod([&] { records_.release({item, kRelease}); });
}

STDMETHODIMP Dbms::ReleaseRecordOf(BSTR keyId) noexcept {
    return ComMethod([&] { records_.release({keyId, nullptr, false, kRelease}); });
}

STDMETHODIMP Dbms::CallHostProgram(BSTR progName,
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
                                   VARIANT* arg12) noexcept {
    return ComMethod([&] {
        programs_.call(progName,
                       {arg1, arg2, arg3, arg4, arg5, arg6, arg7, arg8, arg9, arg10, arg11, arg12});
    });
}

STDMETHODIMP Dbms::CallHost(IDispatch* item,
                            BSTR progName,
                            VARIANT* extra,
                            BSTR* value,
                            VARIANT_BOOL fourArguments) noexcept {
    return ComMethod([&] {
        Require(extra);
        Require(value);
        const auto keep = kept();
        programs_.run(item, progName, extra, value, fourArguments != VARIANT_FALSE);
    });
}

STDMETHODIMP Dbms::CallCommonHost(
    BSTR progSpec, BSTR progType, BSTR* value, BSTR sessionName, IDispatch* item) noexcept {
    return ComMethod([&] {
        Require(value);
        const auto keep = kept();
        programs_.runItem(progSpec, progType, value, View(sessionName), item);
    });
}

STDMETHODIMP Dbms::ExecuteSelectList(BSTR sentence, IDispatch* item) noexcept {
    return ComMethod(
        [&] { Ignoring([&] { selectLists_.execute(sentence, FieldItem(item).keyId()); }); });
}

STDMETHODIMP Dbms::SelectFor(BSTR keyId, BSTR sentence) noexcept {
    return ComMethod([&] { Ignoring([&] { selectLists_.execute(sentence, View(keyId)); }); });
}

STDMETHODIMP Dbms::ReadNext(BSTR* id, IDispatch* item, VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Require(id);
        Ignoring([&] { out = selectLists_.readNext(id, FieldItem(item).keyId()); });
    });
}

STDMETHODIMP Dbms::ReadNextOf(BSTR keyId, BSTR* id, VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Require(id);
        Ignoring([&] { out = selectLists_.readNext(id, View(keyId)); });
    });
}

STDMETHODIMP Dbms::DestorySelectList(IDispatch* item) noexcept {
    return ComMethod([&] { Ignoring([&] { selectLists_.close(FieldItem(item).keyId()); }); });
}

STDMETHODIMP Dbms::CloseSelectOf(BSTR keyId) noexcept {
    return ComMethod([&] { Ignoring([&] { selectLists_.close(View(keyId)); }); });
}

STDMETHODIMP Dbms::TCLExecute(BSTR sentence, BSTR* capture, BSTR* returning) noexcept {
    return ComMethod([&] {
        Ignoring([&] {
            const BusyPointer busy;
            const auto executor = host_.host();
            CallOut([&] { return executor->Execute(sentence, capture, returning); });
        });
    });
}

STDMETHODIMP Dbms::ReadDictItem(IDispatch* item) noexcept {
    return ComMethod([&] { definitions_.read(FieldItem(item)); });
}

STDMETHODIMP Dbms::WriteDictItem(IDispatch* item) noexcept {
    return ComMethod([&] { Ignoring([&] { definitions_.write(FieldItem(item)); }); });
}

// A failed output conversion must never stop a display: it gives Empty. One that answers what has
// no text to display, as Null or an object, has failed.
STDMETHODIMP Dbms::Oconv(BSTR value, BSTR conversion, VARIANT* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Ignoring([&] {
            const auto converter = host_.host();
            Variant converted;
            CallOut([&] { return converter->Oconv(value, conversion, converted.put()); });
            out = Variant(std::move(converted).text());
        });
    });
}

// A failed input conversion reaches the caller: a form must be able to reject an entry.
STDMETHODIMP Dbms::Iconv(BSTR value, BSTR conversion, VARIANT* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const auto converter = host_.host();
        Variant converted;
        CallOut([&] { return converter->Iconv(value, conversion, converted.put()); });
        out = std::move(converted);
    });
}

STDMETHODIMP Dbms::GetDictNameList(BSTR fileName, IDispatch** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const auto keep = kept();
        out = names_.dictionaryNames(fileName);
    });
}

STDMETHODIMP Dbms::GetFileNameList(IDispatch** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const auto keep = kept();
        out = names_.fileNames();
    });
}

STDMETHODIMP Dbms::get_CommonValue(BSTR commonName, VARIANT* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = common_.value(View(commonName));
    });
}

STDMETHODIMP Dbms::put_CommonValue(BSTR commonName, VARIANT* value) noexcept {
    return ComMethod([&] {
        const auto keep = kept();
        common_.setValue(commonName, value);
    });
}

STDMETHODIMP Dbms::get_CommonObject(BSTR commonName, IDispatch** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = common_.object(View(commonName));
    });
}

STDMETHODIMP Dbms::putref_CommonObject(BSTR commonName, IDispatch** value) noexcept {
    return ComMethod([&] {
        const auto keep = kept();
        common_.setObject(commonName, value != nullptr ? *value : nullptr);
    });
}

STDMETHODIMP Dbms::get_mvInfo(BSTR keyId, IDispatch** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const TextView name = View(keyId);
        if (name.empty()) {
            return;  // no key field, no state
        }
        const Text key = Lower(name);
        Ignoring([&] { states_.EnsureKeyFieldInfo(name, key); });
        // The state is there even when its buffer could not be made.
        Ignoring([&] { out = ComPtr<_kelInfo>(states_.get(key)); });
    });
}

}  // namespace kel::engine
