// Lending a program its arguments and the record, and putting back what it made of them.
#include "engine/host_calls.h"

#include <algorithm>
#include <utility>

#include "automation/by_reference.h"
#include "engine/key_fields.h"

namespace kel::engine {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

constexpr wchar_t kAttributeMark = 254;
constexpr wchar_t kValueMark = 253;
constexpr TextView kHostProgramPrefix = L"C:";
constexpr TextView kBothKinds = L"d,v";
constexpr TextView kButton = L"mvButton";
constexpr TextView kRefreshCode = L"2";
// The answer stands behind this mark of the parameter record.
constexpr int kAnswerMark = 9;

// Stand-ins for arguments left out: one each, since a program may put something there.
class MissingArguments {
public:
    MissingArguments() noexcept { values_.fill(Variant::Missing()); }
    VARIANT* operator[](std::size_t i) noexcept { return values_[i].inOut(); }

private:
    std::array<Variant, kMostArguments> values_;
};

void Call(_mviHostDLL& host, BSTR progName, const Arguments& args) {
    std::apply([&](auto*... arg) { CallOut([&] { return host.CallHost(progName, arg...); }); },
               args);
}

// Calls a stored program with some arguments, the others missing.
void Call(_mviHostDLL& host, BSTR progName, std::initializer_list<VARIANT*> given) {
    MissingArguments missing;
    Arguments args{};
    for (std::size_t i = 0; i < kMostArguments; ++i) {
        args[i] = i < given.size() ? given.begin()[i] : missing[i];
    }
    Call(host, progName, args);
}

// A caller's arguments as a program gets them: plain values, since a back-end changes the variants
// it is given and not what they may refer to. Those that refer to variables of the caller are lent
// as copies, which giveBack() puts there. Only the arguments before the first missing one are
// passed.
class CallersArguments {
public:
    // Throws for a reference to nothing.
    explicit CallersArguments(const Arguments& given) {
        bool isMissing = false;
        for (std::size_t i = 0; i < kMostArguments; ++i) {
            VARIANT* const last = isMissing ? nullptr : lastOf(given[i]);
            isMissing = isMissing || IsMissing(last);
            if (isMissing) {
                passed[i] = missing_[i];
            } else if ((V_VT(last) & VT_BYREF) != 0) {
                variables_[i] = last;
                copies_[i] = Variant::Through(*last);
                passed[i] = copies_[i].inOut();
            } else {
                passed[i] = last;
            }
        }
    }

    // Stores each result in the type of its variable. One that does not fit keeps none of the
    // others from its caller; it is 13 (type mismatch) when all are stored.
    void giveBack() {
        bool allFit = true;
        for (std::size_t i = 0; i < kMostArguments; ++i) {
            if (variables_[i] != nullptr) {
                allFit =
                    SUCCEEDED(PutBehind(*variables_[i], copies_[i], LOCALE_USER_DEFAULT)) && allFit;
            }
        }
        if (!allFit) {
            throw Error(kTypeMismatch);
        }
    }

    Arguments passed{};

private:
    static VARIANT* lastOf(VARIANT* given) {
        if (given == nullptr || (V_VT(given) & VT_BYREF) == 0) {
            return given;
        }
        VARIANT* const last = Behind(given);
        if (last == nullptr) {
            throw Error(kTypeMismatch);
        }
        return last;
    }

