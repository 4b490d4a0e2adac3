// Transcripts: what an engineer types at the phone's shell, and what the shell then shows.
//
// A transcript has lines "$ COMMAND", each followed by what it prints; "[status N]" ends it when
// the status is not 0. Before a command there may be a block for phone.toml: a line "phone.toml:"
// with text behind it or in the lines that follow, which stands before the default phone's text and
// replaces an earlier block. Lines that begin with "#" are comments.
//
// "[NAME=VALUE] vex WORDS [| FILTER]" shows "[after N ms]" when time passes. BUS=1 shows the
// requests that the modem gets and its indications: service, message and TLVs. Anything else is a
// line for sh, with the programs on the PATH and $VEX_PHONE as the phone, which each transcript
// begins anew. Debug lines are left out unless VEX_SHELL_LEVELS=15 asks for them.
//
// Source lines, times, process ids, handles and the phone's path are shown as N, TIME, PID, HANDLE
// and $VEX_PHONE. Lines of a number each, from one place, are shown as one line, and more than
// eight times the same octet as "00 * 9".
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "qcci/wire/octets.h"
#include "sim/modem/modem.h"

namespace transcripts {

struct Step {
  std::vector<std::string> before;  // comments, blank lines and the block for phone.toml
  std::string toml;                 // of the block; empty when there is none
  bool has_toml = false;
  std::string command;
  std::string expected;
};

// The parts of a command that is vex's: all but the filter, and the filter. False for any other.
bool is_vex(const std::string& command, std::string* call, std::string* filter);

// One line for what BUS=1 shows; empty for a response.
inline std::string bus_line(const qmi_idl_service_object& service, sim::FaultKind kind,
                            std::span<const uint8_t> octets) {
  if (kind == sim::FaultKind::kResponse) return "";
  const uint8_t number[] = {octets[4], octets[3]};
  return std::string(kind == sim::FaultKind::kRequest ? "> " : "< ") + service.name + " " +
         qcci::to_hex(number) + " " + qcci::to_hex(octets.subspan(7), " ") + "\n";
}

// What a process forked for `body`, and those that it starts, write to both streams, and its
// status. `wait` is called before each read of what they write.
std::string output_of(
    const std::function<int()>& body, const std::function<void(int fd)>& wait = [](int) {});

// Runs each file's steps on a phone of its own; `run` returns what a step prints. Says how the
// first line that differs in a step does. With `accept` writes what was printed into the file, to
// be reviewed there. False when something differed or there was nothing to run.
using Run = std::function<std::string(const Step& step, const std::string& root)>;
bool run_files(std::span<char* const> files, const Run& run, bool accept = false);

}  // namespace transcripts
