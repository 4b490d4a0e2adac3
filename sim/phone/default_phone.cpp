#include "sim/phone/default_phone.h"

namespace sim {

const std::string_view kDefaultPhoneToml =
    R"(# The simulated phone. Edit what you like: every process reads it when its modem starts (a served
# modem: when vex-phone serve starts). A key that the phone does not know is an error.

[modem]
# How long the services stay away when the modem restarts, in milliseconds.
restart_ms = 1500
# What becomes of NV items and EFS files that were written or deleted since the last NV sync when the
# modem restarts: "survives", or "lost": they are again what they were at the sync.
unsynced = "survives"
# Services that are not there, by name; a restart does not bring them either.
absent = []

[sar]
# The device state index (DSI); a sound modem's is 0 to 20. valid = false: the modem sends none.
state = 0
valid = true

[diag]
# What the version command answers: dates and times as compilers write them, a version of 8
# characters at most.
compiled = "Jan 15 2026 10:30:00"
released = "Jan 20 2026 18:00:00"
version = "SIM.1.0"
model = 255
firmware = 1
hardware_major = 1
hardware_minor = 0

[statistics]
# The statistics feature's health, as the modem reports it; a diag log whose version is too old is
# named by its id.
enabled = true
outdated_logs = []
cmd_ok_count = 0
cmd_fail_count = 0

# What the modem measures, a table a subscription, sub0 and sub1; in it a table a record. A record
# that is left out is one that the modem does not have; a value that is left out is 0. Levels are in
# dBm, ratios in dB; lists have a value for each of the chains.
#   rat         the technology in use: none, gsm, wcdma, lte, nr, or its number
#   lte_pcc, lte_scc1 to lte_scc6
#               earfcn, pci, rx_valid (a bit a chain), rsrp, rsrq, rssi and snr (lists of 4)
#   nr_pcc, nr_scc1, nr_scc2
#               rsrp (a list of 4), rsrq
#   nr_agc      rssi (a list of 4)
#   nr_ftl      snr (a list of 4)
#   nr_antenna  rx_old and rx_new (lists of 4), tx_old and tx_new (lists of 2)
#   nr_power    tx_power
#   lte_power   pusch_tx_power, dl_path_loss, max_power, pusch_ex_tx_power (whole numbers)
#   wcdma       rx_agc (a list of 2)
#   gsm         prx, drx
#   antenna     ant_num, ant_path, sig_path, old_config, new_config
#   raw         "0x52" = "01 02 ..."   the octets of that record, whatever the tables say; at most 700
[measurements.sub0]
rat = "nr"

[measurements.sub0.lte_pcc]
earfcn = 1300
pci = 101
rx_valid = 15
rsrp = [-91.5, -93.0, -96.25, -97.0]
rsrq = [-10.0, -10.5, -11.0, -11.5]
rssi = [-62.5, -64.0, -67.0, -68.0]
snr = [18.5, 17.0, 14.5, 14.0]

[measurements.sub0.lte_power]
pusch_tx_power = 23
dl_path_loss = 108
max_power = 23
pusch_ex_tx_power = 23

[measurements.sub0.nr_pcc]
rsrp = [-84.0, -85.5, -88.0, -89.5]
rsrq = -10.5

[measurements.sub0.nr_agc]
rssi = [-55.0, -56.5, -59.0, -60.0]

[measurements.sub0.nr_ftl]
snr = [24.5, 23.0, 20.5, 19.0]

[measurements.sub0.nr_antenna]
rx_old = [0, 1, 2, 3]
rx_new = [0, 1, 2, 3]
tx_old = [0, 1]
tx_new = [1, 0]

[measurements.sub0.nr_power]
tx_power = 12.9

[measurements.sub0.wcdma]
rx_agc = [-78.0, -80.5]

[measurements.sub0.gsm]
prx = -75.0
drx = -77.5

[measurements.sub0.antenna]
ant_num = 4
ant_path = 1
sig_path = 2
old_config = 0
new_config = 1

[measurements.sub1]
rat = "lte"

[measurements.sub1.lte_pcc]
earfcn = 3350
pci = 27
rx_valid = 3
rsrp = [-104.0, -106.5, -140.0, -140.0]
rsrq = [-13.0, -13.5, -20.0, -20.0]
rssi = [-75.0, -77.5, -110.0, -110.0]
snr = [7.5, 6.0, -20.0, -20.0]

[measurements.sub1.lte_power]
pusch_tx_power = 23
dl_path_loss = 119
max_power = 23
pusch_ex_tx_power = 23

[measurements.sub1.wcdma]
rx_agc = [-92.0, -94.5]

[measurements.sub1.gsm]
prx = -88.0
drx = -90.5

[measurements.sub1.antenna]
ant_num = 2
ant_path = 0
sig_path = 1
old_config = 0
new_config = 0

# The cards. state: absent, present, or error (with why: error = "unknown", "poll", "no-atr",
# "voltage-mismatch", "parity", "possibly-removed" or "technical"). Slot 1 has sim1. Slot 2 has sim2
# and an eUICC; which of them it is connected to is decided when it is powered up, by the file
# efs/1/nv/item_files/modem/uim/uimdrv/esim_enable: four octets, the SIM when they are 0 or there is
# no such file. A modem that starts powers both slots up.
[cards]
# false: the modem knows no extended card status.
extended_status = true
# How long a card takes to answer after a power up, in milliseconds.
ready_ms = 250
# What the tray can hold: "single" or "multi" SIMs, or "error". A SIM that is not absent is in it, until
# the tool says otherwise; from then on cards/tray has it.
tray = "multi"

[cards.sim1]
state = "present"

[cards.sim2]
state = "present"

[cards.euicc]
# 32 digits, the last two of them check digits (any other octets are sent as well, at most 16); "":
# it tells none. Octets are pairs of hexadecimal digits everywhere; blanks may stand between them.
eid = "89044099123456789012345678901220"

# Its profiles, of which one may be enabled. class: operational, test or provisioning. A memory reset
# deletes operational and test profiles; cards/deleted_profiles then has their ICCIDs, and without
# that file they are back.
[[cards.euicc.profile]]
iccid = "8988001000000000015"
name = "Test One"
class = "operational"
enabled = true

[[cards.euicc.profile]]
iccid = "8988001000000000023"
name = "Test Roam"
class = "operational"
enabled = false

# Carrier configurations. An activation and a deactivation take their time; a list comes in
# indications of at most `frame` configurations. What is selected is kept in the phone's directory:
# pdc/platform and pdc/software/<sub>, with a line "active <id>" and one "pending <id>".
[pdc]
activation_ms = 200
deactivation_ms = 100
frame = 25

# type: platform or software. id: 1 to 124 octets. default: what the modem calls its default for the
# type.
[[configuration]]
type = "platform"
id = "D1CE0001"
description = "Desk reference hardware"
version = 0x01000001
size = 18432
default = true

[[configuration]]
type = "software"
id = "5F0A61C2D3E4F5061728394A5B6C7D8E9FA0B1C2"
description = "Generic"
version = 0x05010100
size = 34816
default = true

[[configuration]]
type = "software"
id = "A14E7BC0559D23F1680B2E94D7C3081F62BA5D90"
description = "Test One commercial"
version = 0x05010207
size = 41984

[[configuration]]
type = "software"
id = "0C88F3A19B6D4E52C7701FBA2E5D936448AB17E3"
description = "Test Roam commercial"
version = 0x05010305
size = 40960

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
#   service  "vendor", "nas", "sar", "vs", "uim", "pdc", "diag", or "any"; left out: any
#   message  the message id; left out: any
#   kind     "request", "response" or "indication"; left out: response
#   nth      which match since the modem started, from 1; 0 or left out: every one
#   action   what becomes of it, with the keys that stand beside it
#            "drop"
#            "delay"              ms = ...
#            "qmi-error"          error = ...    the standard result says failure, with this error
#                                            (of an indication: its outcome, where it has one;
#                                            not of vendor, which has no standard result)
#            "vendor-error"       result = ...   the vendor function's own result (vendor alone)
#            "truncate"           octets = ...   what is left of the message
#            "change"             at = ..., octets = [...]   written over the message from there
#                                            (0: its 7 octets of header; 7: its first TLV)
#            "duplicate"
#            "wrong-transaction"
#            "after-indication"   of a response: held until the client's next indication has gone
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
      {"pdc/platform", "active D1CE0001\n"},
      {"pdc/software/0", "active A14E7BC0559D23F1680B2E94D7C3081F62BA5D90\n"},
      {"pdc/software/1", "active 0C88F3A19B6D4E52C7701FBA2E5D936448AB17E3\n"},
  };
}

}  // namespace sim
