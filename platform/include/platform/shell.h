// The system's shell.
//
// Any thread may call it. It blocks until the command has ended.
#pragma once

#include <sys/cdefs.h>

#include "platform/nodiscard.h"

__BEGIN_DECLS

// Runs one command line in the shell. Returns what the C library's system() returns: a wait status,
// or -1 when no shell could be started.
PLATFORM_NODISCARD int platform_shell(const char* line);

__END_DECLS
