#include "ready.h"

#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "sim/phone/beneath.h"
#include "sim/phone/report.h"

namespace sim {

void notify_manager(const char* state) {
  const char* const path = std::getenv("NOTIFY_SOCKET");
  if (path == nullptr || *path == '\0') return;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const size_t length = std::strlen(path);
  if (length >= sizeof address.sun_path) return report("NOTIFY_SOCKET: too long a path");
  std::memcpy(address.sun_path, path, length);
  if (*path == '@') address.sun_path[0] = '\0';  // a name of Linux's own, in no folder
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
  const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (::sendto(socket.get(), state, std::strlen(state), MSG_NOSIGNAL | MSG_DONTWAIT,
               reinterpret_cast<const sockaddr*>(&address), size) < 0) {
    report(std::string("NOTIFY_SOCKET: ") + std::strerror(errno));
  }
}

bool tell_ready(int descriptor, std::string* why) {
  struct sigaction ignore {};
  struct sigaction before {};
  ignore.sa_handler = SIG_IGN;
  ::sigaction(SIGPIPE, &ignore, &before);
  const bool written = ::write(descriptor, "\n", 1) == 1;
  if (!written) *why = "--ready-fd " + std::to_string(descriptor) + ": " + std::strerror(errno);
  ::sigaction(SIGPIPE, &before, nullptr);
  if (written) ::close(descriptor);
  return written;
}

}  // namespace sim
