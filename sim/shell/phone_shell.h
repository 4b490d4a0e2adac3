// A shell, or one command, in which the simulated phone stands at a phone's paths.
//
//   /dev/smd8      the AT channel
//   /data/vendor   data/vendor of the phone's directory
//   vex            is on the PATH
//
// and in which all processes have one modem: the one that is served already, else one that is
// served as long as the shell runs. Everything else is as outside: files, terminal, environment,
// user; the root folder, /dev and /data themselves take no new files. Processes have numbers of
// their own, and those that are still there when the shell or command has ended are ended.
//
// It takes bubblewrap and a kernel that lets the user make mount and process namespaces. What the
// modem and the AT channel have to say goes to log/modem.log.
#ifndef SIM_SHELL_PHONE_SHELL_H_
#define SIM_SHELL_PHONE_SHELL_H_

#include <string>
#include <vector>

#include "sim/phone/phone.h"

namespace sim {

// Of the shell itself, beside the command's own; as env(1) and others have them.
inline constexpr int kNoPhoneShell = 125;  // which standard error explains
inline constexpr int kCannotRun = 126;
inline constexpr int kNoSuchCommand = 127;

// Runs the command, or $SHELL when there is none, and returns its status, 128 + n when signal n
// ended it. Before any thread is started, and once a process: it takes the process's signals and
// children. Signals sent to this process reach the command.
int run_phone_shell(const Phone& phone, const std::vector<std::string>& command);

// The program's first argument when it is started again inside, and what it does then with those
// that follow. Returns when the command cannot be run.
inline constexpr const char kEnterPhoneShell[] = "--enter-phone-shell";
int enter_phone_shell(char** arguments);

}  // namespace sim

#endif  // SIM_SHELL_PHONE_SHELL_H_
