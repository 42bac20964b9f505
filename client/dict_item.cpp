// The dictionary item's definition, its state and its way to the session.
#include "client/dict_item.h"

#include "automation/property.h"
#include "automation/stored_property.h"
#include "client/tools.h"
#include "core/log.h"
#include "registry/thread_registry.h"

namespace kel::client {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below
using registry::ThreadRegistry;

namespace {

// Published text, spelled like this: programs compare it.
constexpr const wchar_t* kSessionLost =
    L"Reference to Session information can not be found.  Database Session has been closed and "
    L"distroyed.";

}  // namespace

// ---- definition

STDMETHODIMP DictItem::get_AMC(long* result) noexcept {
    return GiveNumber(effectiveAmc(), result);
}
STDMETHODIMP DictItem::put_AMC(long value) noexcept {
    return TakeNumber(value, definition.amc);
}
STDMETHODIMP DictItem::get_VMC(long* result) noexcept {
    return GiveNumber(effective(RowLevel::kValue, definition.vmc), result);
}
STDMETHODIMP DictItem::put_VMC(long value) noexcept {
    return TakeNumber(value, definition.vmc);
}
STDMETHODIMP DictItem::get_SMC(long* result) noexcept {
    return GiveNumber(effective(RowLevel::kSubvalue, definition.smc), result);
}
STDMETHODIMP DictItem::put_SMC(long value) noexcept {
    return TakeNumber(value, definition.smc);
}

STDMETHODIMP DictItem::get_DictName(BSTR* result) noexcept {
    return GiveText(definition.dictName, result);
}
STDMETHODIMP DictItem::put_DictName(BSTR value) noexcept {
    return ComMethod([&] {
        definition.dictName = View(value);
        dictRead_ = DictReadPending;
    });
}
STDMETHODIMP DictItem::get_Correlative(BSTR* result) noexcept {
    return GiveText(definition.correlative, result);
}
STDMETHODIMP DictItem::put_Correlative(BSTR value) noexcept {
    return ComMethod([&] {
        if (definition.correlative != View(value)) {
            definition.correlative = View(value);
            definition.internalCorrelative.clear();
        }
    });
}
STDMETHODIMP DictItem::get_ReadKeyId(BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = TextView(readKeyId());
    });
}
STDMETHODIMP DictItem::put_ReadKeyId(BSTR value) noexcept {
    return TakeText(value, definition.readKeyId);
}
STDMETHODIMP DictItem::get_Length(long* result) noexcept {
    return GiveNumber(definition.length, result);
}
STDMETHODIMP DictItem::put_Length(long value) noexcept {
    return TakeNumber(value, definition.length);
}
STDMETHODIMP DictItem::get_ReadType(short* result) noexcept {
    return GiveNumber(definition.readType, result);
}
STDMETHODIMP DictItem::put_ReadType(short value) noexcept {
    return TakeNumber(value, definition.readType);
}

STDMETHODIMP DictItem::get_Conversion(BSTR* result) noexcept {
    return GiveText(definition.conversion, result);
}
STDMETHODIMP DictItem::put_Conversion(BSTR value) noexcept {
    return TakeText(value, definition.conversion);
}

STDMETHODIMP DictItem::get_InternalCorrelative(BSTR* result) noexcept {
    return GiveText(definition.internalCorrelative, result);
}
STDMETHODIMP DictItem::put_InternalCorrelative(BSTR value) noexcept {
    return TakeText(value, definition.internalCorrelative);
}

STDMETHODIMP DictItem::get_Justification(BSTR* result) noexcept {
    return GiveText(definition.justification, result);
}
STDMETHODIMP DictItem::put_Justification(BSTR value) noexcept {
    return TakeText(value, definition.justification);
}

STDMETHODIMP DictItem::get_Label(BSTR* result) noexcept {
    return GiveText(definition.label, result);
}
STDMETHODIMP DictItem::put_Label(BSTR value) noexcept {
    return TakeText(value, definition.label);
}

STDMETHODIMP DictItem::get_KeyId(BSTR* result) noexcept {
    return GiveText(definition.keyId, result);
}
STDMETHODIMP DictItem::put_KeyId(BSTR value) noexcept {
    return TakeText(value, definition.keyId);
}

STDMETHODIMP DictItem::get_FileName(BSTR* result) noexcept {
    return GiveText(definition.fileName, result);
}
STDMETHODIMP DictItem::put_FileName(BSTR value) noexcept {
    return TakeText(value, definition.fileName);
}

