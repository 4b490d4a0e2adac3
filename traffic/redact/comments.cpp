#include "traffic/redact/comments.h"

#include <algorithm>
#include <cctype>

namespace traffic {
namespace {

// "vex 4 2 0 550 8 26 …": the command and what it is about.
constexpr size_t kShown = 4;
// Of an octet, "0xFF"; what is longer was looked at for identities.
constexpr size_t kLongest = 4;

bool is_word(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }

bool is_octet(std::string_view word) {
  if (word.starts_with("0x") || word.starts_with("0X")) word.remove_prefix(2);
  return !word.empty() && word.size() <= kLongest &&
         std::all_of(word.begin(), word.end(),
                     [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; });
}

}  // namespace

bool hide_octets(std::string* comment) {
  bool any = false;
  size_t octets = 0;
  for (auto at = comment->begin(); at != comment->end();) {
    const auto begin = std::find_if(at, comment->end(), is_word);
    const auto end = std::find_if_not(begin, comment->end(), is_word);
    octets = is_octet({begin, end}) ? octets + 1 : 0;
    if (octets > kShown) {
      std::fill(begin, end, 'x');
      any = true;
    }
    at = end;
  }
  return any;
}

}  // namespace traffic
