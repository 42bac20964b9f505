// Conversions, the command level and stored programs of the embedded back-end.
#include <array>

#include "hosts/embedded/edges.h"
#include "hosts/embedded/host.h"

namespace kel::embedded {

using namespace automation;  // NOLINT(google-build-using-namespace): the folder below

namespace {

// What a refused sentence returns: the number of an error, by which programs tell it from reports
// of work done. A mistake in the sentence has one of its own, since 5 could be a report's number.
long NumberOfRefusal(text::ErrorKind kind) {
    return kind == text::ErrorKind::kBadArgument ? kOwnErrors : NumberOf(kind);
}

}  // namespace

// A value or code that does not convert comes back unchanged: a list shows it as it is stored.
STDMETHODIMP Host::Oconv(BSTR value, BSTR code, VARIANT* result) noexcept {
    return HostMember(L"Oconv", [&] {
        Out out{result};
        const auto held = connection();
        out =
            Variant(Wide(conversion::Oconv(Units(value), Units(code), held->environment()).value));
    });
}

// An entry that does not convert is an error: a form must be able to refuse it.
STDMETHODIMP Host::Iconv(BSTR value, BSTR code, VARIANT* result) noexcept {
    return HostMember(L"Iconv", [&] {
        Out out{result};
        const auto held = connection();
        out = Variant(Wide(Entered(Units(value), Units(code), held->environment())));
    });
}

// What the account refuses is part of the output, as on a terminal.
STDMETHODIMP Host::Execute(BSTR sentence, BSTR* capture, BSTR* returning) noexcept {
    return HostMember(L"Execute", [&] {
        Require(capture);
        Require(returning);
        const auto held = connection();
        const text::Text own(Units(sentence));  // its owner may be changed by a program
        command::Answer answer;
        held->run([&] { answer = held->session().Execute(own); });
        Assign(capture, Wide(answer.output));
        Assign(returning,
               answer.failure ? DecimalText(NumberOfRefusal(*answer.failure))
                              : Text(Wide(answer.codes)));
    });
}

STDMETHODIMP Host::CallHost(BSTR progName,
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
    return HostMember(L"CallHost", [&] {
        const auto held = connection();
        const std::array all{
            arg1, arg2, arg3, arg4, arg5, arg6, arg7, arg8, arg9, arg10, arg11, arg12};
        held->run([&] { held->programs().run(Units(progName), Given(all)); });
    });
}

}  // namespace kel::embedded
