// Variants that refer to a variable of the caller: what stands behind them, and putting a value
// there.
//
// Callers are not trusted: references to nothing, chains without an end and types that do not exist
// are told from sound ones.
#pragma once

#include "automation/variant.h"

namespace kel::automation {

// Whether a variant is of a type that arguments may have and, when it refers, refers to something.
bool IsSound(const VARIANT& value) noexcept;

// Follows references to variants to the last variant, which may itself refer to a typed variable;
// null when one on the way is not sound.
VARIANT* Behind(const VARIANT* given) noexcept;

// Puts a value into a variant or, when it refers to a typed variable, into that one, converted to
// its type. What was there is released. Null is an empty text for a text variable.
//   target  as Behind answers it
//   value   taken over; untouched when it does not fit
//   code    DISP_E_TYPEMISMATCH for a value that does not fit; nothing is stored then
HRESULT PutBehind(VARIANT& target, Variant& value, LCID locale) noexcept;

}  // namespace kel::automation
