// Calls of stored programs. The protocol that authors of stored programs rely on is described in
// docs/host-programs.md.
#include <array>

#include "engine/dbms.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr std::size_t kMostArguments = 12;
constexpr wchar_t kAttributeMark = 254;
constexpr wchar_t kValueMark = 253;
constexpr TextView kHostProgramPrefix = L"C:";
constexpr TextView kBothKinds = L"d,v";
constexpr TextView kButton = L"mvButton";
constexpr TextView kRefreshCode = L"2";
// The answer stands behind this mark of the parameter record.
constexpr int kAnswerMark = 9;

using Arguments = std::array<VARIANT*, kMostArguments>;

// Stand-ins for arguments left out: one each, since a program may put something there.
class MissingArguments {
public:
    MissingArguments() noexcept { values_.fill(Variant::Missing()); }
    VARIANT* operator[](std::size_t i) noexcept { return values_[i].inOut(); }

private:
    std::array<Variant, kMostArguments> values_;
};

// Calls a stored program with some arguments, the others missing.
void Call(_mviHostDLL& host, BSTR progName, std::initializer_list<VARIANT*> given) {
    MissingArguments missing;
    Arguments args{};
    for (std::size_t i = 0; i < kMostArguments; ++i) {
        args[i] = i < given.size() ? given.begin()[i] : missing[i];
    }
    std::apply([&](auto*... arg) { CallOut([&] { return host.CallHost(progName, arg...); }); },
               args);
}

Text Joined(std::initializer_list<TextView> parts, wchar_t mark) {
    Text result;
    for (const TextView& part : parts) {
        if (&part != parts.begin()) {
            result += mark;
        }
        result += part;
    }
    return result;
}

// Everything after the ninth attribute mark; nothing when there are fewer.
TextView AnswerOf(TextView parameters) {
    for (int mark = 0; mark < kAnswerMark; ++mark) {
        const std::size_t found = parameters.find(kAttributeMark);
        if (found == TextView::npos) {
            return {};
        }
        parameters.remove_prefix(found + 1);
    }
    return parameters;
}

void ShowFailure(TextView progName, const Error& error) {
    const Text text = Text(L"Calling Host Program: ").append(progName) + L"\r\nSource: " +
                      error.source() + L"\r\nError Number: " + DecimalText(error.number()) +
                      L"\r\nDescription: " + error.description();
    MessageBoxW(GetActiveWindow(), text.c_str(), L"Calling Host Program", MB_OK | MB_TASKMODAL);
}

// Gives a caller's by-reference text a new value.
void Assign(BSTR& target, Bstr value) noexcept {
    SysFreeString(std::exchange(target, value.detach()));
}

void RefreshWholeRecord(_kelFieldCallBack& callback) {
    const Bstr whole(L"0");
    CallOut([&] { return callback.FldRefresh(nullptr, whole.get(), whole.get(), whole.get()); });
}

}  // namespace

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
        Arguments args{arg1, arg2, arg3, arg4, arg5, arg6, arg7, arg8, arg9, arg10, arg11, arg12};
        // Only the arguments before the first missing one are passed.
        MissingArguments missing;
        bool isMissing = false;
        for (std::size_t i = 0; i < kMostArguments; ++i) {
            isMissing = isMissing || IsMissing(args[i]);
            args[i] = isMissing ? missing[i] : args[i];
        }
        const auto called = host();
        std::apply(
            [&](auto*... arg) { CallOut([&] { return called->CallHost(progName, arg...); }); },
            args);
    });
}

// Puts what a stored program made of the record back into the key field.
void Dbms::storeHostRecord(RecordInfo& info, const VARIANT& recNo, const VARIANT& record) {
    const Bstr text = Variant::Through(record).text();
    const Bstr number = Variant::Through(recNo).text();
    ComPtr<IDispatch> array = info.state.dynamicArray;
    const auto editor = host();
    CallOut([&] { return editor->Replace(array.inOut(), text.get(), 0, 0, 0); });
    info.state.recNo = number.view();
    info.state.dynamicArray = std::move(array);
}

