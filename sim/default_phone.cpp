#include "sim/default_phone.h"

namespace sim {

const std::string_view kDefaultPhoneToml =
    R"(# The simulated phone. Edit what you like: every process reads it when its modem starts (a served
# modem: when vex-phone serve starts). A key that the phone does not know is an error.

[modem]
# How long the services stay away when the modem restarts, in milliseconds.
restart_ms = 1500

[sar]
# The device state index (DSI), 0 to 20. valid = false: the modem sends none.
state = 0
valid = true

[statistics]
# The statistics feature's health, as the modem reports it; a diag log whose version is too old is
# named by its id.
enabled = true
outdated_logs = []

# What a network scan finds. rat: gsm, umts, lte, tdscdma or nr.
# in_use: serving, available or unknown.
[[network]]
mcc = 1
mnc = 1
mnc_digits = 2
name = "Test One"
rat = "lte"
in_use = "serving"
roaming = false
forbidden = false
preferred = true

[[network]]
mcc = 1
mnc = 1
mnc_digits = 2
name = "Test One"
rat = "nr"
in_use = "available"
roaming = false
forbidden = false
preferred = true

[[network]]
mcc = 999
mnc = 70
mnc_digits = 2
name = "Test Roam"
rat = "gsm"
in_use = "available"
roaming = true
forbidden = true
preferred = false

# Faults. Each rule watches the messages of one service and acts on those that match.
#   service  "vendor", "nas", "sar", or "any"
#   message  the message id; left out: any
#   kind     "request", "response" or "indication"
#   nth      which match, from 1; 0 or left out: every one
#   action   "drop"
#            "delay"              ms = ...
#            "qmi-error"          error = ...    the standard result says failure, with this error
#            "vendor-error"       result = ...   the vendor function's own result
#            "truncate"           octets = ...   what is left of the message
#            "change"             at = ..., octets = [...]   written over the message from there
#            "duplicate"
#            "wrong-transaction"
#            "after-indication"   a response: it is held until the client's next indication has gone
#            "restart"            the message is lost, and the modem restarts
# A rule that no message met is reported when the modem stops.
#
# [[fault]]
# service = "vendor"
# message = 0x0002
# kind = "response"
# nth = 2
# action = "drop"
)";

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
  };
}

}  // namespace sim
