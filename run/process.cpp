#include "process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "progress.h"

namespace run {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr size_t kRecordMax = 4 << 20;  // far more than a record has
constexpr milliseconds kGrace{1000};    // between asking vex to end and ending it
constexpr milliseconds kLook{1000};     // between two lines of progress

std::string path_of_vex() {
  char own[4096];
  const ssize_t length = ::readlink("/proc/self/exe", own, sizeof own);
  if (length <= 0 || static_cast<size_t>(length) == sizeof own) return "vex";
  std::string path(own, static_cast<size_t>(length));
  path.resize(path.rfind('/') + 1);
  path += "vex";
  return ::access(path.c_str(), X_OK) == 0 ? path : "vex";
}

// 0, or an errno number.
int start(const Request& request, int record, pid_t* process) {
  ::setenv("VEX_RESULT_FD", std::to_string(record).c_str(), 1);
  const std::string program = path_of_vex();
  std::vector<std::string> words = {"vex"};
  words.insert(words.end(), request.words.begin(), request.words.end());
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  if (const int error = ::posix_spawn_file_actions_init(&actions); error != 0) return error;
  // The same number clears the flag that would close it.
  int error = ::posix_spawn_file_actions_adddup2(&actions, record, record);
  if (error == 0 && request.quiet) {
    error = ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  }
  if (error == 0) {
    error = ::posix_spawnp(process, program.c_str(), &actions, nullptr, argv.data(), environ);
  }
  ::posix_spawn_file_actions_destroy(&actions);
  return error;
}

// Reads the record to its end. False when the time is over first.
bool read_record(int fd, const Request& request, Progress* progress, std::string* record) {
  const auto begun = Clock::now();
  for (;;) {
    auto wait = kLook;
    const auto passed = std::chrono::duration_cast<milliseconds>(Clock::now() - begun);
    if (request.limit) {
      if (passed >= *request.limit) return false;
      wait = std::min(wait, *request.limit - passed);
    }
    pollfd readable{fd, POLLIN, 0};
    if (::poll(&readable, 1, static_cast<int>(wait.count()) + 1) <= 0) {
      progress->show(std::chrono::duration_cast<seconds>(Clock::now() - begun));
      continue;
    }
    char piece[4096];
    const ssize_t got = ::read(fd, piece, sizeof piece);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0 || record->size() > kRecordMax) return true;
    record->append(piece, static_cast<size_t>(got));
  }
}

// Waits for the process, at most that long when there is a limit. Its wait status, if it has ended.
std::optional<int> await(pid_t process, std::optional<milliseconds> limit) {
  const auto begun = Clock::now();
  for (;;) {
    int status = 0;
    const pid_t ended = ::waitpid(process, &status, limit ? WNOHANG : 0);
    if (ended == process) return status;
    if (ended < 0 && errno != EINTR) return 0;
    if (limit && Clock::now() - begun >= *limit) return std::nullopt;
    constexpr useconds_t kLookUs = 5000;
    if (limit) ::usleep(kLookUs);
  }
}

void end(pid_t process) {
  ::kill(process, SIGTERM);
  if (await(process, kGrace)) return;
  ::kill(process, SIGKILL);
  (void)await(process, std::nullopt);
}

}  // namespace

Run run_vex(const Request& request) {
  Run run;
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) {
    run.why = std::strerror(errno);
    return run;
  }
  // Behind the standard descriptors, which this process may have got closed.
  const int record = ::fcntl(ends[1], F_DUPFD_CLOEXEC, 3);
  ::close(ends[1]);
  pid_t process = 0;
  const int error = record < 0 ? errno : start(request, record, &process);
  if (record >= 0) ::close(record);
  if (error != 0) {
    ::close(ends[0]);
    run.why = "vex cannot be started: " + std::string(std::strerror(error));
    return run;
  }
  std::string what = "vex";
  for (const std::string& word : request.words) what += " " + word;
  Progress progress(what.substr(0, 60));
  const bool whole = read_record(ends[0], request, &progress, &run.record);
  ::close(ends[0]);
  if (!whole) {
    end(process);
    run.end = End::kTimedOut;
    return run;
  }
  const int status = await(process, std::nullopt).value_or(0);
  const bool line = !run.record.empty() && run.record.back() == '\n';
  run.end = line ? End::kDone : End::kNoRecord;
  if (line) run.record.pop_back();
  if (WIFSIGNALED(status)) {
    run.why = "vex was ended by signal " + std::to_string(WTERMSIG(status));
  } else {
    run.why = "vex ended without a result record: is it as old as this program?";
  }
  return run;
}

}  // namespace run
