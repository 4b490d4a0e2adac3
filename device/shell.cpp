// The phone's shell: system() of a static C library looks for /bin/sh, which older phones lack.

#include "platform/shell.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <initializer_list>

namespace {

constexpr const char* kShells[] = {"/system/bin/sh", "/bin/sh"};  // Linux without Android: the last

// As system() does: an interrupt from the terminal is the command's, not ours, and its end is not
// somebody else's to collect. Restores all of it.
class Signals {
 public:
  Signals() {
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    for (size_t i = 0; i < 2; ++i) ::sigaction(kNumbers[i], &ignore, &old_[i]);
    sigset_t child;
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    ::pthread_sigmask(SIG_BLOCK, &child, &old_mask_);
  }
  ~Signals() {
    for (size_t i = 0; i < 2; ++i) ::sigaction(kNumbers[i], &old_[i], nullptr);
    ::pthread_sigmask(SIG_SETMASK, &old_mask_, nullptr);
  }
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  // The command gets what this process had. False when there is no memory for it.
  bool give_back(posix_spawnattr_t* attributes) const {
    sigset_t defaults;
    sigemptyset(&defaults);
    for (size_t i = 0; i < 2; ++i) {
      if (old_[i].sa_handler != SIG_IGN) sigaddset(&defaults, kNumbers[i]);
    }
    return ::posix_spawnattr_setsigdefault(attributes, &defaults) == 0 &&
           ::posix_spawnattr_setsigmask(attributes, &old_mask_) == 0 &&
           ::posix_spawnattr_setflags(attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK) ==
               0;
  }

 private:
  static constexpr int kNumbers[2] = {SIGINT, SIGQUIT};
  struct sigaction old_[2]{};
  sigset_t old_mask_{};
};

}  // namespace

extern "C" int platform_shell(const char* line) {
  const Signals signals;
  posix_spawnattr_t attributes;
  if (::posix_spawnattr_init(&attributes) != 0) return -1;
  pid_t process = -1;
  if (signals.give_back(&attributes)) {
    for (const char* shell : kShells) {
      const char* const argv[] = {"sh", "-c", line, nullptr};
      if (::posix_spawn(&process, shell, nullptr, &attributes, const_cast<char**>(argv), environ) ==
          0) {
        break;
      }
      process = -1;
    }
  }
  ::posix_spawnattr_destroy(&attributes);
  if (process < 0) return -1;
  int status = -1;
  while (::waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return status;
}
