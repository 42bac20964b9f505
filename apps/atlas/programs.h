// The stored programs of the form.
#pragma once

#include "apps/atlas/iso_codes.h"

namespace kel::atlas {

inline constexpr const wchar_t* kPrograms = L"PROGRAMS";

// As a dictionary item names them. A program named this way is given id, record, parameters and
// value, and an error that it raises reaches the form.
inline constexpr const wchar_t* kToday = L"C:FORM.TODAY";  // today, for a field that is empty
inline constexpr const wchar_t* kCheckCurrency = L"C:FORM.CURRENCY";  // refuses an unknown currency

// The programs, for the file PROGRAMS.
std::vector<Record> StoredPrograms();

}  // namespace kel::atlas
