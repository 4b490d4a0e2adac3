#include "qcci/link/qrtr.h"

#include <linux/qrtr.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace qcci {

static_assert(kControlPort == QRTR_PORT_CTRL);
static_assert(static_cast<uint32_t>(Control::kNewServer) == QRTR_TYPE_NEW_SERVER);
static_assert(static_cast<uint32_t>(Control::kNewLookup) == QRTR_TYPE_NEW_LOOKUP);
static_assert(sizeof(ControlPacket) == sizeof(qrtr_ctrl_pkt));

int qrtr_socket(Address* own) {
  const int fd = ::socket(AF_QIPCRTR, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) return -1;
  sockaddr_qrtr address{};
  socklen_t length = sizeof address;
  if (::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    const int error = errno;
    ::close(fd);
    errno = error;
    return -1;
  }
  *own = {address.sq_node, address.sq_port};
  return fd;
}

Sent qrtr_send(int fd, Address to, std::span<const uint8_t> octets) {
  const sockaddr_qrtr address{AF_QIPCRTR, to.node, to.port};
  ssize_t sent = 0;
  do {  // the family refuses every flag but this one
    sent = ::sendto(fd, octets.data(), octets.size(), MSG_DONTWAIT,
                    reinterpret_cast<const sockaddr*>(&address), sizeof address);
  } while (sent < 0 && errno == EINTR);
  if (sent >= 0) return Sent::kSent;
  switch (errno) {
    case EAGAIN:
    case ENOBUFS:
    case ENOMEM:
    case ENOSPC:  // the destination's queue is full
      return Sent::kBusy;
    default:  // ENODEV, ECONNRESET, EHOSTUNREACH: no such port, no such node
      return Sent::kCut;
  }
}

int qrtr_read(int fd, Address* from, std::vector<uint8_t>* octets) {
  uint8_t buffer[kMaxDatagram + 1];  // one more, to recognise a datagram that is too long
  sockaddr_qrtr address{};
  socklen_t length = sizeof address;
  const ssize_t got = ::recvfrom(fd, buffer, sizeof buffer, MSG_DONTWAIT,
                                 reinterpret_cast<sockaddr*>(&address), &length);
  if (got < 0) return errno == ENETRESET || errno == EBADF ? -1 : 0;
  if (got > static_cast<ssize_t>(kMaxDatagram)) return 0;
  *from = {address.sq_node, address.sq_port};
  octets->assign(buffer, buffer + got);
  return 1;
}

PollLink::Read QrtrLink::read(int fd, Address* from, std::vector<uint8_t>* octets) {
  const int got = qrtr_read(fd, from, octets);
  return got > 0 ? Read::kDatagram : got == 0 ? Read::kNothing : Read::kClosed;
}

}  // namespace qcci
