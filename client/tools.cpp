// The tools object: each member finds the engine and passes its call on.
#include "client/tools.h"

#include "automation/property.h"
#include "client/dict_item.h"
#include "client/utilities.h"
#include "registry/thread_registry.h"

namespace kel::client {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below
using registry::ThreadRegistry;

namespace {

// The description of a record for one call.
ComPtr<DictItem> RecordOf(BSTR keyId) {
    auto item = Make<DictItem>();
    item->definition.keyId = View(keyId);
    return item;
}

}  // namespace

Tools::Tools(TextView session) : sessionName_(session), sessionKey_(Lower(session)) {}

template <typename Call>
void Tools::callEngine(Call&& call) const {
    const auto engine = ThreadRegistry::Current().engine(sessionKey_);
    CallOut([&] { return call(*engine); });
}

template <typename Call>
void Tools::callElements(Call&& call) const {
    const auto elements = ThreadRegistry::Current().engine(sessionKey_).as<IElements>();
    CallOut([&] { return call(*elements); });
}

template <typename Call>
HRESULT Tools::translated(const wchar_t* member, Call&& call) const noexcept {
    return ComMethod([&] {
        try {
            call();
        } catch (const Error& error) {
            if (error.number() == kInvalidArrayIndex) {
                throw Error(NotConnected, Text(L"kelTools::") + member, L"Currently not connected");
            }
            throw;
        }
    });
}

STDMETHODIMP Tools::Connect(VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        if (sessionKey_.empty()) {
            return;
        }
        VARIANT_BOOL connected = VARIANT_FALSE;
        callEngine([&](_kelDBMS& engine) { return engine.Connect(&connected); });
        out = connected;
    });
}

STDMETHODIMP Tools::Disconnect(VARIANT* result) noexcept {
    return ComMethod([&] {
        const Out out{result};
        if (!sessionKey_.empty()) {
            Ignoring([&] { callEngine([](_kelDBMS& engine) { return engine.Disconnect(); }); });
        }
    });
}

HRESULT Tools::state(HRESULT (STDMETHODCALLTYPE _kelDBMS::*getter)(VARIANT_BOOL*),
                     VARIANT_BOOL* result) const noexcept {
    return ComMethod([&] {
        Out out{result};
        if (sessionKey_.empty()) {
            return;
        }
        Ignoring([&] {
            VARIANT_BOOL value = VARIANT_FALSE;
            callEngine([&](_kelDBMS& engine) { return (engine.*getter)(&value); });
            out = value;
        });
    });
}

STDMETHODIMP Tools::IsConnected(VARIANT_BOOL* result) noexcept {
    return state(&_kelDBMS::get_IsConnected, result);
}

STDMETHODIMP Tools::IsConnecting(VARIANT_BOOL* result) noexcept {
    return state(&_kelDBMS::get_IsConnecting, result);
}

STDMETHODIMP Tools::ConnectionFailed(VARIANT_BOOL* result) noexcept {
    return state(&_kelDBMS::get_ConnectionFailed, result);
}

STDMETHODIMP Tools::Extract(BSTR keyId, long amc, long vmc, long smc, BSTR* result) noexcept {
    return translated(L"Extract", [&] {
        Out out{result};
        Bstr value;
        callElements([&](IElements& elements) {
            return elements.ExtractAt(keyId, amc, vmc, smc, value.put());
        });
        out = std::move(value);
    });
}

STDMETHODIMP Tools::Replace(BSTR keyId, BSTR value, long amc, long vmc, long smc) noexcept {
    return translated(L"Replace", [&] {
        callElements(
            [&](IElements& elements) { return elements.ReplaceAt(keyId, value, amc, vmc, smc); });
    });
}

STDMETHODIMP Tools::Insert(BSTR keyId, BSTR value, long amc, long vmc, long smc) noexcept {
    return translated(L"Insert", [&] {
        callElements(
            [&](IElements& elements) { return elements.InsertAt(keyId, value, amc, vmc, smc); });
    });
}

