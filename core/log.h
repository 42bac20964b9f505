// The diagnostic log: one text file, one line per message, opened and closed for every line.
#pragma once

#include "automation/text.h"

namespace kel::core {

// The level of messages that tell how objects come and go.
inline constexpr short kTraceLevel = 9;

// Appends a line when logging is on and the message's level is high enough. Levels run from 1 (most
// important) to 9 (most detailed); 0 and less count as 9. Settings are read at every call: "Log"
// switches on with anything but "0". "LogLevel" is two things in one, and whoever sets it gets
// both: the lowest level written, and the path of the file. "5" writes levels 5 and up to a file
// named 5 in the current directory; what is no number writes nothing. Without it every level goes
// to c:\kelSDK.log. The line: local date and time in the user's general format, thread identifier,
// message; UTF-8. Control characters and line separators in the message are written as blanks.
// Every failure is ignored: a log never disturbs its program.
void WriteLog(automation::TextView message, short level) noexcept;

// A line of 50 "=" at level 9.
void LogSeparator() noexcept;

}  // namespace kel::core
