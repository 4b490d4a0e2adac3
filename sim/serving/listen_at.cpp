#include "sim/serving/listen_at.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "qcci/link/local_socket.h"

namespace sim {

bool listen_at(const Phone& phone, const std::string& name, int type, Descriptor* listening,
               std::string* why) {
  const auto fail = [&](const std::string& what) {
    *why = phone.path(name) + ": " + what;
    return false;
  };
  const mode_t there = mode_of(phone.descriptor(), name);
  if (there != 0 && !S_ISSOCK(there)) return fail("there, but not a socket");
  if (there != 0) ::unlinkat(phone.descriptor(), name.c_str(), 0);
  *listening = Descriptor(::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const std::string path = phone.path_for_system_calls(name);
  const mode_t old = ::umask(0177);
  const bool bound = *listening && qcci::local_bind(listening->get(), path) == 0;
  const int error = errno;
  ::umask(old);
  if (!bound) return fail(std::strerror(error));
  if (::listen(listening->get(), SOMAXCONN) != 0) return fail(std::strerror(errno));
  return true;
}

}  // namespace sim