STDMETHODIMP Tools::Delete(BSTR keyId, long amc, long vmc, long smc) noexcept {
    return translated(L"Delete", [&] {
        callElements([&](IElements& elements) { return elements.DeleteAt(keyId, amc, vmc, smc); });
    });
}

STDMETHODIMP Tools::Locate(BSTR keyId,
                           BSTR search,
                           long* pos,
                           long amc,
                           long vmc,
                           BSTR sortBy,
                           VARIANT_BOOL* result) noexcept {
    return translated(L"Locate", [&] {
        Out out{result};
        VARIANT_BOOL found = VARIANT_FALSE;
        callElements([&](IElements& elements) {
            return elements.LocateAt(keyId, search, pos, sortBy, amc, vmc, &found);
        });
        out = found;
    });
}

HRESULT Tools::readRecord(
    const wchar_t* member, BSTR keyId, BSTR recordNumber, BSTR fileName, bool readU) noexcept {
    return translated(member, [&] {
        const auto field = RecordOf(keyId);
        field->definition.fileName = View(fileName);
        field->definition.readU = readU;
        short ignored = 0;
        callEngine(
            [&](_kelDBMS& engine) { return engine.mvRead(recordNumber, field.get(), &ignored); });
    });
}

STDMETHODIMP Tools::mvRead(BSTR keyId, BSTR recordNumber, BSTR fileName) noexcept {
    return readRecord(L"mvRead", keyId, recordNumber, fileName, false);
}

STDMETHODIMP Tools::mvReadU(BSTR keyId, BSTR recordNumber, BSTR fileName) noexcept {
    return readRecord(L"mvReadU", keyId, recordNumber, fileName, true);
}

HRESULT Tools::writeRecord(
    const wchar_t* member, BSTR keyId, BSTR recordNumber, BSTR fileName, bool writeU) noexcept {
    return translated(member, [&] {
        const auto field = RecordOf(keyId);
        field->definition.fileName = View(fileName);
        short ignored = 0;
        callEngine([&](_kelDBMS& engine) {
            return engine.mvWrite(Flag(writeU), recordNumber, field.get(), &ignored);
        });
    });
}

STDMETHODIMP Tools::mvWrite(BSTR keyId, BSTR recordNumber, BSTR fileName) noexcept {
    return writeRecord(L"mvWrite", keyId, recordNumber, fileName, false);
}

STDMETHODIMP Tools::mvWriteU(BSTR keyId, BSTR recordNumber, BSTR fileName) noexcept {
    return writeRecord(L"mvWriteU", keyId, recordNumber, fileName, true);
}

STDMETHODIMP Tools::mvRelease(BSTR keyId) noexcept {
    return ComMethod([&] {
        Ignoring([&] {
            const auto field = RecordOf(keyId);
            callEngine([&](_kelDBMS& engine) { return engine.mvRelease(field.get()); });
        });
    });
}

STDMETHODIMP
Tools::Dcount(BSTR keyId, BSTR delimit, long amc, long vmc, long smc, long* result) noexcept {
    return translated(L"Dcount", [&] {
        Out out{result};
        long count = 0;
        callElements([&](IElements& elements) {
            return elements.DcountAt(keyId, delimit, amc, vmc, smc, &count);
        });
        out = count;
    });
}

STDMETHODIMP
Tools::Count(BSTR keyId, BSTR delimit, long amc, long vmc, long smc, long* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        long count = 0;
        CallOut([&] { return Dcount(keyId, delimit, amc, vmc, smc, &count); });
        if (count == LONG_MIN) {
            throw Error(kOverflow);
        }
        out = count - 1;
    });
}

STDMETHODIMP Tools::ExecuteSelect(BSTR selectListName, BSTR sentence) noexcept {
    return translated(L"ExecuteSelect", [&] {
        const auto field = RecordOf(selectListName);
        callEngine(
            [&](_kelDBMS& engine) { return engine.ExecuteSelectList(sentence, field.get()); });
    });
}

