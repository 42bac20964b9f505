// The edge between automation and the portable library: text without a copy, errors by number.
#pragma once

#include <cstdint>
#include <span>

#include "automation/com_method.h"
#include "hosts/multivalue/conversion/conversion.h"
#include "hosts/multivalue/text/dynamic_array.h"
#include "hosts/multivalue/text/error.h"
#include "hosts/multivalue/text/text.h"
#include "kelSDK.h"

namespace kel::embedded {

// The two text types have the same units, so a view of one is a view of the other.
static_assert(sizeof(wchar_t) == sizeof(char16_t));

inline text::TextView Units(automation::TextView text) noexcept {
    return {reinterpret_cast<const char16_t*>(text.data()), text.size()};
}
inline text::TextView Units(BSTR text) noexcept {
    return Units(automation::View(text));
}

inline automation::TextView Wide(text::TextView text) noexcept {
    return {reinterpret_cast<const wchar_t*>(text.data()), text.size()};
}

// The place that a caller's three numbers mean.
inline text::Position At(long attribute, long value, long subvalue) noexcept {
    return {static_cast<std::int32_t>(attribute),
            static_cast<std::int32_t>(value),
            static_cast<std::int32_t>(subvalue)};
}

// Numbers of this back-end's own errors: this base plus the kind. Published in docs/errors.md.
inline constexpr long kOwnErrors = automation::kObjectError + 0x200;

// The number that clients compare against.
long NumberOf(text::ErrorKind kind) noexcept;

// The source of errors that are raised on the way to a member's work; the member's name is added.
inline constexpr const wchar_t* kHostSource = L"kelos1";

// An entry in its stored form; throws kBadArgument, naming value and code, for one that does not
// convert.
text::Text Entered(text::TextView value, text::TextView code, conversion::Environment& environment);

// The arguments of a program: those before the first that was left out.
std::span<VARIANT* const> Given(std::span<VARIANT* const> arguments) noexcept;

// Gives a caller's by-reference text a new value. Throws E_POINTER without an address.
void Assign(BSTR* target, automation::TextView text);

// Runs the body of a published member: what the library throws comes out under "kelos1::" and the
// member's name, as do errors raised under the back-end's own.
template <typename Body>
HRESULT HostMember(const wchar_t* member, Body&& body) noexcept {
    return automation::ComMethod([&] {
        try {
            body();
        } catch (const automation::Error& error) {
            if (error.source() == kHostSource) {
                throw error.withSource(automation::Text(L"kelos1::") + member);
            }
            throw;
        } catch (const text::Error& error) {
            throw automation::Error(
                NumberOf(error.kind()), automation::Text(L"kelos1::") + member, Wide(error.text()));
        }
    });
}

}  // namespace kel::embedded
