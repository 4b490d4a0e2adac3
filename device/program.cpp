#include "device/program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include "platform/clock/process_clock.h"

namespace device {
namespace {

using namespace std::chrono_literals;

constexpr auto kTimeOut = 5s;
constexpr auto kTryTime = 1ms;  // between two looks at a program that has closed its output
constexpr size_t kOutputMax = 4096;

int start(const std::vector<std::string>& words, int output, pid_t* process) {
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  if (const int error = ::posix_spawn_file_actions_init(&actions); error != 0) return error;
  int error = ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  if (error == 0) {
    error = ::posix_spawn(process, argv[0], &actions, nullptr, argv.data(), environ);
  }
  ::posix_spawn_file_actions_destroy(&actions);
  return error;
}

// Reads to the end of `fd`, and keeps what there is room for. False when the time is over first.
bool read_all(int fd, platform::Time deadline, std::string* output) {
  char piece[512];
  for (;;) {
    pollfd readable{fd, POLLIN, 0};
    if (platform::clock().poll_until(&readable, 1, deadline) <= 0) return false;
    const ssize_t got = ::read(fd, piece, sizeof piece);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return true;
    if (output == nullptr) continue;
    output->append(piece, std::min(static_cast<size_t>(got), kOutputMax - output->size()));
  }
}

int await_end(pid_t process, platform::Time deadline) {
  for (;;) {
    int status = 0;
    const pid_t ended = ::waitpid(process, &status, WNOHANG);
    if (ended == process) return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : EPROTO;
    if (ended < 0 && errno != EINTR) return 0;  // SIGCHLD is ignored here: its status is lost
    if (platform::clock().now() >= deadline) return ETIMEDOUT;
    platform::clock().sleep_until(platform::clock().now() + kTryTime);
  }
}

}  // namespace

int run_program(const std::vector<std::string>& words, std::string* output) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return errno;
  pid_t process = 0;
  int result = start(words, ends[1], &process);
  ::close(ends[1]);
  if (result == 0) {
    const platform::Time deadline = platform::clock().now() + kTimeOut;
    result = read_all(ends[0], deadline, output) ? await_end(process, deadline) : ETIMEDOUT;
    if (result == ETIMEDOUT) {
      ::kill(process, SIGKILL);
      ::waitpid(process, nullptr, 0);
    }
  }
  ::close(ends[0]);
  return result;
}

}  // namespace device
