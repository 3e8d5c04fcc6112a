// The adapter's diagnostic log: the file "MaravelAdapterZorvik.log", one line an event, complete on disk when
// the call that writes it returns.
//
// A line is "[hh:mm:ss:mmm Lnnnnn] " (local time, source line of the calling statement) and the message,
// which brings its own line end. It is built in one stack buffer and handed to the system in one write, so
// lines of different threads never mix.
#pragma once

#include "platform/Compiler.h"

namespace maravel {

// Opens the log, anew and empty, unless the registry value "EnableLog" switches it off; a log that was open
// is closed first. Whatever fails leaves logging off. Called under g_adapterMutex. May throw std::bad_alloc.
void InitLog();

// Writes one line; a message is cut to 1023 characters. Safe from any thread at any time, also with no log
// open and while another thread closes it. Allocates nothing.
void WriteLog(unsigned line, const char* format, ...) noexcept MARAVEL_PRINTF(2, 3);

// Closes the log, after the lines that other threads are just writing. Called under g_adapterMutex. At the
// end of the module a writer that does not finish in a bounded number of turns is not waited for: its thread
// was ended by the process's end, and its file is left to the system.
void CloseLog(bool atModuleEnd = false) noexcept;

// Ends logging if a thread was ended in the middle of a line: it holds the C runtime's lock of the file, and
// Windows ends a process that waits for such a lock at its end.
void LeaveLogToEndedThreads() noexcept;

} // namespace maravel
