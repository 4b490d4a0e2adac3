// The page that a report is: what stands before its data, and what behind it.
#pragma once

#include <string_view>

namespace traffic {

[[nodiscard]] std::string_view page_before_data();
[[nodiscard]] std::string_view page_behind_data();

}  // namespace traffic
