// The capture of this process, which VEX_CAPTURE=FILE asks for.
//
// It is opened at the first use of any of these functions and never closed. Without the variable
// none of them does anything. A failure is one line on standard error, and changes nothing else.
//
// Threads: any.
#pragma once

#include <cstdarg>
#include <memory>
#include <string>

#include "qcci/link/link.h"
#include "traffic/file/capture.h"

namespace traffic {

// Null without the variable, and when the capture cannot be opened. The comment of its section is
// the process's command line.
Capture* process_capture();

// The link itself, or one that captures its datagrams.
[[nodiscard]] std::unique_ptr<qcci::Link> captured(std::unique_ptr<qcci::Link> link);

// Keeps a line: what a fault rule did, an error that was traced.
void note(const std::string& line);
__attribute__((format(printf, 1, 0))) void note_formatted(const char* format, va_list arguments);

// The command line of this process, its words separated by blanks.
[[nodiscard]] std::string command_line();
// One line on standard error, behind the program's name.
void report(const std::string& line);

}  // namespace traffic
