#include "sim/shell/phone_shell.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "sim/phone/report.h"
#include "sim/shell/phone_mounts.h"
#include "sim/shell/served_phone.h"

namespace sim {
namespace {

constexpr const char kBubblewrap[] = "bwrap";
constexpr const char kVendor[] = "data/vendor";  // in the phone's directory
// Blocked here while the shell runs, and read from a descriptor; unblocked again inside.
constexpr int kSignals[] = {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGCHLD};

int fail(const std::string& why) {
  report(why);
  return kNoPhoneShell;
}

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

sigset_t signal_set() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : kSignals) sigaddset(&set, number);
  return set;
}

// ---- the terminal that the user sits at

// A shell with job control makes its own process group the terminal's foreground. When it has
// ended, this makes it ours again, if it was before.
class Foreground {
 public:
  Foreground() : terminal_(::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC)) {}
  ~Foreground() {
    if (!ours_ || ::tcgetpgrp(terminal_.get()) == ::getpgrp()) return;
    ::signal(SIGTTOU, SIG_IGN);
    ::tcsetpgrp(terminal_.get(), ::getpgrp());
    ::signal(SIGTTOU, SIG_DFL);
  }
  Foreground(const Foreground&) = delete;
  Foreground& operator=(const Foreground&) = delete;

 private:
  Descriptor terminal_;
  bool ours_ = terminal_ && ::tcgetpgrp(terminal_.get()) == ::getpgrp();
};

// ---- the command

using Words = std::vector<std::string>;

void append(Words* words, const Words& more) {
  words->insert(words->end(), more.begin(), more.end());
}

Words options_for(const Phone& phone, const std::string& terminal, const std::string& program,
                  const Words& command) {
  Words options = {"--unshare-pid", "--die-with-parent"};
  append(&options, phone_mounts(terminal, phone.path(kVendor)));
  const std::string folder = std::filesystem::path(program).parent_path();
  append(&options, {"--setenv", "VEX_PHONE", phone.root()});
  append(&options, {"--setenv", "VEX_MODEM", "unix:" + phone.path("modem.sock")});
  // An unset PATH means the system's folders; with ours in front it must name them.
  const std::string path = variable("PATH").empty() ? "/usr/bin:/bin" : variable("PATH");
  append(&options, {"--setenv", "PATH", folder + ":" + path});
  // Debian's shell prompts show this variable.
  if (command.empty()) append(&options, {"--setenv", "debian_chroot", "phone"});
  return options;
}

// A descriptor from which bubblewrap reads its options, so that they do not fill the output of
// ps(1). -1 on failure, which bubblewrap reports.
int options_file(const Words& options) {
  const int fd = ::memfd_create("options", 0);
  std::string all;
  for (const std::string& option : options) all.append(option).push_back('\0');
  if (fd < 0 || ::write(fd, all.data(), all.size()) != static_cast<ssize_t>(all.size())) return -1;
  ::lseek(fd, 0, SEEK_SET);
  return fd;
}

// In the child: runs this program inside, which reports on `greeting` that it is there and then
// runs the command.
[[noreturn]] void become_bubblewrap(const Words& options, const std::string& program,
                                    const Descriptor& greeting, const Words& command) {
  Words words = {kBubblewrap, "--args",         std::to_string(options_file(options)), "--",
                 program,     kEnterPhoneShell, std::to_string(greeting.get())};
  const std::string shell = variable("SHELL");
  append(&words, !command.empty() ? command : Words{shell.empty() ? "/bin/sh" : shell});
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  ::fcntl(greeting.get(), F_SETFD, 0);
  ::execvp(kBubblewrap, arguments.data());
  std::_Exit(kNoSuchCommand);
}

// The process number, outside of the namespace, of the process that has entered; 0: none so far.
pid_t entered_process(int socket) {
  char octet = 0;
  iovec data{&octet, sizeof octet};
  alignas(cmsghdr) char room[CMSG_SPACE(sizeof(ucred))];
  msghdr message{};
  message.msg_iov = &data;
  message.msg_iovlen = 1;
  message.msg_control = room;
  message.msg_controllen = sizeof room;
  if (::recvmsg(socket, &message, MSG_DONTWAIT) <= 0) return 0;
  const cmsghdr* const header = CMSG_FIRSTHDR(&message);
  if (header == nullptr || header->cmsg_type != SCM_CREDENTIALS) return 0;
  ucred sender;
  std::memcpy(&sender, CMSG_DATA(header), sizeof sender);
  return sender.pid;
}

struct Ended {
  bool entered = false;      // the command was started
  bool interrupted = false;  // by Ctrl-C at the terminal
  int status = 0;            // bubblewrap's, as waitpid gives it
};

