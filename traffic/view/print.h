// Frames as lines for a person:
//
//   2026-11-21 22:04:43.123456 1.5 vendor 0x0002 generic request 7: id=2 (NV and EFS) …
//   2026-11-21 22:04:43.123868 1.5 vendor 0x0002 generic response 7 in 0.412 ms: …
//   2026-11-21 22:04:43.123868 # fault: phone.toml:3: …
//
// the local time, the client's node and port, service, message, kind, transaction, and the values.
#pragma once

#include <string>

#include "traffic/view/decoder.h"

namespace traffic {

// Which messages are printed, by their names or numbers; empty: all of them.
struct PrintOptions {
  std::string service;
  std::string message;
  bool octets = false;  // arrays whole, and the datagram in lines of its own
};

class Printer {
 public:
  explicit Printer(PrintOptions options) : options_(std::move(options)) {}

  // The lines of a frame, each with its end; empty when it is not asked for.
  const std::string& lines(const Frame& frame);

 private:
  void append_time(int64_t time_ns);
  void append_message(Decoded& decoded);
  [[nodiscard]] bool wanted(const Decoded& decoded) const;

  const PrintOptions options_;
  Decoder decoder_;
  std::string line_;
  int64_t known_second_ = -1;
  std::string known_text_;
};

// How many octets of an array a line shows.
inline constexpr size_t kShownOctets = 32;

// "vendor 0xffe4".
[[nodiscard]] std::string service_words(uint32_t service);
// Which message it is: "vendor 0x0002 generic request".
void append_name(const Decoded& decoded, std::string* line);
// Its values, or in parentheses why there are none.
void append_contents(Decoded& decoded, size_t most_octets, std::string* line);
// What a control packet says.
[[nodiscard]] std::string control_text(const Frame& frame);

// The values of a message in one line, arrays of octets cut after so many.
void append_values(Decoded& decoded, size_t most_octets, std::string* line);

}  // namespace traffic
