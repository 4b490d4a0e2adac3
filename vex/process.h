// What the program arranges for itself before it runs a command.
#pragma once

namespace vex {

// For the process's only thread, before anything is opened or printed:
//
//   - descriptors 0 to 2 that the caller has closed are /dev/null, so that none of them becomes the
//     log or the modem
//   - a reader that goes away (SIGPIPE) or a file at its size limit (SIGXFSZ) ends the output, not
//     the run: a sequence of requests is not left half-way
//   - standard output is written line by line
//   - without memory the run ends there, with a line on standard error and status 0. A file is
//     whole or absent then, as with any other end.
void prepare_process();

}  // namespace vex
