// The local-socket listener to a served modem. A client for whom there is no descriptor left is
// refused and told so.
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
  // Takes the socket away.
  ~Server() override;
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // The socket's name in the phone's directory.
  static constexpr const char kSocket[] = "modem.sock";
  // The path by which a client of the phone's modem connects; empty when there is no socket.
  static std::string socket_path(const Phone& phone);
  // Whether a process has the phone's socket, answering or not.
  static bool is_served(const Phone& phone);

  // Listens at the phone's socket, in the place of a server that is gone but not of one that is
  // there. False, and why, when it cannot. The socket is for its user alone.
  bool listen(const Phone& phone, std::string* why);
  void poll_for(std::vector<pollfd>* polled) override;
  void serve(std::span<const pollfd> polled) override;

 private:
  class Connection;

  void accept_all();
  // False when the connection is over.
  bool serve_one(Connection& connection, short events);

  bool full_ = false;  // no descriptor for another connection until one ends

  Modem& modem_;
  std::unique_ptr<Phone> phone_;  // whose socket this is, once it listens
  Descriptor lock_;
  Descriptor listening_;
  std::map<int, std::unique_ptr<Connection>> connections_;
};

}  // namespace sim

#endif  // SIM_SERVING_SERVER_H_
