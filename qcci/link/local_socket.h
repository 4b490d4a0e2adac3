// The local-socket link: a simulated phone that another process serves.
//
// AF_UNIX, SOCK_SEQPACKET. A connection is an endpoint. A record is an address, then a datagram to
// or from that address. The server's first record comes from its control port: HELLO gives the
// endpoint its own address; BYE means that the server has no room for another client, and closes
// the connection. Each side accepts only a peer of the same user or of root.
#pragma once

#include <string>

#include "qcci/link/poll_link.h"

namespace qcci {

// One record: an address, then the datagram.
struct LocalFrame {
  Address peer;
  static constexpr size_t kHeader = 8;
};

// Send or receive one record of a connection, without blocking. The read returns 1 for a datagram,
// 0 for none yet, -1 when the connection has ended or has sent what is no record.
Sent local_frame_write(int fd, Address peer, std::span<const uint8_t> octets);
[[nodiscard]] int local_frame_read(int fd, Address* peer, std::vector<uint8_t>* octets);

// Whether the peer of a connection belongs to the same user or to root.
[[nodiscard]] bool local_peer_trusted(int fd);

// bind and connect, for paths of any length that the file system allows. 0, or -1 and errno.
[[nodiscard]] int local_bind(int fd, const std::string& path);
[[nodiscard]] int local_connect(int fd, const std::string& path);

// After a failed open or answers(), errno is EUSERS when the server has no room for another client,
// ETIMEDOUT when it sends no first record, EPERM when it is another user's, else that of connect.
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