STDMETHODIMP DictItem::get_Session(BSTR* result) noexcept {
    return GiveText(definition.session, result);
}
STDMETHODIMP DictItem::put_Session(BSTR value) noexcept {
    return TakeText(value, definition.session);
}

STDMETHODIMP DictItem::get_ControlType(BSTR* result) noexcept {
    return GiveText(definition.controlType, result);
}
STDMETHODIMP DictItem::put_ControlType(BSTR value) noexcept {
    return TakeText(value, definition.controlType);
}

STDMETHODIMP DictItem::get_ControlName(BSTR* result) noexcept {
    return GiveText(definition.controlName, result);
}
STDMETHODIMP DictItem::put_ControlName(BSTR value) noexcept {
    return TakeText(value, definition.controlName);
}

STDMETHODIMP DictItem::get_DefaultProg(BSTR* result) noexcept {
    return GiveText(definition.defaultProg, result);
}
STDMETHODIMP DictItem::put_DefaultProg(BSTR value) noexcept {
    return TakeText(value, definition.defaultProg);
}

STDMETHODIMP DictItem::get_ValidationProg(BSTR* result) noexcept {
    return GiveText(definition.validationProg, result);
}
STDMETHODIMP DictItem::put_ValidationProg(BSTR value) noexcept {
    return TakeText(value, definition.validationProg);
}

STDMETHODIMP DictItem::get_ErrMsg(BSTR* result) noexcept {
    return GiveText(definition.errMsg, result);
}
STDMETHODIMP DictItem::put_ErrMsg(BSTR value) noexcept {
    return TakeText(value, definition.errMsg);
}

STDMETHODIMP DictItem::get_ReadU(VARIANT_BOOL* result) noexcept {
    return GiveFlag(definition.readU, result);
}
STDMETHODIMP DictItem::put_ReadU(VARIANT_BOOL value) noexcept {
    return TakeFlag(value, definition.readU);
}

STDMETHODIMP DictItem::get_WriteU(VARIANT_BOOL* result) noexcept {
    return GiveFlag(definition.writeU, result);
}
STDMETHODIMP DictItem::put_WriteU(VARIANT_BOOL value) noexcept {
    return TakeFlag(value, definition.writeU);
}

STDMETHODIMP DictItem::get_UpdateOnly(VARIANT_BOOL* result) noexcept {
    return GiveFlag(definition.updateOnly, result);
}
STDMETHODIMP DictItem::put_UpdateOnly(VARIANT_BOOL value) noexcept {
    return TakeFlag(value, definition.updateOnly);
}

STDMETHODIMP DictItem::get_DictRead(enumDictRead* result) noexcept {
    return GiveNumber(dictRead_, result);
}
STDMETHODIMP DictItem::get_DictErrMsg(BSTR* result) noexcept {
    return GiveText(dictErrMsg_, result);
}
STDMETHODIMP DictItem::GetAddress(
    LPWSTR* keyId, long* keyUnits, long* amc, long* vmc, long* smc) noexcept {
    *keyId = definition.keyId.data();
    *keyUnits = static_cast<long>(definition.keyId.size());
    *amc = effectiveAmc();
    *vmc = effective(RowLevel::kValue, definition.vmc);
    *smc = effective(RowLevel::kSubvalue, definition.smc);
    return S_OK;
}

STDMETHODIMP DictItem::SetDictRead(long state) noexcept {
    return ComMethod([&] { dictRead_ = static_cast<enumDictRead>(state); });
}
STDMETHODIMP DictItem::SetDictErrMsg(BSTR message) noexcept {
    return TakeText(message, dictErrMsg_);
}

// ---- the way to the session

Text DictItem::sessionName() const {
    Text registered = ThreadRegistry::Current().GetKeyFieldSession(definition.keyId);
    return registered.empty() ? definition.session : registered;
}

ComPtr<_kelDBMS> DictItem::engineOf(TextView session) {
    return ThreadRegistry::Current().engine(Lower(session));
}

ComPtr<_kelInfo> DictItem::recordState(_kelDBMS& engine, TextView keyId) {
    const Bstr name(keyId);
    ComPtr<IDispatch> object;
    CallOut([&] { return engine.get_mvInfo(name.get(), object.put()); });
    auto state = object.as<_kelInfo>();
    if (!state) {
        throw Error(kObjectNotSet);
    }
    return state;
}

