#include "sim/config/ascii.h"

#include <string_view>

namespace sim {

std::optional<size_t> line_not_ascii(std::string& text) {
  std::string_view quote;  // what ends the text that i is in; "#": a comment
  size_t line = 1;
  for (size_t i = 0; i < text.size(); ++i) {
    const std::string_view rest = std::string_view(text).substr(i);
    if ((rest[0] & 0x80) != 0) {
      if (quote != "#") return line;
      text[i] = '?';
    } else if (rest[0] == '\n') {
      ++line;
      if (quote.size() == 1) quote = {};
    } else if (quote == "#") {
      continue;
    } else if (!quote.empty()) {
      if (quote[0] == '"' && (rest.starts_with("\\\\") || rest.starts_with("\\\""))) {
        ++i;
      } else if (rest.starts_with(quote)) {
        i += quote.size() - 1;
        quote = {};
      }
    } else if (rest[0] == '#') {
      quote = "#";
    } else if (rest[0] == '"' || rest[0] == '\'') {
      const std::string_view three = rest[0] == '"' ? "\"\"\"" : "\'\'\'";
      quote = rest.starts_with(three) ? three : three.substr(0, 1);
      i += quote.size() - 1;
    }
  }
  return std::nullopt;
}

}  // namespace sim
