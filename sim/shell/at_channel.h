// The modem's end of the AT channel: takes command lines, returns replies.
//
// It knows AT, ATI, AT+CSQ, AT+CGSN and AT+COPS?, and answers ERROR to any other line. Replies have
// the verbose form of ITU-T V.250, without an echo of the command; values are those of 3GPP TS
// 27.007. The IMEI is read from NV item 550 for each request; signal and operator are those of the
// phone.toml with which the channel was made.
//
// Threads: one at a time.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/config/config.h"
#include "sim/phone/phone.h"

namespace sim {

class AtChannel {
 public:
  // Takes each received line ("< AT+CSQ") and each line of its reply ("> OK"); octets that are not
  // printable ASCII appear as \xNN.
  using Log = std::function<void(const std::string& line)>;

  AtChannel(Phone phone, PhoneConfig config, Log log);

  // Takes octets as they arrive, in pieces of any size. Returns one reply, as it is to be sent, for
  // each line that ends among them, with a carriage return or a line feed. Empty lines are ignored.
  std::vector<std::string> take(std::string_view octets);

 private:
  using Texts = std::vector<std::string>;
  // Appends the lines of a command's answer; false: ERROR.
  using Report = bool (AtChannel::*)(Texts*) const;
  struct Command;

  bool attention(Texts*) const { return true; }
  bool identification(Texts* lines) const;
  bool serial_number(Texts* lines) const;
  bool signal_quality(Texts* lines) const;
  bool operator_selection(Texts* lines) const;
  std::string answer(const std::string& line);

  static const Command kCommands[];

  Phone phone_;
  PhoneConfig config_;
  Log log_;
  std::string line_;  // received so far, without its end
};

}  // namespace sim
