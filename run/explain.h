// What a result code means.
#pragma once

#include <string>
#include <vector>

namespace run {

// The codes that the words name, as lines for a person: a layer, a number or a name, in any order;
// without words, every code. Empty when there is none.
[[nodiscard]] std::string explain(const std::vector<std::string>& words);

}  // namespace run
