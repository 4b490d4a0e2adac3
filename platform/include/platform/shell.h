// The system's shell.
//
// Any thread may call it. It blocks until the command has ended.
#ifndef PLATFORM_SHELL_H_
#define PLATFORM_SHELL_H_

#include "platform/nodiscard.h"

#ifdef __cplusplus
extern "C" {
#endif

// Runs one command line in the shell. Returns what the C library's system() returns: a wait status,
// or -1 when no shell could be started.
PLATFORM_NODISCARD int platform_shell(const char* line);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_SHELL_H_
