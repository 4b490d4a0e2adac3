// The characters that the TOML parser is given.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace sim {

// toml++ 3.3.0 asks of every character from U+00A0 up whether it is white space, and for most of
// them the answer is undefined (its TOML_UNREACHABLE), which a build without checks gets through
// with whatever comes. So the parser is given ASCII only: characters of comments are replaced here,
// texts spell theirs as escapes. Returns the line of the first that stands elsewhere.
std::optional<size_t> line_not_ascii(std::string& text);

}  // namespace sim
