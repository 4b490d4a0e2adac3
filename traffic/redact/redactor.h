// Replaces what says who a phone or its owner is: first every frame is shown to learn(), then each
// is given to redact().
//
// Values are replaced where they stand in a message of ours. What nobody can say the meaning of is
// zeros: messages that cannot be decoded, and elements that have no row.
#pragma once

#include <map>
#include <string>

#include "traffic/redact/identities.h"
#include "traffic/view/decoder.h"

namespace traffic {

class Redactor {
 public:
  void learn(const Frame& frame);
  void learn(const std::string& comment);
  void redact(Frame* frame);
  void redact(std::string* comment);

  // Places, by what was replaced there.
  [[nodiscard]] const std::map<std::string, uint64_t>& counts() const { return counts_; }

 private:
  void redact_message(Frame* frame);
  void replace_values(Decoded& decoded);
  void replace_item(Decoded& decoded);
  [[nodiscard]] bool encode(const Decoded& decoded, std::vector<uint8_t>* octets);

  Decoder learning_, redacting_;
  Identities identities_;
  std::map<std::string, uint64_t> counts_;
};

}  // namespace traffic
