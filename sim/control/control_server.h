// The listener for control requests: a local socket in the phone's directory, with a line for each
// request, answer and change (control.h).
//
// A peer of another user, or one beyond kPeersMax, is refused; one with a line beyond kLineMax is
// cut off, and one that leaves more than kBacklogMax unread. A peer whose answers wait to be read
// is not read from. Peers are served in turn, a line each.
//
// Threads: the poller's, which must be the modem's only one too (serve_modem).
#pragma once

#include <memory>
#include <string>
#include <unordered_map>

#include "sim/control/control.h"
#include "sim/serving/poller.h"

namespace sim {

class ControlServer final : private Polled {
 public:
  static constexpr const char kSocket[] = "control.sock";
  static constexpr size_t kPeersMax = 8;  // below the descriptors that Server leaves to others
  static constexpr size_t kLineMax = 16384;
  static constexpr size_t kBacklogMax = size_t{1} << 18;

  // All must outlast this.
  ControlServer(Modem& modem, Control& control, Poller& poller);
  // Removes the socket.
  ~ControlServer() override;
  ControlServer(const ControlServer&) = delete;
  ControlServer& operator=(const ControlServer&) = delete;

  // Listens, for a phone whose modem this process serves: Server::listen has its lock. False, and
  // why, when there can be no socket.
  [[nodiscard]] bool listen(const Phone& phone, std::string* why);

 private:
  class Peer;

  void ready(uint32_t events) override;  // somebody connects
  void close(Peer& peer);
  void tell(const Change& change);

  Modem& modem_;
  Control& control_;
  Poller& poller_;
  Poller::Id accepting_ = 0;
  std::unique_ptr<Phone> phone_;  // whose socket this is, once it listens
  Descriptor listening_;
  std::unordered_map<Peer*, std::unique_ptr<Peer>> peers_;
};

}  // namespace sim
