// A pseudo-terminal whose far end is the AT channel.
#ifndef SIM_SHELL_AT_TERMINAL_H_
#define SIM_SHELL_AT_TERMINAL_H_

#include <string>
#include <string_view>

#include "sim/phone/files.h"
#include "sim/shell/at_channel.h"

namespace sim {

// Raw: octets pass as they are, and nothing is echoed. Replies that nobody reads stay to be read
// until there is no room for another, which then takes their place.
class AtTerminal {
 public:
  // False, and why, when there is no pseudo-terminal to be had.
  bool open(std::string* why);
  // The device of the near end.
  const std::string& path() const { return path_; }
  // Carries what is written there to the channel, and its replies back, until `stop`, a descriptor,
  // becomes readable.
  void run(AtChannel& channel, int stop);

 private:
  void reply(std::string_view text);
  void silence() const;

  std::string path_;
  Descriptor far_;
  Descriptor near_;  // held open: the terminal's settings end with its last user
};

}  // namespace sim

#endif  // SIM_SHELL_AT_TERMINAL_H_
