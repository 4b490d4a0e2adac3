// The listener on a local socket in the phone's directory: one connection for each client endpoint,
// framed as qcci/link/local_socket.h says.
//
// A client that leaves no descriptor to spare is refused with a BYE packet; one of another user, or
// one that sends malformed frames or does not read, is cut off.
#ifndef SIM_SERVING_SERVER_H_
#define SIM_SERVING_SERVER_H_

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "sim/phone/phone.h"
#include "sim/serving/listener.h"

namespace sim {

class Server final : public Listener {
 public:
  explicit Server(Modem& modem);
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
  void poll_for(std::vector<pollfd>* polled) override;
  void serve(std::span<const pollfd> polled) override;

 private:
  class Connection;

  void accept_all();
  // False when the connection is to be closed.
  [[nodiscard]] bool serve_one(Connection& connection, short events);

  Modem& modem_;
  bool full_ = false;             // no descriptor for another connection until one ends
  std::unique_ptr<Phone> phone_;  // whose socket this is, once it listens
  Descriptor lock_;
  Descriptor listening_;
  std::map<int, std::unique_ptr<Connection>> connections_;
};

}  // namespace sim

#endif  // SIM_SERVING_SERVER_H_