    MissingArguments missing_;
    Arguments variables_{};
    std::array<Variant, kMostArguments> copies_;
};

// The texts that a program left in its arguments. One that holds none, as an object or an array,
// does not lose what came in the others.
class TextsLeft {
public:
    // Null is the empty text, as of an argument emptied. No answer for what has no text.
    std::optional<Bstr> in(const Variant& argument) {
        std::optional<Bstr> text;
        try {
            const Variant left = Variant::Through(argument.get());
            text = V_VT(&left.get()) == VT_NULL ? Bstr() : left.text();
        } catch (...) {
            if (!failure_) {
                failure_ = CurrentError();
            }
        }
        return text;
    }
    // To be called when the others are in their places: throws 13 (type mismatch) if one had none.
    void requireAll() const {
        if (failure_) {
            throw Error(*failure_);
        }
    }

private:
    std::optional<Error> failure_;
};

// A part of the parameter record: an attribute mark in it would move the parts behind it.
Text AsPart(TextView text) {
    Text part(text);
    std::replace(part.begin(), part.end(), kAttributeMark, L' ');
    return part;
}

Text ParameterRecord(std::initializer_list<TextView> parts) {
    Text result;
    for (const TextView& part : parts) {
        if (&part != parts.begin()) {
            result += kAttributeMark;
        }
        result += AsPart(part);
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
    Text text = Text(L"Calling Host Program: ").append(progName) + L"\r\nSource: " +
                error.source() + L"\r\nError Number: " + DecimalText(error.number()) +
                L"\r\nDescription: " + error.description();
    // A message box ends at the first U+0000, and a name with one in it is worth seeing whole.
    std::replace(text.begin(), text.end(), L'\0', L'\uFFFD');
    MessageBoxW(GetActiveWindow(), text.c_str(), L"Calling Host Program", MB_OK | MB_TASKMODAL);
}

// Gives a caller's by-reference text a new value.
void Assign(BSTR& target, Bstr value) noexcept {
    Bstr::Adopt(std::exchange(target, value.detach()));
}

template <typename Run>
void ShowingFailure(BSTR progName, Run&& run) noexcept {
    try {
        run();
    } catch (...) {
        Ignoring([&] { ShowFailure(View(progName), CurrentError()); });
    }
}

}  // namespace

void HostCalls::call(BSTR progName, const Arguments& given) {
    CallersArguments args(given);
    const auto called = host_.host();
    try {
        Call(*called, progName, args.passed);
    } catch (...) {
        const Error failure = CurrentError();
        Ignoring([&] { args.giveBack(); });
        throw Error(failure);
    }
    args.giveBack();
}

// The record as a stored program gets it, and as it is put back into the key field.
struct HostCalls::HostRecord {
    ComPtr<RecordInfo> info;
    ComPtr<_mviHostDLL> host;
    Variant recNo;
    Variant text;
};

HostCalls::HostRecord HostCalls::lendHostRecord(TextView keyId, const Text& key) {
    HostRecord lent{states_.EnsureKeyFieldInfo(keyId, key), host_.host(), {}, {}};
    ComPtr<IDispatch> array = lent.info->state.dynamicArray;
    Bstr text;
    CallOut([&] { return lent.host->Extract(array.inOut(), 0, 0, 0, text.put()); });
    lent.recNo = Variant(TextView(lent.info->state.recNo));
    lent.text = Variant(std::move(text));
    return lent;
}

void HostCalls::storeHostRecord(RecordState& state,
                                const std::optional<Bstr>& recNo,
                                const std::optional<Bstr>& text) {
    if (text) {
        ComPtr<IDispatch> array = state.dynamicArray;
        const auto editor = host_.host();
        CallOut([&] { return editor->Replace(array.inOut(), text->get(), 0, 0, 0); });
        state.dynamicArray = std::move(array);
    }
    if (recNo) {
        state.recNo = recNo->view();
    }
}

// A program that runs because a control shows its value, and answers every time that all controls
// show theirs again, would call itself without end: while the key field's controls follow such an
// answer, a further one is not followed. Key fields whose programs answer one another end the same
// way, each being followed once.
void HostCalls::refreshForProgram(const Text& key) noexcept {
    Ignoring([&] {
        if (!refreshedByProgram_.insert(key).second) {
            return;
        }
        TellField(key, [](_kelFieldCallBack& callback) {
            const Bstr whole(L"0");
            return callback.FldRefresh(nullptr, whole.get(), whole.get(), whole.get());
        });
        refreshedByProgram_.erase(key);
    });
}

void HostCalls::run(
    IDispatch* item, BSTR progName, VARIANT* extra, BSTR* value, bool fourArguments) noexcept {
    ShowingFailure(progName,
                   [&] { runOn(FieldItem(item).keyId(), progName, extra, value, fourArguments); });
}

void HostCalls::run(
    TextView keyId, BSTR progName, VARIANT* extra, BSTR* value, bool fourArguments) noexcept {
    ShowingFailure(progName, [&] { runOn(keyId, progName, extra, value, fourArguments); });
}

void HostCalls::runOn(
    TextView keyId, BSTR progName, VARIANT* extra, BSTR* value, bool fourArguments) {
    const Text key = RequireKey(keyId, L"mvDBMS::CallHost");
    if (View(progName).empty()) {
        return;
    }
    HostRecord record = lendHostRecord(keyId, key);
    Variant code{TextView()};
    Variant answer{View(*value)};
    if (fourArguments) {
        Call(*record.host,
             progName,
             {record.recNo.inOut(), record.text.inOut(), code.inOut(), answer.inOut()});
    } else {
        Call(*record.host,
             progName,
             {record.recNo.inOut(), record.text.inOut(), extra, code.inOut(), answer.inOut()});
    }
    if (V_VT(extra) == VT_NULL) {
        *extra = Variant(TextView()).detach();
    }
    TextsLeft left;
    storeHostRecord(record.info->state, left.in(record.recNo), left.in(record.text));
    if (auto text = left.in(answer)) {
        Assign(*value, std::move(*text));
    }
    const auto returned = left.in(code);
    if (returned && returned->view() == kRefreshCode) {
        Assign(*value, Bstr());
        refreshForProgram(key);
    }
    left.requireAll();
}

void HostCalls::runItem(
    BSTR progSpec, BSTR progType, BSTR* value, TextView sessionName, IDispatch* object) {
    const FieldItem item(object);
    const Text keyId = item.keyId();
    // Not the member's name, but the one that programs look for.
    const Text key = RequireKey(keyId, L"mvDBMS::mvCallCommonHost");
    const TextView spec = View(progSpec);
    if (spec.empty()) {
        return;
    }
    if (!spec.starts_with(kHostProgramPrefix)) {
        const bool servesBoth = Lower(View(progType)).find(kBothKinds) != Text::npos;
        Variant kind{View(progType)};
        run(keyId, progSpec, kind.inOut(), value, !servesBoth);
        return;
    }
    const Bstr progName(spec.substr(kHostProgramPrefix.size()));
    const bool isButton = TextView(item.text(&_kelDictItem::get_ControlName)) == kButton;
    const Position at = isButton ? Position() : item.address().at;

    HostRecord record = lendHostRecord(keyId, key);
    const Text place =
        DecimalText(at.amc) + kValueMark + DecimalText(at.vmc) + kValueMark + DecimalText(at.smc);
    const Text fileName =
        RecordStates::fileName(item.text(&_kelDictItem::get_FileName), record.info.get(), key);
    const Text message = item.text(&_kelDictItem::get_ErrMsg);
    Variant parameters{TextView(ParameterRecord(
        {View(progType), place, key, fileName, sessionName, L"", L"", L"", L"", message}))};
    Variant answer{View(*value)};
    Call(*record.host,
         progName.get(),
         {record.recNo.inOut(), record.text.inOut(), parameters.inOut(), answer.inOut()});
    TextsLeft left;
    storeHostRecord(record.info->state, left.in(record.recNo), left.in(record.text));
    if (auto text = left.in(answer)) {
        Assign(*value, std::move(*text));
    }
    const auto returned = left.in(parameters);
    if (returned && AnswerOf(returned->view()) == kRefreshCode) {
        refreshForProgram(key);
    }
    left.requireAll();
}

}  // namespace kel::engine
