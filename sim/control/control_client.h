// The other end of a served phone's control socket (control_server.h).
//
// Not thread-safe.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "sim/phone/phone.h"

namespace sim {

class ControlClient {
 public:
  // False, and why, when nobody serves the phone.
  [[nodiscard]] bool connect(const Phone& phone, std::string* why);
  // Sends the request, which gets the version, and waits, ten seconds at most, for its answer.
  // False, and why, when it was refused or the server has gone.
  [[nodiscard]] bool ask(nlohmann::json request, nlohmann::json* answer, std::string* why);
  // Waits for a line that nobody asked for. False, and why, when the server has gone.
  [[nodiscard]] bool next(nlohmann::json* line, std::string* why);

 private:
  [[nodiscard]] bool read_line(nlohmann::json* line, std::string* why);
  void limit(int seconds);

  Descriptor socket_;
  std::string received_;
};

}  // namespace sim