// Passes signals on until bubblewrap and all other children have ended.
Ended wait_for(pid_t bubblewrap, int signals, int greeting) {
  Ended ended;
  pid_t command = 0;
  std::vector<int> waiting;  // signals that came before the command was started
  for (;;) {
    pollfd polled[] = {{signals, POLLIN, 0}, {greeting, POLLIN, 0}};
    if (::poll(polled, 2, -1) < 0) continue;
    if (const pid_t pid = entered_process(greeting); pid > 0) {
      ended.entered = true;
      command = pid;
      for (const int number : waiting) ::kill(command, number);
    }
    signalfd_siginfo got{};
    if ((polled[0].revents & POLLIN) == 0) continue;
    if (::read(signals, &got, sizeof got) != static_cast<ssize_t>(sizeof got)) continue;
    const auto number = static_cast<int>(got.ssi_signo);
    if (number != SIGCHLD) {
      // The terminal sends its signals to the command, too.
      const bool from_terminal = got.ssi_code == SI_KERNEL;
      ended.interrupted |= from_terminal && number == SIGINT;
      if (from_terminal) continue;
      if (command == 0) waiting.push_back(number);
      if (command != 0) ::kill(command, number);
      continue;
    }
    int status = 0;
    pid_t child = 0;
    while ((child = ::waitpid(-1, &status, WNOHANG)) > 0) {
      if (child != bubblewrap) continue;
      ended.status = status;
      command = 0;
    }
    if (child < 0 && errno == ECHILD) return ended;
  }
}

// Runs the command with the phone served, from the fork to the end of the last process. 0 or an
// errno number.
[[nodiscard]] int run_inside(ServedPhone& served, const Words& options, const std::string& program,
                             const Words& command, Ended* ended) {
  int ends[2];
  if (::socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends) != 0) return errno;
  const Descriptor greeting(ends[0]);
  Descriptor theirs(ends[1]);
  const int on = 1;
  ::setsockopt(greeting.get(), SOL_SOCKET, SO_PASSCRED, &on, sizeof on);
  const sigset_t set = signal_set();
  const Descriptor signals(::signalfd(-1, &set, SFD_CLOEXEC));
  // The namespace's first process becomes our child when bubblewrap has ended.
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  if (command.empty()) {
    report("the phone is at /dev/smd8 and /data/vendor; \"exit\" leaves it");
  }
  {
    const Foreground foreground;
    const pid_t bubblewrap = ::fork();
    if (bubblewrap < 0) return errno;
    if (bubblewrap == 0) become_bubblewrap(options, program, theirs, command);
    theirs = Descriptor();
    served.run();
    *ended = wait_for(bubblewrap, signals.get(), greeting.get());
  }
  served.stop();
  return 0;
}

int status_of(const Ended& ended) {
  const int status =
      WIFSIGNALED(ended.status) ? 128 + WTERMSIG(ended.status) : WEXITSTATUS(ended.status);
  if (ended.entered) return status;
  if (status == kNoSuchCommand) {
    return fail("bwrap is not on the PATH: the phone's shell needs Debian's package bubblewrap");
  }
  return fail(
      "no phone's shell here: bubblewrap could not make its namespaces (its message is above)");
}

// Makes the folder and "modem" in it, where a phone has it. Only with the folder: a person may
// remove the inner one.
[[nodiscard]] int make_vendor_folder(const Phone& phone) {
  Descriptor there;
  const int error = open_beneath(phone.descriptor(), kVendor, O_RDONLY | O_DIRECTORY, 0, &there);
  return error == ENOENT ? phone.folder(kVendor).quiet().make("modem") : error;
}

}  // namespace

int run_phone_shell(const Phone& any, const Words& command) {
  std::string why;
  if (!any.prepare(&why)) return fail(why);
  std::error_code error;
  const Phone phone(std::filesystem::canonical(any.root(), error));
  const std::string program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return fail("/proc/self/exe: " + error.message());
  if ((phone.root() + "/").starts_with("/data/vendor/")) {
    return fail(phone.root() + ": a phone below /data/vendor has no shell");
  }
  if (const int failed = make_vendor_folder(phone); failed != 0) {
    return fail(phone.path(kVendor) + ": " + reason(failed));
  }
  ServedPhone served(phone);
  if (!served.start(&why)) return fail(why);
  const sigset_t set = signal_set();
  sigset_t before;
  ::sigprocmask(SIG_BLOCK, &set, &before);
  Ended ended;
  const int failed = run_inside(served, options_for(phone, served.terminal(), program, command),
                                program, command, &ended);
  if (failed != 0) return fail(std::strerror(failed));
  const int status = status_of(ended);
  if (ended.interrupted && status == 128 + SIGINT) {
    // End by the signal, so that a calling script stops, too.
    ::signal(SIGINT, SIG_DFL);
    ::raise(SIGINT);
    ::sigprocmask(SIG_SETMASK, &before, nullptr);
  }
  return status;
}

int enter_phone_shell(char** arguments) {
  const int greeting = std::atoi(arguments[0]);
  ::fcntl(greeting, F_SETFD, FD_CLOEXEC);
  if (::send(greeting, "", 1, 0) != 1) return fail("who runs the phone's shell is gone");
  const sigset_t set = signal_set();
  ::sigprocmask(SIG_UNBLOCK, &set, nullptr);
  ::execvp(arguments[1], arguments + 1);
  const int error = errno;
  report(std::string(arguments[1]) + ": " + std::strerror(error));
  return error == ENOENT ? kNoSuchCommand : kCannotRun;
}

}  // namespace sim
