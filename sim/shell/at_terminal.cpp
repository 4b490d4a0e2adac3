#include "sim/shell/at_terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace sim {
namespace {

// Unread octets from which on they are dropped. A terminal keeps 4095; a reply must fit besides.
constexpr int kUnreadMax = 2048;

}  // namespace

bool AtTerminal::open(std::string* why) {
  const auto fail = [why] {
    *why = std::string("no pseudo-terminal: ") + std::strerror(errno);
    return false;
  };
  far_ = Descriptor(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
  char path[128];
  if (!far_ || ::grantpt(far_.get()) != 0 || ::unlockpt(far_.get()) != 0 ||
      ::ptsname_r(far_.get(), path, sizeof path) != 0) {
    return fail();
  }
  near_ = Descriptor(::open(path, O_RDWR | O_NOCTTY | O_CLOEXEC));
  termios settings{};
  if (!near_ || ::tcgetattr(near_.get(), &settings) != 0) return fail();
  ::cfmakeraw(&settings);
  if (::tcsetattr(near_.get(), TCSANOW, &settings) != 0) return fail();
  path_ = path;
  return true;
}

void AtTerminal::run(AtChannel& channel, int stop) {
  char octets[4096];
  for (;;) {
    pollfd polled[] = {{stop, POLLIN, 0}, {far_.get(), POLLIN, 0}};
    if (::poll(polled, 2, -1) < 0) continue;
    if (polled[0].revents != 0) return;
    const ssize_t n = ::read(far_.get(), octets, sizeof octets);
    if (n <= 0) continue;
    for (const std::string& text : channel.take({octets, static_cast<size_t>(n)})) reply(text);
  }
}

void AtTerminal::reply(std::string_view text) {
  disable_echo();
  int unread = 0;
  if (::ioctl(near_.get(), FIONREAD, &unread) == 0 && unread > kUnreadMax) {
    ::tcflush(far_.get(), TCOFLUSH);   // what is in transit
    ::tcflush(near_.get(), TCIFLUSH);  // what can be read
  }
  // What does not fit is lost, as on a serial line whose reader is too slow.
  [[maybe_unused]] const ssize_t written = ::write(far_.get(), text.data(), text.size());
}

// A program may have made the terminal echo, and then the channel would answer its own replies.
void AtTerminal::disable_echo() const {
  termios settings{};
  if (::tcgetattr(near_.get(), &settings) != 0 || (settings.c_lflag & ECHO) == 0) return;
  settings.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
  ::tcsetattr(near_.get(), TCSANOW, &settings);
}

}  // namespace sim
