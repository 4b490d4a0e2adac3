// The modem's end of the AT channel: command lines in, replies out.
//
// It answers AT, ATI, AT+CSQ, AT+CGSN and AT+COPS?, and ERROR to any other line. Replies are in the
// verbose form of ITU-T V.250, without an echo of the command; values are as 3GPP TS 27.007 has
// them. The IMEI is read from NV item 550 when it is asked for; signal and operator are those of
// the phone.toml that the channel was made with.
//
// Threads: one at a time.
#ifndef SIM_SHELL_AT_CHANNEL_H_
#define SIM_SHELL_AT_CHANNEL_H_

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/config/config.h"
#include "sim/phone/phone.h"

namespace sim {

class AtChannel {
 public:
  // Is told each line that came ("< AT+CSQ") and each line of its reply ("> OK"); octets that are
  // not printable appear as \xNN.
  using Log = std::function<void(const std::string& line)>;

  AtChannel(Phone phone, PhoneConfig config, Log log);

  // Takes octets as they arrive. Each line that ends among them is answered by one string, as it
  // goes out; a line ends with a carriage return or a line feed, and an empty one is none.
  std::vector<std::string> take(std::string_view octets);

 private:
  using Texts = std::vector<std::string>;
  // The lines of information that a command reports; false: ERROR.
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
  std::string line_;  // that has not ended yet
};

}  // namespace sim

#endif  // SIM_SHELL_AT_CHANNEL_H_
