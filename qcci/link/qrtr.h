// The QRTR link: the kernel's bus, with a real modem on it or a simulated one that is served there.
//
// AF_QIPCRTR, SOCK_DGRAM, as in the kernel's linux/qrtr.h. A socket is an endpoint; datagrams are
// sent unchanged. The name service answers at the control port of the socket's own node, which
// getsockname gives; the kernel assigns the port with the first datagram that the socket sends.
//
// A send to another node blocks while ten datagrams to that port are unread there. The kernel
// ignores MSG_DONTWAIT for this, so a send may take as long as the modem does.
#pragma once

#include "qcci/link/poll_link.h"

namespace qcci {

// Opens a non-blocking socket; *own is the address of its node, with port 0. Returns the
// descriptor, which is the caller's, or -1 and errno when the kernel has no bus.
[[nodiscard]] int qrtr_socket(Address* own);

// Send or receive one datagram, blocking only as above. The send returns kCut when there is no such
// destination. The read returns 1 for a datagram, which may be empty; 0 for none yet; -1 when the
// name service has restarted and does not know the socket.
Sent qrtr_send(int fd, Address to, std::span<const uint8_t> octets);
[[nodiscard]] int qrtr_read(int fd, Address* from, std::vector<uint8_t>* octets);

class QrtrLink final : public PollLink {
 private:
  int open_descriptor(Address* own) override { return qrtr_socket(own); }
  Read read(int fd, Address* from, std::vector<uint8_t>* octets) override;
  Sent write(int fd, Address to, std::span<const uint8_t> octets) override {
    return qrtr_send(fd, to, octets);
  }
};

}  // namespace qcci
