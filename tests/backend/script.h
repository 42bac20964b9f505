// What a test wants of the back-end's calls, and what calls came.
#pragma once

#include <memory>
#include <span>

#include "tests/backend/test_backend.h"

namespace kel::tests {

// A parameter of a call or its result. `place` holds the value of an incoming parameter, borrowed,
// or refers to the caller's variable; a null address stays one and is refused by the entry.
struct Parameter {
    Parameter(BSTR text) {  // NOLINT: implicit on purpose, like those below
        V_VT(&place) = VT_BSTR;
        V_BSTR(&place) = text;
    }
    Parameter(IDispatch* object) {  // NOLINT
        V_VT(&place) = VT_DISPATCH;
        V_DISPATCH(&place) = object;
    }
    Parameter(long number) : place(Value(number).get()) {}   // NOLINT
    Parameter(short number) : place(Value(number).get()) {}  // NOLINT
    template <typename T>
    Parameter(T* target) : place(ByRef(target).get()) {}  // NOLINT
    Parameter(VARIANT* target)                            // NOLINT
        : place(target != nullptr && automation::IsMissing(target)
                    ? *target
                    : ByRef(VT_VARIANT, target).get()) {}

    VARIANT place{};
    bool isResult = false;
};
using Parameters = std::span<const Parameter>;

class Script {
public:
    // Writes the call down and runs what is due; `body` is the default behaviour, which may throw.
    // What the caller has to raise, if anything.
    std::optional<Failure> run(Member member,
                               Parameters parameters,
                               const std::function<void()>& body);

    void addRule(
        std::optional<Member> member, long number, When when, Phase phase, Handler handler);
    const std::vector<RecordedCall>& calls() const { return calls_; }
    void clearCalls();
    void reset();

private:
    struct Rule {
        std::optional<Member> member;  // none: for call `number`
        long number;
        When when;
        Phase phase;
        Handler handler;
        bool isSpent = false;
    };
    using Due = std::vector<std::shared_ptr<const Rule>>;

    Due due(Member member);

    std::vector<std::shared_ptr<Rule>> rules_;
    std::vector<RecordedCall> calls_;
    long number_ = 0;  // of the newest call
};

}  // namespace kel::tests
