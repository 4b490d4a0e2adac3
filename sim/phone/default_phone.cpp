#include "sim/phone/default_phone.h"

#include "sim/config/phone_toml.h"

namespace sim {

namespace {

constexpr std::string_view kHeader =
    R"(# The simulated phone. Edit what you like: every process reads it when its modem starts (a served
# modem: when vex-phone serve starts). A key that the phone does not know is an error.
)";

// What differs from a phone.toml without any key.
constexpr std::string_view kValues = R"(
[diag]
compiled = "Jan 15 2026 10:30:00"
released = "Jan 20 2026 18:00:00"
version = "SIM.1.0"
model = 255
firmware = 1
hardware_major = 1

[measurements.sub0]
rat = "nr"
lte_pcc.earfcn = 1300
lte_pcc.pci = 101
lte_pcc.rx_valid = 15
lte_pcc.rsrp = [-91.5, -93.0, -96.25, -97.0]
lte_pcc.rsrq = [-10.0, -10.5, -11.0, -11.5]
lte_pcc.rssi = [-62.5, -64.0, -67.0, -68.0]
lte_pcc.snr = [18.5, 17.0, 14.5, 14.0]
lte_power = {pusch_tx_power = 23, dl_path_loss = 108, max_power = 23, pusch_ex_tx_power = 23}
nr_pcc = {rsrp = [-84.0, -85.5, -88.0, -89.5], rsrq = -10.5}
nr_agc.rssi = [-55.0, -56.5, -59.0, -60.0]
nr_ftl.snr = [24.5, 23.0, 20.5, 19.0]
nr_antenna = {rx_old = [0, 1, 2, 3], rx_new = [0, 1, 2, 3], tx_old = [0, 1], tx_new = [1, 0]}
nr_power.tx_power = 12.9
wcdma.rx_agc = [-78.0, -80.5]
gsm = {prx = -75.0, drx = -77.5}
antenna = {ant_num = 4, ant_path = 1, sig_path = 2, old_config = 0, new_config = 1}

[measurements.sub1]
rat = "lte"
lte_pcc.earfcn = 3350
lte_pcc.pci = 27
lte_pcc.rx_valid = 3
lte_pcc.rsrp = [-104.0, -106.5, -140.0, -140.0]
lte_pcc.rsrq = [-13.0, -13.5, -20.0, -20.0]
lte_pcc.rssi = [-75.0, -77.5, -110.0, -110.0]
lte_pcc.snr = [7.5, 6.0, -20.0, -20.0]
lte_power = {pusch_tx_power = 23, dl_path_loss = 119, max_power = 23, pusch_ex_tx_power = 23}
wcdma.rx_agc = [-92.0, -94.5]
gsm = {prx = -88.0, drx = -90.5}
antenna = {ant_num = 2, ant_path = 0, sig_path = 1, old_config = 0, new_config = 0}

[cards.euicc]
eid = "89044099123456789012345678901220"
profile = [{iccid = "8988001000000000015", name = "Test One", enabled = true},
           {iccid = "8988001000000000023", name = "Test Roam"}]

[[configuration]]
type = "platform"
id = "D1CE0001"
description = "Desk reference hardware"
version = 0x01000001
size = 18432
default = true

[[configuration]]
id = "5F0A61C2D3E4F5061728394A5B6C7D8E9FA0B1C2"
description = "Generic"
version = 0x05010100
size = 34816
default = true

[[configuration]]
id = "A14E7BC0559D23F1680B2E94D7C3081F62BA5D90"
description = "Test One commercial"
version = 0x05010207
size = 41984

[[configuration]]
id = "0C88F3A19B6D4E52C7701FBA2E5D936448AB17E3"
description = "Test Roam commercial"
version = 0x05010305
size = 40960

[[network]]
name = "Test One"
in_use = "serving"
preferred = true

[[network]]
name = "Test One"
rat = "nr"
preferred = true

[[network]]
mcc = 999
mnc = 70
name = "Test Roam"
rat = "gsm"
roaming = true
forbidden = true
)";

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
