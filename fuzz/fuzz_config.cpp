// The reader of phone.toml, on any text.

#include <cstdint>
#include <string_view>
#include <tuple>

#include "sim/config/config.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  sim::PhoneConfig config;
  std::string why;
  std::ignore = sim::parse_phone_config({reinterpret_cast<const char*>(data), size}, &config, &why);
  return 0;
}
