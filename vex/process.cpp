#include "vex/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <new>
#include <string_view>

namespace {

[[noreturn]] void end_without_memory() {
  constexpr std::string_view kLine = "vex: out of memory\n";
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, kLine.data(), kLine.size());
  ::_exit(0);
}

}  // namespace

void vex::prepare_process() {
  int fd = 0;
  while (fd >= 0 && fd <= STDERR_FILENO) fd = ::open("/dev/null", O_RDWR);
  if (fd >= 0) ::close(fd);
  // A handler, unlike "ignore", is not handed on to a shell.
  for (const int number : {SIGPIPE, SIGXFSZ}) std::signal(number, [](int) {});
  // Each line is given to it whole: with a buffer it would be copied octet by octet first.
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  std::set_new_handler(end_without_memory);
}
