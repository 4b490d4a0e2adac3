#include "sim/phone/default_phone.h"

#include "sim/config/phone_toml.h"

namespace sim {
namespace {

constexpr std::string_view kHeader =
    R"(# The simulated phone. Edit what you like: every process reads it when its modem starts (a served
# modem: when vex-phone serve starts). A key that the phone does not know is an error.
)";

constexpr std::string_view kValues =
#include "default_phone_toml.inc"  // made of default_phone.toml
    ;

constexpr std::string_view kExample = R"(#
# [[fault]]
# service = "vendor"
# message = 0x0002
# kind = "response"
# nth = 2
# action = "drop"
)";

}  // namespace

std::string default_phone_toml() {
  return std::string(kHeader) + phone_toml(kValues) + std::string(kExample);
}

std::string imei_item(std::string_view digits) {
  int sum = 0;
  for (size_t i = 0; i < digits.size(); ++i) {
    const int digit = (digits[i] - '0') * (i % 2 == 1 ? 2 : 1);
    sum += digit / 10 + digit % 10;
  }
  const std::string all = std::string(digits) + static_cast<char>('0' + (10 - sum % 10) % 10);
  std::string item = {8, static_cast<char>((all[0] - '0') << 4 | 0xA)};
  for (size_t i = 1; i + 1 < all.size(); i += 2) {
    item += static_cast<char>((all[i + 1] - '0') << 4 | (all[i] - '0'));
  }
  return item;
}

std::vector<DefaultFile> default_files() {
  return {
      {"nv/0/550", imei_item("12345678901234")},
      {"nv/1/550", imei_item("12345678901235")},
      {"nv/2/550", imei_item("12345678901236")},
      {"pdc/platform", "active D1CE0001\n"},
      {"pdc/software/0", "active A14E7BC0559D23F1680B2E94D7C3081F62BA5D90\n"},
      {"pdc/software/1", "active 0C88F3A19B6D4E52C7701FBA2E5D936448AB17E3\n"},
  };
}

}  // namespace sim
