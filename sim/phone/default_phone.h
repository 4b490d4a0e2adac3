// The phone that a new directory gets.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sim {

struct DefaultFile {
  std::string path;  // below the phone's directory
  std::string contents;
};

std::vector<DefaultFile> default_files();
std::string default_phone_toml();

// NV item 550: an IMEI of 14 digits and their Luhn check digit, as a mobile identity of
// 3GPP TS 24.008 behind its length.
std::string imei_item(std::string_view digits);

}  // namespace sim
