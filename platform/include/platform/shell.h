// The system's shell.
#ifndef PLATFORM_SHELL_H_
#define PLATFORM_SHELL_H_

#include "platform/nodiscard.h"

#ifdef __cplusplus
extern "C" {
#endif

// Runs one line in the shell and waits for it; the result is that of the C library's system().
PLATFORM_NODISCARD int platform_shell(const char* line);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_SHELL_H_
