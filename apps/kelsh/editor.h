// The line editor: a record's attributes as numbered lines.
#pragma once

#include "apps/kelsh/record_buffer.h"
#include "apps/kelsh/terminal.h"

namespace kel::kelsh {

// What its commands are, for help.
extern const wchar_t* const kEditorHelp;

// Edits the record that the buffer holds, until it is filed, deleted or left. False when a command
// failed that nobody was there to see.
bool EditRecord(RecordBuffer& record, Terminal& terminal);

}  // namespace kel::kelsh
