// Texts that are made from the rows of the keys.
#pragma once

#include <string>
#include <string_view>

namespace sim {

// A phone.toml with every key, each explained. `values`: TOML, what is not as a missing key means.
std::string phone_toml(std::string_view values);

// The keys as a page of Markdown.
std::string keys_page();

}  // namespace sim
