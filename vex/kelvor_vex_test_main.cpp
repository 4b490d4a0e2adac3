// vex: the program.

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <initializer_list>

#include "common/trace.h"
#include "vex/commands.h"

namespace {

void prepare_process() {
  // What was closed by the caller must not become the log or the modem.
  int fd = 0;
  while (fd >= 0 && fd <= STDERR_FILENO) fd = ::open("/dev/null", O_RDWR);
  if (fd >= 0) ::close(fd);
  // A reader that goes away, or a file at its size limit, ends the output but must not end a
  // sequence of requests half-way. (A handler, unlike "ignore", is not handed on to a shell.)
  for (const int number : {SIGPIPE, SIGXFSZ}) std::signal(number, [](int) {});
  // A reader at the other end of a pipe sees each line when it is written, however the run ends.
  static char line[BUFSIZ];
  std::setvbuf(stdout, line, _IOLBF, sizeof line);
}

}  // namespace

int main(int argc, char** argv) {
  const Operation operation(__func__);
  prepare_process();
  return vex::run(argc, argv);
}
