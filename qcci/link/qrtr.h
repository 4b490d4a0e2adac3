// The QRTR link: the kernel's own bus, with a modem on it or a simulated one published there.
//
// AF_QIPCRTR, SOCK_DGRAM, as in the kernel's linux/qrtr.h; a socket is an endpoint, and a datagram
// travels as it is. The name service answers at the control port of the own node, which the kernel
// tells; a socket gets its port when it first sends.
//
// The kernel holds a datagram to a port of another node back while ten before it have not been
// taken there, and heeds no flag against waiting: a send may then take as long as the modem does.
#ifndef QCCI_LINK_QRTR_H_
#define QCCI_LINK_QRTR_H_

#include "qcci/link/poll_link.h"

namespace qcci {

// A non-blocking socket on the bus and the address of its node, port 0; -1 and errno without a bus.
[[nodiscard]] int qrtr_socket(Address* own);

// Sends or takes one datagram, without waiting but for what is said above. read: more than 0 for a
// datagram, which may be empty; 0 for none yet; -1 when the name service has started anew and knows
// nothing of the socket. send: kCut when the bus knows no such destination.
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

#endif  // QCCI_LINK_QRTR_H_
