// The root object: callbacks handed out, key fields tied, names changed.
#include "registry/base.h"

#include "automation/message_pump.h"
#include "automation/stored_property.h"
#include "core/collection.h"
#include "core/log.h"
#include "core/version.h"
#include "registry/field_call_back.h"
#include "registry/session_call_back.h"
#include "registry/thread_registry.h"

namespace kel::registry {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr short kNoticeLevel = 1;
constexpr short kChangeLevel = 2;

void Log(TextView before, TextView name, TextView after, short level) {
    core::WriteLog(Text(before).append(name).append(after), level);
}

// Runs `visit(index)` for every row that is there at the beginning, and handles pending messages
// after each. Client code that runs in between and grows the table does not prolong the walk.
template <typename Visit>
void ForEachRow(Visit&& visit) {
    const long upper = ThreadRegistry::Current().xref().upper();
    for (long i = 0; i <= upper && i <= ThreadRegistry::Current().xref().upper(); ++i) {
        Ignoring([&] { visit(i); });
        PumpMessages();
    }
}

// A list of the distinct texts of one column, ignoring case, spelled as in their first row.
ComPtr<_Collection> DistinctTexts(Text KeyFieldXRef::Row::*column) {
    const auto list = Make<core::Collection>();
    const KeyFieldXRef& xref = ThreadRegistry::Current().xref();
    for (long i = 0; i <= xref.upper(); ++i) {
        const Text& text = xref.row(i).*column;
        if (!text.empty()) {
            Ignoring([&] { list->add(Variant(TextView(text)), text); });  // a second one is refused
        }
    }
    return list;
}

// Forwards a list member of a session's engine; an error ends it with no object.
template <typename Call>
void EngineList(TextView session, Out<_Collection*>& out, Call&& call) noexcept {
    Ignoring([&] {
        const ComPtr<_kelDBMS> engine = ThreadRegistry::Current().engine(Lower(session));
        ComPtr<IDispatch> list;
        CallOut([&] { return call(*engine, list.put()); });
        out = list.as<_Collection>();
    });
}

}  // namespace

Base::Base() {
    ThreadRegistry& registry = ThreadRegistry::Current();
    classId_ = DecimalText(registry.nextBaseNumber());
    if (registry.hasNoCallbacks()) {
        core::LogSeparator();
    }
    registry.xref().prepare();
}

void Base::terminate() noexcept {
    if (ThreadRegistry* registry = ThreadRegistry::IfAny()) {
        registry->releaseEmptyCallbackLists();
    }
}

STDMETHODIMP Base::GetFieldCallBack(BSTR keyField, _kelFieldCallBack** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Ignoring([&] {
            const TextView name = View(keyField);
            const Text key = Lower(name);
            ThreadRegistry& registry = ThreadRegistry::Current();
            if (registry.FieldCallbackList().KeyExists(key)) {
                Log(L"kelBase::GetFieldCallback - Key Field ",
                    name,
                    L" Already exists",
                    kNoticeLevel);
                out = registry.fieldCallback(key);
                return;
            }
            Log(L"kelBase::GetFieldCallback - Create KeyField Callback ", name, L"", kChangeLevel);
            ComPtr<_kelFieldCallBack> made = Make<FieldCallBack>();
            CallOut([&] { return made->SetKeyId(keyField); });
            registry.FieldCallbackList().Add(Variant(made.get()).get(), key);
            out = std::move(made);
        });
    });
}

STDMETHODIMP Base::RemoveFieldCallBack(BSTR keyField) noexcept {
    return ComMethod([&] {
        Log(L"RemoveFieldCallback ", View(keyField), L"", kChangeLevel);
        Ignoring([&] {
            core::FastCollection& list = ThreadRegistry::Current().FieldCallbackList();
            const Text key = Lower(View(keyField));
            if (list.KeyExists(key)) {
                list.RemoveByKey(key);
            }
        });
        Ignoring([&] { ThreadRegistry::Current().RemoveSessionXRef(View(keyField)); });
    });
}

STDMETHODIMP Base::RenameFieldCallback(BSTR oldKeyId, BSTR newKeyId) noexcept {
    return ComMethod([&] {
        const TextView from = View(oldKeyId);
        const TextView to = View(newKeyId);
        Log(Text(L"RenameFieldCallback from ").append(from), L" to ", to, kChangeLevel);
        Ignoring([&] {
            const auto callback = ThreadRegistry::Current().fieldCallback(from);
            CallOut([&] { return callback->SetKeyId(newKeyId); });
        });
        Ignoring([&] {
            ThreadRegistry::Current().FieldCallbackList().ChangeKey(Lower(from), Lower(to));
        });
        ForEachRow([&](long i) {
            ThreadRegistry& registry = ThreadRegistry::Current();
            if (registry.xref().row(i).keyField == from) {
                registry.xref().renameKeyField(i, to);
                const auto callback = registry.fieldCallback(to);
                CallOut([&] { return callback->FldKeyFieldChanged(newKeyId); });
            }
        });
    });
}

