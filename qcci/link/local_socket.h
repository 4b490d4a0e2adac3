// The local-socket link: a simulated phone that another process serves.
//
// AF_UNIX, SOCK_SEQPACKET; a connection is an endpoint, and a record is a datagram behind the
// address of its other end. The server's first record comes from its control port: HELLO tells the
// endpoint its own address; BYE says that the server has no room for another client, and ends the
// connection. Each side takes the other only when it belongs to the same user or to root.
#ifndef QCCI_LINK_LOCAL_SOCKET_H_
#define QCCI_LINK_LOCAL_SOCKET_H_

#include <string>

#include "qcci/link/poll_link.h"

namespace qcci {

// One record: an address, then the datagram.
struct LocalFrame {
  Address peer;
  static constexpr size_t kHeader = 8;
};

// Sends or takes one record; never blocks. read: more than 0 for a datagram, 0 for none yet, -1
// when the connection is over or not in order.
Sent local_frame_write(int fd, Address peer, std::span<const uint8_t> octets);
[[nodiscard]] int local_frame_read(int fd, Address* peer, std::vector<uint8_t>* octets);

// Whether the other end of a connection may talk to us.
[[nodiscard]] bool local_peer_trusted(int fd);

// Binds or connects to a path of any length that the file system allows; -1 and errno as the system
// call's.
[[nodiscard]] int local_bind(int fd, const std::string& path);
[[nodiscard]] int local_connect(int fd, const std::string& path);

// errno says why a server does not answer: EUSERS when it has no room for another client, ETIMEDOUT
// when it is there but does not greet, EPERM when it is another user's, else as of connect.
class LocalSocketLink final : public PollLink {
 public:
  explicit LocalSocketLink(std::string path);

 private:
  int open_descriptor(Address* own) override;
  Read read(int fd, Address* from, std::vector<uint8_t>* octets) override;
  Sent write(int fd, Address to, std::span<const uint8_t> octets) override;

  std::string path_;
};

}  // namespace qcci

#endif  // QCCI_LINK_LOCAL_SOCKET_H_
