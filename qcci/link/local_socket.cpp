#include "qcci/link/local_socket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace qcci {
namespace {

// How long a server may take to accept a connection, and to send its first record. Both are a
// matter of microseconds for one that runs; a process start must not hang on one that does not.
constexpr auto kHelloTime = std::chrono::milliseconds(500);

// A socket address has room for 107 octets; a longer path goes through a descriptor of its folder.
template <class Call>
int with_address(const std::string& path, Call call) {
  if (path.empty()) {
    errno = ENOENT;  // the kernel would take it for an abstract name, outside of the file system
    return -1;
  }
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  int folder = -1;
  std::string name = path;
  if (path.size() >= sizeof address.sun_path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
      errno = ENAMETOOLONG;
      return -1;
    }
    folder = ::open(path.substr(0, slash + 1).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return -1;
    name = "/proc/self/fd/" + std::to_string(folder) + path.substr(slash);
  }
  int result = -1;
  errno = ENAMETOOLONG;
  if (name.size() < sizeof address.sun_path) {
    std::memcpy(address.sun_path, name.c_str(), name.size() + 1);
    result = call(reinterpret_cast<const sockaddr*>(&address), socklen_t{sizeof address});
  }
  const int error = errno;
  if (folder >= 0) ::close(folder);
  errno = error;
  return result;
}

// Reads the server's first record. Returns 0, or an errno number as in the header.
int greeting(int fd, Address* own) {
  if (!local_peer_trusted(fd)) return EPERM;
  pollfd readable{fd, POLLIN, 0};
  platform::Clock& clock = platform::clock();
  Address from;
  std::vector<uint8_t> octets;
  ControlPacket packet;
  if (clock.poll_until(&readable, 1, clock.now() + kHelloTime) <= 0 ||
      local_frame_read(fd, &from, &octets) <= 0 || from.port != kControlPort ||
      !ControlPacket::parse(octets, &packet)) {
    return ETIMEDOUT;
  }
  if (packet.command == Control::kBye) return EUSERS;
  if (packet.command != Control::kHello || packet.client().node != from.node) return ETIMEDOUT;
  *own = packet.client();
  return 0;
}

}  // namespace

Sent local_frame_write(int fd, Address peer, std::span<const uint8_t> octets) {
  LocalFrame frame{peer};
  static_assert(sizeof frame == LocalFrame::kHeader);
  iovec parts[2] = {{&frame, sizeof frame}, {const_cast<uint8_t*>(octets.data()), octets.size()}};
  msghdr message{};
  message.msg_iov = parts;
  message.msg_iovlen = 2;
  ssize_t sent = 0;
  do {
    sent = ::sendmsg(fd, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  if (sent >= 0) return Sent::kSent;
  return errno == EAGAIN || errno == EWOULDBLOCK || errno == ENOBUFS ? Sent::kBusy : Sent::kCut;
}

int local_frame_read(int fd, Address* peer, std::vector<uint8_t>* octets) {
  LocalFrame frame{};
  uint8_t buffer[kMaxDatagram];
  iovec parts[2] = {{&frame, sizeof frame}, {buffer, sizeof buffer}};
  msghdr message{};
  message.msg_iov = parts;
  message.msg_iovlen = 2;
  ssize_t got = 0;
  do {
    got = ::recvmsg(fd, &message, MSG_DONTWAIT);
  } while (got < 0 && errno == EINTR);
  if (got < 0) return errno == EAGAIN || errno == EWOULDBLOCK ? 0 : -1;
  if (got < static_cast<ssize_t>(sizeof frame) || (message.msg_flags & MSG_TRUNC) != 0) return -1;
  octets->assign(buffer, buffer + got - sizeof frame);
  *peer = frame.peer;
  return 1;
}

bool local_peer_trusted(int fd) {
  ucred peer{};
  socklen_t length = sizeof peer;
  if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0) return false;
  return peer.uid == ::geteuid() || peer.uid == 0;
}

int local_bind(int fd, const std::string& path) {
  return with_address(path, [fd](const sockaddr* a, socklen_t n) { return ::bind(fd, a, n); });
}

int local_connect(int fd, const std::string& path) {
  return with_address(path, [fd](const sockaddr* a, socklen_t n) {
    int result = 0;
    do {
      result = ::connect(fd, a, n);
    } while (result != 0 && errno == EINTR);
    return result;
  });
}

LocalSocketLink::LocalSocketLink(std::string path) : path_(std::move(path)) {}

int LocalSocketLink::open_descriptor(Address* own) {
  const int fd = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  const timeval limit{0, std::chrono::microseconds(kHelloTime).count()};
  ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  int error = local_connect(fd, path_) == 0 ? greeting(fd, own) : errno;
  if (error == 0) return fd;
  if (error == EAGAIN) error = ETIMEDOUT;  // it accepts no connections
  ::close(fd);
  errno = error;
  return -1;
}

PollLink::Read LocalSocketLink::read(int fd, Address* from, std::vector<uint8_t>* octets) {
  const int got = local_frame_read(fd, from, octets);
  return got > 0 ? Read::kDatagram : got == 0 ? Read::kNothing : Read::kClosed;
}

Sent LocalSocketLink::write(int fd, Address to, std::span<const uint8_t> octets) {
  return local_frame_write(fd, to, octets);
}

}  // namespace qcci
