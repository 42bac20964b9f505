// The form tried by the program itself, as a person would use it.
#pragma once

#include "apps/kelform/options.h"

namespace kel::form {

// Writes a line of UTF-8 to standard output.
void PrintLine(const std::wstring& text);

// Works on an account of its own. Prints every check and, as the last line, "N passed, M failed".
//   returns  0 when none failed, otherwise 1
int SelfTest(const Options& options);

}  // namespace kel::form
