// Identities and what stands for them in a redacted capture.
//
// A substitute is random, has the length of its identity, and check digits that are right when
// those of the identity are. The same identity has the same substitute, whatever form it comes in.
//
// Threads: one.
#pragma once

#include <map>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "traffic/redact/scan.h"

namespace traffic {

class Identities {
 public:
  void add(IdentityKind kind, std::string_view digits);

  // Replaces every known identity: its digits in ASCII and, in octets, in both forms of BCD at any
  // half of an octet. Calls `replaced` for each place.
  using Replaced = std::function<void(IdentityKind kind)>;
  void replace(std::span<uint8_t> octets, const Replaced& replaced) const;
  void replace(std::string* text, const Replaced& replaced) const;

  // Random octets, the same for the same ones.
  void replace_opaque(std::span<uint8_t> octets);
  // A random number below `limit`, the same for the same one.
  [[nodiscard]] uint32_t replace_number(uint32_t number, uint32_t limit);

 private:
  struct Substitute {
    IdentityKind kind;
    std::string digits;
  };
  struct LongestFirst {
    bool operator()(const std::string& a, const std::string& b) const {
      return a.size() != b.size() ? a.size() > b.size() : a < b;
    }
  };

  [[nodiscard]] std::string substitute_for(IdentityKind kind, std::string_view digits);
  // Whether any was there.
  bool replace_digits(std::string* text, const Replaced& replaced) const;

  std::random_device random_;
  std::map<std::string, Substitute, LongestFirst> known_;
  std::set<std::string> used_;  // as substitutes
  std::map<std::string, std::string> opaque_;
  std::map<uint32_t, uint32_t> numbers_;
};

}  // namespace traffic
