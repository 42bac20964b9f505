// The dictionary item's value, in stored, displayed and combined form, and the rows of a
// multivalued field.
//
// A row index stands for the first position of the item that is 0. While a member works on a row
// the item answers that position with the row's, so that the engine addresses the row.
#include "automation/property.h"
#include "client/dict_item.h"

namespace kel::client {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

// Joined to the description of errors, also of those that setting a value raises: clients look for
// this one text.
constexpr const wchar_t* kErrorPrefix = L"kelDictItem:Get ExternalValue:";

template <typename Body>
void WithPrefixedErrors(Body&& body) {
    try {
        body();
    } catch (...) {
        const Error error = CurrentError();
        throw error.withDescription(kErrorPrefix + error.description());
    }
}

}  // namespace

// Applies a row index for the time of one member. An index of 0 neither sets nor clears a row: a
// member called from another one works within the outer row.
class DictItem::RowOverride {
public:
    RowOverride(DictItem& item, short index) noexcept : item_(item), clears_(index > 0) {
        if (clears_ && item.rowLevel_ == RowLevel::kNone) {
            const FieldDefinition& at = item.definition;
            if (at.amc == 0) {
                item.rowLevel_ = RowLevel::kAttribute;
            } else if (at.vmc == 0) {
                item.rowLevel_ = RowLevel::kValue;
            } else if (at.smc == 0) {
                item.rowLevel_ = RowLevel::kSubvalue;
            }
            item.rowIndex_ = index;
        }
    }
    RowOverride(const RowOverride&) = delete;
    RowOverride& operator=(const RowOverride&) = delete;
    ~RowOverride() {
        if (clears_) {
            item_.rowLevel_ = RowLevel::kNone;
            item_.rowIndex_ = 0;
        }
    }

    // Leaves the row in force.
    void keep() noexcept { clears_ = false; }

private:
    DictItem& item_;
    bool clears_;
};

Bstr DictItem::extract(_kelDBMS& engine) {
    Bstr value;
    CallOut([&] { return engine.Extract(self(), value.put()); });
    return value;
}

Bstr DictItem::internalValue(_kelDBMS& engine) {
    Bstr value;
    const bool isKey = effectiveAmc() == 0;
    Ignoring([&] {
        // The record's key belongs to the session that the item names itself.
        value = isKey ? Bstr(recNoOf(*engineOf(definition.session), readKeyId())) : extract(engine);
    });
    if (!definition.correlative.empty()) {
        Text recNo;
        if (!isKey) {
            Ignoring([&] { recNo = recNoOf(engine, definition.keyId); });
        }
        // A correlative that fails leaves nothing, not the value it was to compute from.
        Bstr computed;
        Ignoring([&] {
            if (definition.vmc < SHRT_MIN || definition.vmc > SHRT_MAX) {
                throw Error(kOverflow);
            }
            const Bstr key(recNo);
            Bstr derived;
            CallOut([&] {
                return engine.ProcessCorrelative(value.get(),
                                                 key.get(),
                                                 static_cast<short>(definition.vmc),
                                                 self(),
                                                 derived.put());
            });
            computed = std::move(derived);
        });
        value = std::move(computed);
    }
    return value;
}

// Every error is ignored: a step that fails leaves its part of the value empty.
Bstr DictItem::valueOfRow(TextView session, short index) noexcept {
    Bstr value;
    Ignoring([&] {
        if (!session.empty()) {
            const RowOverride row(*this, index);
            value = internalValue(*engineOf(session));
        }
    });
    return value;
}

STDMETHODIMP DictItem::get_InternalValue(short index, BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const ComPtr<_kelDictItem> keep(self());
        Bstr value;
        Ignoring([&] { value = valueOfRow(sessionName(), index); });
        out = std::move(value);
    });
}

void DictItem::letInternalValue(_kelDBMS& engine, BSTR value) {
    const bool isKey = effectiveAmc() == 0;
    if (!isKey) {
        // A computed field is never written.
        if (definition.correlative.empty()) {
            CallOut([&] { return engine.Replace(value, self()); });
        }
        return;
    }
    if (definition.session.empty() || View(value).empty()) {
        return;
    }
    const auto own = engineOf(definition.session);
    const auto record = recordState(*own, readKeyId());
    if (TextView(GetText(*record, &_kelInfo::get_RecNo)) == View(value)) {
        return;
    }
    CallOut([&] { return record->put_RecNo(value); });
    // Another key typed into the key control starts a new record.
    if (!definition.updateOnly && !GetFlag(*record, &_kelInfo::get_IsNew)) {
        CallOut([&] { return engine.mvNew(nullptr, self()); });
    }
}

