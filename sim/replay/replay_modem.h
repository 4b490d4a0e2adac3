// A modem that answers from a capture: each request that was recorded gets what followed it there,
// once; any other is refused, with a line for the log.
//
// Its services are those of the capture, at addresses of its own. They go and come as they did
// after the request before.
//
// Threads and time: those of ModemBus. The tap and the log are called with the modem's mutex held,
// and must not call the modem.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/mutex.h"
#include "sim/modem/modem_bus.h"
#include "traffic/replay/recording.h"

namespace sim {

class ReplayModem final : public ModemBus {
 public:
  enum class Timing {
    kAtOnce,
    kRecorded,  // a reply comes as long after its request as it did
  };
  // Sees every message: requests as the client sent them, and what it gets.
  using Tap = std::function<void(const traffic::FrameHead& head, std::span<const uint8_t> octets)>;
  // Takes one line without a line end.
  using Log = std::function<void(const std::string& line)>;

  ReplayModem(traffic::Recording recording, Timing timing, Log log, Tap tap);

  [[nodiscard]] Address attach(Port& port) override EXCLUDES(mutex_);
  void detach(Address client) override EXCLUDES(mutex_);
  void send(Address client, Address to, std::span<const uint8_t> octets) override EXCLUDES(mutex_);
  [[nodiscard]] platform::Time next_due() override EXCLUDES(mutex_);
  void run_due() override EXCLUDES(mutex_);

  // What was recorded and not asked so far: a line for each.
  [[nodiscard]] std::vector<std::string> not_asked() EXCLUDES(mutex_);

 private:
  // A reply, or a refusal, on its way.
  struct Due {
    traffic::Reply::What what;
    size_t service;
    std::vector<uint8_t> octets;
    Address client, server;
  };

  void look_up(std::span<const uint8_t> octets) REQUIRES(mutex_);
  void publish(size_t service) REQUIRES(mutex_);
  void carry_out(const Due& due) REQUIRES(mutex_);
  void show(bool to_client, Address client, Address server, std::span<const uint8_t> octets)
      REQUIRES(mutex_);

  const Timing timing_;
  const Log log_;
  const Tap tap_;
  base::Mutex mutex_;
  Bus bus_ GUARDED_BY(mutex_);
  traffic::Recording recording_ GUARDED_BY(mutex_);
  std::vector<Address> up_ GUARDED_BY(mutex_);    // of each of its services; port 0: not up
  std::set<uint32_t> missed_ GUARDED_BY(mutex_);  // services whose lack was reported
  std::multimap<platform::Time, Due> due_ GUARDED_BY(mutex_);
};

}  // namespace sim
