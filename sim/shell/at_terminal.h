// A pseudo-terminal with the AT channel at its far end. Programs open the near end, a device path.
//
// It is raw: octets pass unchanged, and nothing is echoed. Unread replies stay in the terminal
// until there is no room for another one, which then replaces them.
#pragma once

#include <string>
#include <string_view>

#include "sim/phone/files.h"
#include "sim/shell/at_channel.h"

namespace sim {

class AtTerminal {
 public:
  // Makes the pseudo-terminal. False, and why, when the system has none left.
  [[nodiscard]] bool open(std::string* why);
  // The device of the near end.
  const std::string& path() const { return path_; }
  // Carries octets to the channel and its replies back until `stop`, a descriptor, becomes
  // readable. Blocks: it needs a thread.
  void run(AtChannel& channel, int stop);

 private:
  void reply(std::string_view text);
  void disable_echo() const;

  std::string path_;
  Descriptor far_;
  Descriptor near_;  // kept open, because the settings are lost when the last user closes it
};

}  // namespace sim
