// The tools object: each member finds the engine and passes its call on.
#include "client/tools.h"

#include "automation/property.h"
#include "client/utilities.h"
#include "registry/thread_registry.h"

namespace kel::client {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below
using registry::ThreadRegistry;

Tools::Tools(TextView session) : sessionKey_(Lower(session)) {}

template <typename Call>
void Tools::callEngine(Call&& call) const {
    const auto engine = ThreadRegistry::Current().engine(sessionKey_);
    CallOut([&] { return call(*engine); });
}

template <typename Call>
void Tools::callByKeyField(Call&& call) const {
    const auto engine = ThreadRegistry::Current().engine(sessionKey_).as<IByKeyField>();
    CallOut([&] { return call(*engine); });
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
        callByKeyField([&](IByKeyField& engine) {
            return engine.ExtractAt(keyId, amc, vmc, smc, value.put());
        });
        out = std::move(value);
    });
}

STDMETHODIMP Tools::Replace(BSTR keyId, BSTR value, long amc, long vmc, long smc) noexcept {
    return translated(L"Replace", [&] {
        callByKeyField(
            [&](IByKeyField& engine) { return engine.ReplaceAt(keyId, value, amc, vmc, smc); });
    });
}

STDMETHODIMP Tools::Insert(BSTR keyId, BSTR value, long amc, long vmc, long smc) noexcept {
    return translated(L"Insert", [&] {
        callByKeyField(
            [&](IByKeyField& engine) { return engine.InsertAt(keyId, value, amc, vmc, smc); });
    });
}

STDMETHODIMP Tools::Delete(BSTR keyId, long amc, long vmc, long smc) noexcept {
    return translated(L"Delete", [&] {
        callByKeyField([&](IByKeyField& engine) { return engine.DeleteAt(keyId, amc, vmc, smc); });
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
        callByKeyField([&](IByKeyField& engine) {
            return engine.LocateAt(keyId, search, pos, sortBy, amc, vmc, &found);
        });
        out = found;
    });
}

HRESULT Tools::readRecord(
    const wchar_t* member, BSTR keyId, BSTR recordNumber, BSTR fileName, bool readU) noexcept {
    return translated(member, [&] {
        callByKeyField([&](IByKeyField& engine) {
            return engine.ReadRecordOf(keyId, recordNumber, fileName, Flag(readU));
        });
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
        callByKeyField([&](IByKeyField& engine) {
            return engine.WriteRecordOf(keyId, recordNumber, fileName, Flag(writeU));
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
            callByKeyField([&](IByKeyField& engine) { return engine.ReleaseRecordOf(keyId); });
        });
    });
}

STDMETHODIMP
Tools::Dcount(BSTR keyId, BSTR delimit, long amc, long vmc, long smc, long* result) noexcept {
    return translated(L"Dcount", [&] {
        Out out{result};
        long count = 0;
        callByKeyField([&](IByKeyField& engine) {
            return engine.DcountAt(keyId, delimit, amc, vmc, smc, &count);
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
        callByKeyField(
            [&](IByKeyField& engine) { return engine.SelectFor(selectListName, sentence); });
    });
}

STDMETHODIMP Tools::ReadNext(BSTR selectListName, BSTR* id, VARIANT_BOOL* result) noexcept {
    return translated(L"ReadNext", [&] {
        Out out{result};
        VARIANT_BOOL more = VARIANT_FALSE;
        callByKeyField(
            [&](IByKeyField& engine) { return engine.ReadNextOf(selectListName, id, &more); });
        out = more;
    });
}

STDMETHODIMP Tools::CloseSelect(BSTR selectListName) noexcept {
    return ComMethod([&] {
        Ignoring([&] {
            callByKeyField(
                [&](IByKeyField& engine) { return engine.CloseSelectOf(selectListName); });
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
        Bstr derived;
        callByKeyField([&](IByKeyField& engine) {
            return engine.DeriveAt(keyId, correlative, value, key, cnt, derived.put());
        });
        out = std::move(derived);
    });
}

}  // namespace kel::client
