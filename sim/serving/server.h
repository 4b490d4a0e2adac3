// The listener on a local socket in the phone's directory: one connection for each client endpoint,
// framed as qcci/link/local_socket.h says.
//
// A client that leaves no descriptor to spare is refused with a BYE packet; one of another user, or
// one that sends malformed frames or does not read, is cut off. Clients are served in turn, a
// datagram each.
//
// Threads: the poller's, once that is served.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "sim/modem/modem_bus.h"
#include "sim/phone/phone.h"
#include "sim/serving/poller.h"

namespace sim {

class Server final : private Polled {
 public:
  // Both must outlast this.
  Server(ModemBus& modem, Poller& poller);
  // Removes the socket.
  ~Server() override;
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // The socket's path below the phone's directory.
  static constexpr const char kSocket[] = "modem.sock";
  // The path at which a client in this process connects; empty when there is no socket.
  [[nodiscard]] static std::string socket_path(const Phone& phone);
  // Whether a process serves this phone, even one that does not answer.
  [[nodiscard]] static bool is_served(const Phone& phone);

  // Listens at the phone's socket, which only this user may open. A socket that a dead server left
  // is replaced. False, and why, when another process serves the phone or there can be no socket.
  [[nodiscard]] bool listen(const Phone& phone, std::string* why);

 private:
  class Connection;

  void ready(uint32_t events) override;  // somebody connects
  void close(Connection& connection);

  ModemBus& modem_;
  Poller& poller_;
  Poller::Id accepting_ = 0;
  bool full_ = false;             // no descriptor for another connection until one ends
  std::unique_ptr<Phone> phone_;  // whose socket this is, once it listens
  Descriptor lock_;
  Descriptor listening_;
  std::unordered_map<Connection*, std::unique_ptr<Connection>> connections_;
  std::vector<uint8_t> received_;  // the datagram that is handled
};

}  // namespace sim