STDMETHODIMP Base::RefreshFieldCallback(BSTR keyField) noexcept {
    return ComMethod([&] {
        Log(L"RefreshFieldCallback from ", View(keyField), L"", kChangeLevel);
        Ignoring([&] {
            const auto callback = ThreadRegistry::Current().fieldCallback(View(keyField));
            const Bstr whole(L"0");
            CallOut([&] {
                return callback->FldRefresh(keyField, whole.get(), whole.get(), whole.get());
            });
        });
    });
}

STDMETHODIMP Base::SetKeyFieldSession(BSTR keyField, BSTR session) noexcept {
    return ComMethod([&] {
        Ignoring(
            [&] { ThreadRegistry::Current().xref().setSession(View(keyField), View(session)); });
    });
}

STDMETHODIMP Base::SetKeyFieldFileName(BSTR keyField, BSTR sFileName) noexcept {
    return ComMethod([&] {
        Ignoring(
            [&] { ThreadRegistry::Current().xref().setFileName(View(keyField), View(sFileName)); });
    });
}

STDMETHODIMP Base::GetSessionCallBack(BSTR session, _kelSessionCallBack** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Ignoring([&] {
            const TextView name = View(session);
            const Text key = Lower(name);
            ThreadRegistry& registry = ThreadRegistry::Current();
            if (registry.SessionCallbackList().KeyExists(key)) {
                Log(L"kelBase::GetSessionCallback - Session ",
                    name,
                    L" Already exists",
                    kNoticeLevel);
                out = registry.sessionCallback(key);
                return;
            }
            Log(L"kelBase::GetSessionCallback - Create Session Callback ", name, L"", kChangeLevel);
            const auto made = Make<SessionCallBack>();
            CallOut([&] { return made->SetSessionName(session); });
            registry.SessionCallbackList().Add(Variant(made.get()).get(), key);
            made->Init();
            out = ComPtr<_kelSessionCallBack>(made);
        });
    });
}

STDMETHODIMP Base::RemoveSessionCallback(BSTR session) noexcept {
    return ComMethod([&] {
        Log(L"RemoveSessionCallback ", View(session), L"", kNoticeLevel);
        Ignoring([&] {
            core::FastCollection& list = ThreadRegistry::Current().SessionCallbackList();
            const Text key = Lower(View(session));
            if (list.KeyExists(key)) {
                list.RemoveByKey(key);
            }
        });
    });
}

STDMETHODIMP Base::RenameSessionCallback(BSTR oldSessionName, BSTR newSessionName) noexcept {
    return ComMethod([&] {
        const TextView from = View(oldSessionName);
        const TextView to = View(newSessionName);
        Log(Text(L"Rename Session from ").append(from), L" to ", to, kChangeLevel);
        Ignoring([&] {
            const auto callback = ThreadRegistry::Current().sessionCallback(Lower(from));
            CallOut([&] { return callback->SetSessionName(newSessionName); });
        });
        Ignoring([&] {
            ThreadRegistry::Current().SessionCallbackList().ChangeKey(Lower(from), Lower(to));
        });
        ForEachRow([&](long i) {
            ThreadRegistry& registry = ThreadRegistry::Current();
            if (registry.xref().row(i).session != from) {
                return;
            }
            registry.xref().renameSession(i, to);
            const Text keyField = registry.xref().row(i).keyField;
            if (!keyField.empty()) {
                const auto callback = registry.fieldCallback(keyField);
                CallOut([&] { return callback->FldSessionChanged(newSessionName); });
            }
        });
    });
}

STDMETHODIMP Base::GetSessionNameList(_Collection** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Ignoring([&] { out = DistinctTexts(&KeyFieldXRef::Row::session); });
    });
}

STDMETHODIMP Base::GetKeyFieldList(_Collection** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        Ignoring([&] { out = DistinctTexts(&KeyFieldXRef::Row::keyField); });
    });
}

STDMETHODIMP
Base::DictNameList(BSTR keyField, BSTR fileName, _Collection** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const Text session = ThreadRegistry::Current().GetKeyFieldSession(View(keyField));
        if (!session.empty()) {
            EngineList(session, out, [&](_kelDBMS& engine, IDispatch** list) {
                return engine.GetDictNameList(fileName, list);
            });
        }
    });
}

STDMETHODIMP Base::FileNameList(BSTR sSessionName, _Collection** result) noexcept {
    return ComMethod([&] {
        Out out{result};
        EngineList(View(sSessionName), out, [](_kelDBMS& engine, IDispatch** list) {
            return engine.GetFileNameList(list);
        });
    });
}

STDMETHODIMP Base::ClassId(BSTR* result) noexcept {
    return GiveText(classId_, result);
}

STDMETHODIMP Base::Version(BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = TextView(DecimalText(KEL_VERSION_MAJOR) + L"." + DecimalText(KEL_VERSION_MINOR) +
                       L"." + DecimalText(KEL_VERSION_REVISION));
    });
}

}  // namespace kel::registry
