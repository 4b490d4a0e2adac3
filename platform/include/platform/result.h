// The result record of a run: one line of JSON for the script that asked for it, beside output that
// is for people.
//
// VEX_RESULT_FD is the number of an open descriptor that the line is written to; VEX_RESULT names a
// file that gets it. Both may be set. Without them no function here makes a system call.
//
// A file is whole or absent: one of an earlier run is removed first. It is readable by its owner
// alone, and neither written through a symbolic link nor put in place of anything but a regular
// file. What cannot be done is one line on standard error and changes nothing else.
//
// Threads: the process's first one, but for platform_requests_sent.
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

// Whether a record is wanted and can be had. Called once, before anything is opened: the descriptor
// is then kept apart from those that the process opens itself, and from the programs that it runs.
bool platform_result_begin(void);
// Writes the line, which ends in a line end, and closes the descriptor. Waits at most 5 seconds for
// a reader.
void platform_result_write(const char* line, size_t length);

// QMI requests that this process has sent, or tried to. May be called from any thread.
uint32_t platform_requests_sent(void);

__END_DECLS