STDMETHODIMP DictItem::put_InternalValue(short index, BSTR value) noexcept {
    return ComMethod([&] {
        const ComPtr<_kelDictItem> keep(self());
        WithPrefixedErrors([&] {
            const Text session = sessionName();
            if (!session.empty()) {
                const RowOverride row(*this, index);
                letInternalValue(*engineOf(session), value);
            }
        });
    });
}

STDMETHODIMP DictItem::get_ExternalValue(short index, BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const ComPtr<_kelDictItem> keep(self());
        WithPrefixedErrors([&] {
            const Text session = sessionName();
            if (session.empty()) {
                return;
            }
            const RowOverride row(*this, index);
            Bstr value = valueOfRow(session, 0);
            if (!definition.defaultProg.empty()) {
                const Bstr program(definition.defaultProg);
                const Bstr kind(L"D");
                CallOut([&] { return CallProg(program.get(), kind.get(), value.inOut()); });
            }
            if (!definition.conversion.empty()) {
                const auto engine = engineOf(session);
                const Bstr conversion(definition.conversion);
                Variant converted;
                CallOut(
                    [&] { return engine->Oconv(value.get(), conversion.get(), converted.put()); });
                value = std::move(converted).text();
            }
            out = std::move(value);
        });
    });
}

STDMETHODIMP DictItem::put_ExternalValue(short index, BSTR entered) noexcept {
    return ComMethod([&] {
        const ComPtr<_kelDictItem> keep(self());
        const Text session = sessionName();
        if (session.empty()) {
            return;
        }
        RowOverride row(*this, index);
        Bstr value(View(entered));
        if (!definition.conversion.empty()) {
            const auto engine = engineOf(session);
            const Bstr conversion(definition.conversion);
            Variant converted;
            CallOut([&] { return engine->Iconv(value.get(), conversion.get(), converted.put()); });
            value = std::move(converted).text();
        }
        if (!definition.validationProg.empty()) {
            const Bstr program(definition.validationProg);
            const Bstr kind(L"V");
            CallOut([&] { return CallProg(program.get(), kind.get(), value.inOut()); });
            if (definition.errMsg.empty()) {
                // Published behaviour: without a message on the item nothing is stored and the row
                // stays addressed.
                row.keep();
                return;
            }
        }
        CallOut([&] { return put_InternalValue(0, value.get()); });
    });
}

// Every error is ignored.
STDMETHODIMP DictItem::get_DisplayValue(EnumDisplayType displayType,
                                        BSTR* description,
                                        BSTR value,
                                        short index,
                                        BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const ComPtr<_kelDictItem> keep(self());
        Text shown(View(value));
        Text explained(description != nullptr ? View(*description) : TextView());
        if (shown.empty()) {
            Ignoring([&] { shown = valueOfRow(sessionName(), index).view(); });
        }
        if (explained.empty() && !definition.correlative.empty()) {
            Ignoring([&] {
                ComPtr<_kelTools> tools;
                CallOut([&] { return Tools(tools.put()); });
                const Bstr keyId(readKeyId());
                const Bstr correlative(definition.correlative);
                const Bstr current(shown);
                Bstr derived;
                CallOut([&] {
                    return tools->ProcessCorrelative(keyId.get(),
                                                     correlative.get(),
                                                     current.get(),
                                                     current.get(),
                                                     0,
                                                     derived.put());
                });
                explained = derived.view();
            });
        } else if (explained.empty()) {
            explained = shown;
        }
        if (explained.empty()) {
            explained = shown;
        }
        if (description != nullptr) {
            Bstr given(explained);
            std::swap(*description, *given.inOut());
        }
        constexpr const wchar_t* kJoint = L" - ";
        if (explained == shown) {
            out = TextView(shown);
        } else if (displayType == edtDescriptionOnly) {
            out = TextView(explained);
        } else if (displayType == edtValueDescription) {
            out = TextView(shown + kJoint + explained);
        } else if (displayType == edtDescriptionValue) {
            out = TextView(explained + kJoint + shown);
        } else {
            out = TextView();
        }
    });
}

STDMETHODIMP DictItem::InsertRow(BSTR value, short rowToInsertAt) noexcept {
    return ComMethod([&] {
        Ignoring([&] {
            const ComPtr<_kelDictItem> keep(self());
            const RowOverride row(*this, rowToInsertAt);
            const auto engine = engineOf(sessionName());
            CallOut([&] { return engine->Insert(value, self()); });
        });
    });
}

STDMETHODIMP DictItem::RemoveRow(short index) noexcept {
    return ComMethod([&] {
        Ignoring([&] {
            const ComPtr<_kelDictItem> keep(self());
            const RowOverride row(*this, index);
            const auto engine = engineOf(sessionName());
            CallOut([&] { return engine->Delete(self()); });
        });
    });
}

}  // namespace kel::client
