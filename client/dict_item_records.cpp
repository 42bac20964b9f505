// The dictionary item's members on the whole record. An item without a session does nothing; errors
// of the engine, and a session without one (381), reach the caller.
#include "automation/property.h"
#include "client/dict_item.h"

namespace kel::client {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

// The marks between attributes, values and subvalues.
constexpr wchar_t kAttributeMark = 254;
constexpr wchar_t kValueMark = 253;
constexpr wchar_t kSubvalueMark = 252;

}  // namespace

STDMETHODIMP DictItem::ReadRecord(short* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const Text session = sessionName();
        if (session.empty()) {
            return;
        }
        const auto engine = engineOf(session);
        const Bstr recNo(recNoOf(*engine, readKeyId()));
        short code = 0;
        CallOut([&] { return engine->mvRead(recNo.get(), self(), &code); });
        out = code;
    });
}

STDMETHODIMP DictItem::WriteRecord(short* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        const Text session = sessionName();
        if (session.empty()) {
            return;
        }
        const auto engine = engineOf(session);
        const Bstr recNo(recNoOf(*engine, readKeyId()));
        short code = 0;
        CallOut(
            [&] { return engine->mvWrite(Flag(definition.writeU), recNo.get(), self(), &code); });
        const auto record = recordState(*engine, readKeyId());
        CallOut([&] { return record->put_IsRead(VARIANT_TRUE); });
        out = code;
    });
}

STDMETHODIMP DictItem::DeleteRecord() noexcept {
    return ComMethod([&] {
        const Text session = sessionName();
        if (!session.empty()) {
            const auto engine = engineOf(session);
            const Bstr recNo(recNoOf(*engine, readKeyId()));
            CallOut([&] { return engine->mvDelete(recNo.get(), self()); });
        }
    });
}

STDMETHODIMP DictItem::ClearRecord() noexcept {
    return ComMethod([&] {
        const Text session = sessionName();
        if (!session.empty()) {
            const auto engine = engineOf(session);
            CallOut([&] { return engine->mvNew(nullptr, self()); });
        }
    });
}

// Counts what stands at the first position that is 0; with all three set there is nothing to count.
STDMETHODIMP DictItem::Count(short* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        wchar_t mark = kSubvalueMark;
        if (definition.amc == 0) {
            mark = kAttributeMark;
        } else if (definition.vmc == 0) {
            mark = kValueMark;
        } else if (definition.smc != 0) {
            return;
        }
        Ignoring([&] {
            const Text session = sessionName();
            if (session.empty()) {
                return;
            }
            const auto engine = engineOf(session);
            const Bstr delimiter(TextView(&mark, 1));
            long count = 0;
            CallOut([&] { return engine->Dcount(delimiter.get(), self(), &count); });
            if (count < SHRT_MIN || count > SHRT_MAX) {
                throw Error(kOverflow);
            }
            out = static_cast<short>(count);
        });
    });
}

STDMETHODIMP DictItem::CallProg(BSTR progName, BSTR progType, BSTR* value) noexcept {
    return ComMethod([&] {
        const Text session = sessionName();
        if (!session.empty()) {
            const auto engine = engineOf(session);
            const Bstr name(session);
            CallOut([&] {
                return engine->CallCommonHost(progName, progType, value, name.get(), self());
            });
        }
    });
}

}  // namespace kel::client
