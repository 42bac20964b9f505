#include "tests/backend/script.h"

#include "tests/backend/opaque.h"

namespace kel::tests {
namespace {

// In the order of Member. A name that ends in "=" has the new value as its last parameter.
constexpr TextView kMemberNames =
    L"Create PropertyCount GetPropertyName PropertyValue PropertyValue= PropertyObject "
    L"PropertyObject= PropertyDescription PropertyDefault OsType OsDescription DatabaseType "
    L"Version IsConnected ConnectFailed Connect Disconnect CreateDynamicArray Extract Replace "
    L"Insert Delete Locate Dcount Oconv Iconv mvRead mvWrite mvDelete mvRelease CallHost OpenFile "
    L"CloseFile ProcessSelect CloseSelect ReadNext Execute ReadDictItem WriteDictItem "
    L"ProcessCorrelative ValidCorrelative SelectDictName SelectFileName ";

Text NameOf(Member member) {
    std::size_t start = 0;
    for (int i = 0; i < static_cast<int>(member); ++i) {
        start = kMemberNames.find(L' ', start) + 1;
    }
    return Text(kMemberNames.substr(start, kMemberNames.find(L' ', start) - start));
}

Text ShownParameter(const VARIANT& place) {
    if (automation::IsMissing(&place)) {
        return Shown(place);
    }
    const Variant target = Variant::Through(place);
    return target.isObject() ? Opaque::NameOf(V_UNKNOWN(&target.get())) : Shown(target.get());
}

Text CallText(Member member, Parameters parameters) {
    Text name = NameOf(member);
    std::vector<Text> shown;
    for (const Parameter& parameter : parameters) {
        if (!parameter.isResult) {
            shown.push_back(ShownParameter(parameter.place));
        }
    }
    while (!shown.empty() && shown.back() == L"Missing") {
        shown.pop_back();
    }
    Text assigned;
    if (name.ends_with(L'=')) {
        name.pop_back();
        assigned = L"=" + shown.back();
        shown.pop_back();
    }
    if (shown.empty()) {
        return name + assigned;
    }
    Text list;
    for (const Text& one : shown) {
        list += (&one == shown.data() ? L"" : L",") + one;
    }
    return name + L"(" + list + L")" + assigned;
}

// Puts a value into the caller's variable, converted to its type.
void Assign(const VARIANT& place, const Variant& value) {
    const auto kind = static_cast<VARTYPE>(V_VT(&place) & ~VT_BYREF);
    if ((V_VT(&place) & VT_BYREF) == 0) {
        throw automation::Error(E_INVALIDARG, L"tests", L"Not a by-reference parameter");
    }
    Variant converted;
    if (kind == VT_VARIANT) {
        converted = value;
        std::swap(*V_VARIANTREF(&place), *converted.inOut());
        return;
    }
    if (kind == VT_DISPATCH) {
        ComPtr<IDispatch> object = value.object<IDispatch>();
        if (IDispatch* const former = std::exchange(*V_DISPATCHREF(&place), object.detach())) {
            former->Release();
        }
        return;
    }
    automation::Check(
        VariantChangeType(converted.put(), const_cast<VARIANT*>(&value.get()), 0, kind));
    VARIANT& plain = *converted.inOut();
    switch (kind) {
        case VT_BSTR:
            std::swap(*V_BSTRREF(&place), V_BSTR(&plain));
            break;
        case VT_I4:
            *V_I4REF(&place) = V_I4(&plain);
            break;
        default:  // VT_I2 and VT_BOOL
            *V_I2REF(&place) = V_I2(&plain);
    }
}

class Call final : public CallInProgress {
public:
    Call(Member member, Parameters parameters)
        : parameters_(parameters), text_(CallText(member, parameters)) {}

    Text text() const override { return text_; }
    void set(int parameter, const Variant& value) override {
        Assign(parameter == kResult ? parameters_.back().place
                                    : parameters_[static_cast<std::size_t>(parameter)].place,
               value);
    }
    void fail(const Failure& failure) override { failure_ = failure; }

    const std::optional<Failure>& failure() const { return failure_; }

private:
    Parameters parameters_;
    Text text_;
    std::optional<Failure> failure_;
};

}  // namespace

std::optional<Failure> Script::run(Member member,
                                   Parameters parameters,
                                   const std::function<void()>& body) {
    Call call(member, parameters);
    calls_.push_back({member, call.text()});
    ++number_;
    // Taken before anything runs: a handler may call again, add rules or reset everything.
    const Due rules = due(member);
    for (const Phase phase : {Phase::kBefore, Phase::kInstead, Phase::kAfter}) {
        bool ran = false;
        for (const auto& rule : rules) {
            if (rule->phase == phase) {
                rule->handler(call);
                ran = true;
            }
            if (call.failure()) {
                return call.failure();
            }
        }
        if (phase == Phase::kInstead && !ran) {
            body();
        }
    }
    return {};
}

Script::Due Script::due(Member member) {
    Due result;
    bool hasInstead = false;
    const auto take = [&](const std::shared_ptr<Rule>& rule) {
        const bool isInstead = rule->phase == Phase::kInstead;
        if (rule->isSpent || (isInstead && hasInstead)) {
            return;
        }
        rule->isSpent = rule->when == kOnce;
        hasInstead = hasInstead || isInstead;
        result.push_back(rule);
    };
    for (const auto& rule : rules_) {
        if (!rule->member && rule->number == number_) {
            take(rule);
        }
    }
    for (const auto& rule : rules_) {
        if (rule->member == member) {
            take(rule);
        }
    }
    return result;
}

void Script::addRule(
    std::optional<Member> member, long number, When when, Phase phase, Handler handler) {
    rules_.push_back(std::make_shared<Rule>(Rule{member, number, when, phase, std::move(handler)}));
}

void Script::clearCalls() {
    calls_.clear();
    number_ = 0;
}

void Script::reset() {
    clearCalls();
    rules_.clear();
}

}  // namespace kel::tests