Text DictItem::recNoOf(_kelDBMS& engine, TextView keyId) {
    return GetText(*recordState(engine, keyId), &_kelInfo::get_RecNo);
}

// Failures of the engine come out as they are; the ordinary outcomes are states.
STDMETHODIMP DictItem::InitalizeDictItem() noexcept {
    return ComMethod([&] {
        const ComPtr<_kelDictItem> keep(self());
        const Text session = sessionName();
        if (session.empty()) {
            dictRead_ = DictReadNoConnection;
            return;
        }
        const auto engine = engineOf(session);
        if (GetFlag(*engine, &_kelDBMS::get_IsConnecting)) {
            dictRead_ = DictReadPending;
            return;
        }
        if (GetFlag(*engine, &_kelDBMS::get_ConnectionFailed) ||
            (!GetFlag(*engine, &_kelDBMS::get_IsConnected) &&
             !GetFlag(*engine, &_kelDBMS::Connect))) {
            dictRead_ = DictReadNoConnection;
            return;
        }
        if (definition.dictName.empty()) {
            dictRead_ = DictReadInitalized;
        } else {
            core::WriteLog(definition.dictName + L"InitializeDictItem ", core::kTraceLevel);
            CallOut([&] { return engine->ReadDictItem(self()); });
        }
        if (dictRead_ != DictReadInitalized || definition.session.empty()) {
            return;
        }
        const auto record = recordState(*engineOf(definition.session), readKeyId());
        CallOut([&] { return record->put_ReadType(definition.readType); });

        // A key field whose callback nobody has made has no controls to show the field.
        auto& registry = ThreadRegistry::Current();
        if (!registry.FieldCallbackList().KeyExists(Lower(definition.keyId))) {
            return;
        }
        const auto callback = registry.fieldCallback(definition.keyId);
        const Bstr control(definition.controlName);
        const Bstr amc(DecimalText(effectiveAmc()));
        const Bstr vmc(DecimalText(effective(RowLevel::kValue, definition.vmc)));
        const Bstr smc(DecimalText(effective(RowLevel::kSubvalue, definition.smc)));
        CallOut(
            [&] { return callback->FldRefresh(control.get(), amc.get(), vmc.get(), smc.get()); });
    });
}

STDMETHODIMP DictItem::Tools(_kelTools** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = ComPtr<_kelTools>(Make<client::Tools>(sessionName()));
    });
}

STDMETHODIMP DictItem::mvInfo(_kelInfo** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const Text session = sessionName();
        if (session.empty()) {
            throw Error(SessionReferenceLost, L"kelDictItem::mvInfo", kSessionLost);
        }
        out = recordState(*engineOf(session), definition.keyId);
    });
}

STDMETHODIMP DictItem::mvReadInfo(_kelInfo** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        if (!definition.session.empty()) {
            out = recordState(*engineOf(definition.session), readKeyId());
        }
    });
}

STDMETHODIMP DictItem::get_CommonValue(BSTR commonName, VARIANT* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const Text session = sessionName();
        if (!session.empty()) {
            const auto engine = engineOf(session);
            Variant value;
            CallOut([&] { return engine->get_CommonValue(commonName, value.put()); });
            out = std::move(value);
        }
    });
}
STDMETHODIMP DictItem::put_CommonValue(BSTR commonName, VARIANT* value) noexcept {
    return ComMethod([&] {
        const Text session = sessionName();
        if (session.empty()) {
            throw Error(SessionReferenceLost, L"kelDictItem::Connect", kSessionLost);
        }
        const auto engine = engineOf(session);
        CallOut([&] { return engine->put_CommonValue(commonName, value); });
    });
}

STDMETHODIMP DictItem::get_CommonObject(BSTR commonName, IDispatch** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const Text session = sessionName();
        if (!session.empty()) {
            const auto engine = engineOf(session);
            ComPtr<IDispatch> object;
            CallOut([&] { return engine->get_CommonObject(commonName, object.put()); });
            out = std::move(object);
        }
    });
}

STDMETHODIMP DictItem::putref_CommonObject(BSTR commonName, IDispatch** value) noexcept {
    return ComMethod([&] {
        const Text session = sessionName();
        if (session.empty()) {
            throw Error(SessionReferenceLost, L"kelDictItem::Connect", kSessionLost);
        }
        const auto engine = engineOf(session);
        CallOut([&] { return engine->putref_CommonObject(commonName, value); });
    });
}

}  // namespace kel::client
