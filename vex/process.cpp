#include "vex/process.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <iterator>
#include <new>
#include <string_view>
#include <tuple>

namespace {

[[noreturn]] void end_without_memory() {
  constexpr std::string_view kLine = "vex: out of memory\n";
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, kLine.data(), kLine.size());
  ::_exit(0);
}

}  // namespace

void vex::prepare_process() {
  // What the tool opens must not get the number of a standard stream. Closed ones are the rule for
  // nobody, so all three are looked at in one call.
  pollfd streams[] = {{STDIN_FILENO, 0, 0}, {STDOUT_FILENO, 0, 0}, {STDERR_FILENO, 0, 0}};
  ::poll(streams, std::size(streams), 0);
  for (const pollfd& stream : streams) {
    // The lowest number that is free is this one.
    if ((stream.revents & POLLNVAL) != 0) std::ignore = ::open("/dev/null", O_RDWR);
  }
  // A handler, unlike "ignore", is not handed on to a shell.
  for (const int number : {SIGPIPE, SIGXFSZ}) std::signal(number, [](int) {});
  // Each line is given to it whole: with a buffer it would be copied octet by octet first.
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  std::set_new_handler(end_without_memory);
}
