// A shell, or one command, in which the simulated phone is at a phone's paths.
//
//   /dev/smd8      the AT channel
//   /data/vendor   data/vendor of the phone's directory
//   vex            is on the PATH
//
// All processes in it use one modem: the one that another process serves, else one that is served
// as long as the shell runs. Everything else is as outside: files, terminal, environment, user. The
// root folder, /dev and /data take no new files. Process numbers are its own, and processes that
// are left when the shell or command ends are killed.
//
// It needs bubblewrap, and a kernel that lets users make mount and process namespaces. Lines of the
// modem and the AT channel go to log/modem.log.
#pragma once

#include <string>
#include <vector>

#include "sim/phone/phone.h"

namespace sim {

// Exit statuses besides the command's own; the same as env(1)'s.
inline constexpr int kNoPhoneShell = 125;  // after an explanation on standard error
inline constexpr int kCannotRun = 126;
inline constexpr int kNoSuchCommand = 127;

// Runs the command, or $SHELL when it is empty, and returns its exit status, 128 + n when signal n
// killed it. Signals sent to this process are passed to the command. Call it once in a process,
// before any thread is started: it changes the signal mask and waits for every child.
[[nodiscard]] int run_phone_shell(const Phone& any, const std::vector<std::string>& command);

// Inside, this program is started again, with this as its first argument, and replaces itself by
// the command. `arguments`: those that follow, ended by a null pointer. Returns an exit status when
// the command cannot be run.
inline constexpr char kEnterPhoneShell[] = "--enter-phone-shell";
[[nodiscard]] int enter_phone_shell(char** arguments);

}  // namespace sim