STDMETHODIMP Tools::ReadNext(BSTR selectListName, BSTR* id, VARIANT_BOOL* result) noexcept {
    return translated(L"ReadNext", [&] {
        Out out{result};
        const auto field = RecordOf(selectListName);
        VARIANT_BOOL more = VARIANT_FALSE;
        callEngine([&](_kelDBMS& engine) { return engine.ReadNext(id, field.get(), &more); });
        out = more;
    });
}

STDMETHODIMP Tools::CloseSelect(BSTR selectListName) noexcept {
    return ComMethod([&] {
        Ignoring([&] {
            const auto field = RecordOf(selectListName);
            callEngine([&](_kelDBMS& engine) { return engine.DestorySelectList(field.get()); });
        });
    });
}

STDMETHODIMP Tools::CallProg(BSTR progName,
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
    // The engine passes the arguments before the first missing one.
    return translated(L"CallProg", [&] {
        callEngine([&](_kelDBMS& engine) {
            return engine.CallHostProgram(progName,
                                          arg1,
                                          arg2,
                                          arg3,
                                          arg4,
                                          arg5,
                                          arg6,
                                          arg7,
                                          arg8,
                                          arg9,
                                          arg10,
                                          arg11,
                                          arg12);
        });
    });
}

STDMETHODIMP Tools::Execute(BSTR sentence, BSTR* capture, BSTR* returning) noexcept {
    return translated(L"Execute", [&] {
        Require(capture);
        Bstr unwanted;
        BSTR* const codes = returning != nullptr ? returning : unwanted.inOut();
        callEngine([&](_kelDBMS& engine) { return engine.TCLExecute(sentence, capture, codes); });
    });
}

STDMETHODIMP Tools::Oconv(BSTR value, BSTR convert, BSTR* result) noexcept {
    return translated(L"Oconv", [&] {
        Out out{result};
        Variant converted;
        callEngine([&](_kelDBMS& engine) { return engine.Oconv(value, convert, converted.put()); });
        out = std::move(converted).text();
    });
}

STDMETHODIMP Tools::Iconv(BSTR value, BSTR convert, BSTR* result) noexcept {
    return translated(L"Iconv", [&] {
        Out out{result};
        Variant converted;
        callEngine([&](_kelDBMS& engine) { return engine.Iconv(value, convert, converted.put()); });
        out = std::move(converted).text();
    });
}

STDMETHODIMP Tools::mvIndex(BSTR text, BSTR part, short occurrence, long* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = Index(View(text), View(part), occurrence);
    });
}

STDMETHODIMP Tools::mvField(BSTR text, BSTR delimiter, short number, BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = TextView(client::Field(View(text), View(delimiter), number));
    });
}

STDMETHODIMP Tools::RQM(short seconds, VARIANT* result) noexcept {
    return ComMethod([&] {
        const Out out{result};
        constexpr short kShortest = 1;
        Wait(std::max(seconds, kShortest), SystemWait());
    });
}

STDMETHODIMP Tools::mvDate(long* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = InternalDate();
    });
}

STDMETHODIMP Tools::mvTime(long* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = InternalTime();
    });
}

STDMETHODIMP Tools::ProcessCorrelative(
    BSTR keyId, BSTR correlative, BSTR value, BSTR key, short cnt, BSTR* result) noexcept {
    return translated(L"ProcessCorrelative", [&] {
        Out out{result};
        const auto field = RecordOf(keyId);
        field->definition.session = sessionName_;
        field->definition.correlative = View(correlative);
        Bstr derived;
        callEngine([&](_kelDBMS& engine) {
            return engine.ProcessCorrelative(value, key, cnt, field.get(), derived.put());
        });
        out = std::move(derived);
    });
}

}  // namespace kel::client
