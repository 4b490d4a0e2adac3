#include "traffic/redact/identities.h"

#include <algorithm>
#include <cstring>

namespace traffic {

std::string Identities::substitute_for(IdentityKind kind, std::string_view digits) {
  std::string text(digits);
  // What does not say who somebody is stays: that it is a card, and the country of a subscriber.
  const size_t kept = kind == IdentityKind::kIccid || kind == IdentityKind::kEid ? 2
                      : kind == IdentityKind::kImsi                              ? 3
                                                                                 : 0;
  for (size_t i = std::min(kept, text.size()); i < text.size(); ++i) {
    text[i] = static_cast<char>('0' + random_() % 10);
  }
  const bool has_luhn = kind == IdentityKind::kImei || kind == IdentityKind::kIccid;
  const std::string_view body = digits.substr(0, digits.size() - 1);
  if (has_luhn && luhn_digit(body) == digits.back()) {
    text.back() = luhn_digit(std::string_view(text).substr(0, body.size()));
  }
  if (kind == IdentityKind::kEid) {
    text.replace(text.size() - 2, 2, eid_check_digits(text.substr(0, text.size() - 2)));
  }
  return text;
}

void Identities::add(IdentityKind kind, std::string_view digits) {
  if (known_.contains(std::string(digits))) return;
  std::string substitute;
  do {
    substitute = substitute_for(kind, digits);
  } while (substitute == digits || !used_.insert(substitute).second);
  // Forms without the check digit, or with others behind it.
  if (kind == IdentityKind::kImei || kind == IdentityKind::kIccid) {
    const size_t body = digits.size() - 1;
    known_.try_emplace(std::string(digits.substr(0, body)),
                       Substitute{kind, substitute.substr(0, body)});
  }
  known_.try_emplace(std::string(digits), Substitute{kind, substitute});
}

// Where identities overlap, as when octets look like two kinds, each loses all of its digits.
bool Identities::replace_digits(std::string* text, const Replaced& replaced) const {
  std::string original;  // of a text that has any
  std::vector<bool> done;
  for (const auto& [digits, substitute] : known_) {
    const std::string& from = original.empty() ? *text : original;
    size_t at = from.find(digits);
    if (at == std::string::npos) continue;
    if (original.empty()) {
      original = *text;
      done.resize(text->size());
    }
    for (; at != std::string::npos; at = original.find(digits, at + 1)) {
      bool any = false;
      for (size_t i = 0; i < digits.size(); ++i) {
        if (done[at + i]) continue;
        (*text)[at + i] = substitute.digits[i];
        done[at + i] = any = true;
      }
      if (any) replaced(substitute.kind);
    }
  }
  return !original.empty();
}

void Identities::replace(std::string* text, const Replaced& replaced) const {
  replace_digits(text, replaced);
}

void Identities::replace(std::span<uint8_t> octets, const Replaced& replaced) const {
  if (known_.empty()) return;
  std::string text(octets.begin(), octets.end());
  if (replace_digits(&text, replaced)) std::memcpy(octets.data(), text.data(), text.size());
  for (const bool swapped : {false, true}) {
    std::string digits = halves(octets, swapped);
    if (replace_digits(&digits, replaced)) set_halves(digits, swapped, octets);
  }
}

void Identities::replace_opaque(std::span<uint8_t> octets) {
  const auto [found, is_new] = opaque_.try_emplace(std::string(octets.begin(), octets.end()));
  std::string& substitute = found->second;
  if (is_new) {
    for (size_t i = 0; i < octets.size(); ++i) substitute += static_cast<char>(random_());
  }
  std::memcpy(octets.data(), substitute.data(), substitute.size());
}

uint32_t Identities::replace_number(uint32_t number, uint32_t limit) {
  return numbers_.try_emplace(number, random_() % limit).first->second;
}

}  // namespace traffic