STDMETHODIMP Dbms::CallHost(IDispatch* item,
                            BSTR progName,
                            VARIANT* extra,
                            BSTR* value,
                            VARIANT_BOOL fourArguments) noexcept {
    return ComMethod([&] {
        callHost(item, progName, &Require(extra), &Require(value), fourArguments != VARIANT_FALSE);
    });
}

// A failure is shown to the user; none reaches the caller.
void Dbms::callHost(
    IDispatch* item, BSTR progName, VARIANT* extra, BSTR* value, bool fourArguments) noexcept {
    try {
        const Text key = RequireKey(FieldItem(item).keyId(), L"mvDBMS::CallHost");
        if (View(progName).empty()) {
            return;
        }
        const auto record = info(key);
        ComPtr<IDispatch> array = record->state.dynamicArray;
        const auto called = host();
        Bstr recordText;
        CallOut([&] { return called->Extract(array.inOut(), 0, 0, 0, recordText.put()); });

        Variant recNo{TextView(record->state.recNo)};
        Variant whole{std::move(recordText)};
        Variant code{TextView()};
        Variant answer{View(*value)};
        if (fourArguments) {
            Call(*called, progName, {recNo.inOut(), whole.inOut(), code.inOut(), answer.inOut()});
        } else {
            Call(*called,
                 progName,
                 {recNo.inOut(), whole.inOut(), extra, code.inOut(), answer.inOut()});
        }
        storeHostRecord(*record, recNo.get(), whole.get());
        Assign(*value, answer.text());
        if (code.text().view() == kRefreshCode) {
            Assign(*value, Bstr());
            tellField(key, [](_kelFieldCallBack& callback) {
                RefreshWholeRecord(callback);
                return S_OK;
            });
        }
    } catch (...) {
        Ignoring([&] { ShowFailure(View(progName), CurrentError()); });
    }
}

STDMETHODIMP Dbms::CallCommonHost(
    BSTR progSpec, BSTR progType, BSTR* value, BSTR sessionName, IDispatch* object) noexcept {
    return ComMethod([&] {
        Require(value);
        const FieldItem item(object);
        const Text key = RequireKey(item.keyId(), L"mvDBMS::mvCallCommonHost");
        const TextView spec = View(progSpec);
        if (spec.empty()) {
            return;
        }
        if (!spec.starts_with(kHostProgramPrefix)) {
            const bool servesBoth = Lower(View(progType)).find(kBothKinds) != Text::npos;
            Variant kind{View(progType)};
            callHost(object, progSpec, kind.inOut(), value, !servesBoth);
            return;
        }
        const Bstr progName(spec.substr(kHostProgramPrefix.size()));
        const bool isButton = TextView(item.text(&_kelDictItem::get_ControlName)) == kButton;
        const Position at = isButton ? Position() : item.address().at;

        const auto record = info(key);
        ComPtr<IDispatch> array = record->state.dynamicArray;
        const auto called = host();
        Bstr recordText;
        CallOut([&] { return called->Extract(array.inOut(), 0, 0, 0, recordText.put()); });

        const Text place =
            Joined({DecimalText(at.amc), DecimalText(at.vmc), DecimalText(at.smc)}, kValueMark);
        const Text fileName = resolveFileName(item, *record, key);
        const Text message = item.text(&_kelDictItem::get_ErrMsg);
        Variant recNo{TextView(record->state.recNo)};
        Variant whole{std::move(recordText)};
        Variant parameters{TextView(Joined(
            {View(progType), place, key, fileName, View(sessionName), L"", L"", L"", L"", message},
            kAttributeMark))};
        Variant answer{View(*value)};
        Call(*called,
             progName.get(),
             {recNo.inOut(), whole.inOut(), parameters.inOut(), answer.inOut()});
        storeHostRecord(*record, recNo.get(), whole.get());
        Assign(*value, answer.text());
        if (AnswerOf(parameters.text().view()) == kRefreshCode) {
            tellField(key, [](_kelFieldCallBack& callback) {
                RefreshWholeRecord(callback);
                return S_OK;
            });
        }
    });
}

}  // namespace kel::engine
