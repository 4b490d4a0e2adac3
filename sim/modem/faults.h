// Fault rules at work on messages in transit.
//
// A rule sees octets, never a service's state: what it does to a message could as well have
// happened on the way. All rules that match act, in the order of phone.toml, each on what those
// before have left. Rules match by the message's id as it was before the first of them acted.
// No lock of its own: the modem's guards it.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "sim/config/config.h"

namespace sim {

// What becomes of one message.
struct FaultOutcome {
  std::vector<std::vector<uint8_t>> copies;  // what goes on, in order; none: it is lost
  std::chrono::milliseconds delay{0};
  bool answered = false;  // the copies of a request are responses, given in the service's place
  bool after_indication = false;   // held back until the client's next indication has gone
  bool restart = false;            // the modem restarts
  std::vector<std::string> rules;  // that acted on it, each as unused has it
};

class Faults {
 public:
  explicit Faults(std::vector<FaultRule> rules);

  // Whether no message needs to be shown to apply.
  bool none() const { return rules_.empty(); }
  // Puts other rules in their place. One that was among them keeps its count.
  void replace(std::vector<FaultRule> rules);
  // Counts the message for every rule that it matches and applies those whose turn it is. `octets`:
  // one whole message, from its QMI header on. The caller carries the outcome out.
  FaultOutcome apply(uint32_t service, FaultKind kind, std::vector<uint8_t> octets);
  // A line for each rule: how many messages it met, and the rule with its line in phone.toml.
  std::vector<std::string> counts() const;
  // The rules that never acted, each with its line in phone.toml.
  std::vector<std::string> unused() const;

 private:
  struct Counted {
    FaultRule rule;
    uint32_t matches = 0;
    bool acted = false;
  };
  std::vector<Counted> rules_;
};

}  // namespace sim
