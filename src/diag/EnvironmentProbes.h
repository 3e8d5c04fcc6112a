// Looks at the environment that the log records at start-up. Nothing here changes what the adapter does.
#pragma once

namespace maravel {

// True when the process's access token is elevated; false when it is not or the question has no answer.
bool isProcessRunningAsAdmin();

// Lists the installed adapters into the log: each subkey of the host vendor's registry branch, with its text
// and 32-bit values.
void listAdapters();

} // namespace maravel
