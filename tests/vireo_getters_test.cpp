// The measurements of the statistics framework, against the simulated modem.

#include <malloc.h>

#include <cmath>

#include "platform/kelvor_utils.h"
#include "platform/properties.h"
#include "support/vireo_desk.h"
#include "vireo/modem_api/modem_api.h"
#include "vireo/modem_api/modem_vireo_getters.h"
#include "vireo/modem_api/modem_vireo_mgr.h"
#include "vireo/vireo_common/vireo_mem.h"

namespace {

using desk::call_process;
using desk::Lines;
using desk::output_of;
using desk::raw;
using desk::said;
using desk::Vireo;
using namespace std::chrono_literals;

// ---- the getters

template <class S, bool (*get)(uint32_t, S*)>
std::string got(uint32_t sub) {
  S record;
  std::memset(&record, 0xEE, sizeof record);
  EXPECT_FALSE(get(sub, nullptr));
  return get(sub, &record) ? desk::hex({reinterpret_cast<uint8_t*>(&record), sizeof record})
                           : "failed";
}
#define GOT(name) got<modem_vireo_##name, modem_vireo_##name##_get>
#define GOT_FOR(name, carrier) got<modem_vireo_##name, modem_vireo_##name##_get_for_##carrier>

constexpr const char* kLteValues =
    "earfcn = 66486\npci = 503\nrx_valid = 0x8001\nrsrp = [-1, -2.5, 0, 4]\nrsrq = [8, 16, 32, "
    "64]\nrssi = [-128, 0.5, 0.25, -inf]\nsnr = [1e3, 3, 5, 7]";
constexpr const char* kLte =
    "B6 03 01 00 F7 01 01 80 00 00 80 BF 00 00 00 41 00 00 00 C3 00 00 7A 44 00 00 20 C0 00 00 80 "
    "41 00 00 00 3F 00 00 40 40 00 00 00 00 00 00 00 42 00 00 80 3E 00 00 A0 40 00 00 80 40 00 00 "
    "80 42 00 00 80 FF 00 00 E0 40";
constexpr const char* kNrValues = "rsrp = [-1, 2, -4, 8]\nrsrq = 0.5";
constexpr const char* kNr = "00 00 80 BF 00 00 00 40 00 00 80 C0 00 00 00 41 00 00 00 3F";
constexpr const char* kFour = "00 00 00 00 00 00 80 3F 00 00 00 40 00 00 80 40 00 00 00 41";
constexpr const char* kTwo = "00 00 00 00 00 00 80 BF 00 00 00 40";
constexpr const char* kAntennas =
    "rx_old = [1, 3, 5, 7]\nrx_new = [2, 4, 6, -8]\ntx_old = [9, 11]\ntx_new = [10, 12]";
constexpr const char* kTwelve =
    "01 00 00 00 02 00 00 00 03 00 00 00 04 00 00 00 05 00 00 00 06 00 00 00 07 00 00 00 F8 FF FF "
    "FF 09 00 00 00 0A 00 00 00 0B 00 00 00 0C 00 00 00";

struct Row {
  const char* table;  // of [measurements.subN]
  const char* values;
  uint32_t id;
  std::string (*get)(uint32_t sub);
  std::string version;    // what stands before the structure's octets
  std::string octets;     // of the record
  const char* structure;  // null: as the record
  int left;               // of a record that lacks one octet
  const char* missing;
};

std::string sys_mode(uint32_t sub) {
  const int32_t technology = modem_sys_mode_get(sub);
  return technology < 0 ? "failed" : std::to_string(technology);
}

// Records as phone.toml names them, as they lie in the modem, and as the getters give them.
TEST_F(Vireo, EveryRecordIsPackedAndReadToTheLastOctet) {
  const auto lte = [](const char* table, uint32_t id, auto get) {
    return Row{table, kLteValues, id, get, "01 ", kLte, nullptr, 3, "snr_rx3"};
  };
  const auto nr = [](const char* table, uint32_t id, auto get) {
    return Row{table, kNrValues, id, get, "01 ", kNr, nullptr, 3, "rsrq"};
  };
  const Row rows[] = {
      lte("lte_pcc", 0x52, GOT_FOR(lte_srv_meas_info, pcc)),
      lte("lte_scc1", 0x67, GOT_FOR(lte_srv_meas_info, scc1)),
      lte("lte_scc2", 0x68, GOT_FOR(lte_srv_meas_info, scc2)),
      lte("lte_scc3", 0x69, GOT_FOR(lte_srv_meas_info, scc3)),
      lte("lte_scc4", 0x6A, GOT_FOR(lte_srv_meas_info, scc4)),
      lte("lte_scc5", 0x6B, GOT_FOR(lte_srv_meas_info, scc5)),
      lte("lte_scc6", 0x6C, GOT_FOR(lte_srv_meas_info, scc6)),
      nr("nr_pcc", 0x87, GOT_FOR(nr5g_srv_meas_info, pcc)),
      nr("nr_scc1", 0x06, GOT_FOR(nr5g_srv_meas_info, scc1)),
      nr("nr_scc2", 0x07, GOT_FOR(nr5g_srv_meas_info, scc2)),
      {"nr_power", "tx_power = 12.9", 0x5A, GOT(nr5g_mac_ul_phy_ch_power_info), "01 ",
       "00 00 00 00 66 66 4E 41", nullptr, 3, "tx_power"},
      {"nr_agc", "rssi = [1, 2, 4, 8]", 0x5E, GOT(nr5g_ll1_fw_rx_control_agc), "01 ", kFour,
       nullptr, 3, "rssi_rx3"},
      {"lte_power",
       "pusch_tx_power = -2\ndl_path_loss = 200\nmax_power = 23\npusch_ex_tx_power = -32768", 0x62,
       GOT(lte_pusch_power_info), "", "01 FE FF C8 17 00 00 80", "01 00 FE FF C8 00 17 00 00 80", 1,
       "pusch_ex_tx_power"},
      {"antenna", "ant_num = 1\nant_path = 2\nsig_path = 3\nold_config = 4\nnew_config = 255", 0x64,
       GOT(mcs_trm_asdiv), "", "01 01 02 03 04 FF", nullptr, 0, "new_config"},
      {"wcdma", "rx_agc = [-1, 2]", 0x6E, GOT(wcdma_pn_search_edition2), "01 ", kTwo, nullptr, 3,
       "rx_agc_1"},
      {"gsm", "prx = -1\ndrx = 2", 0x6F, GOT(gsm_l1_rx_diversity_metrics), "01 ", kTwo, nullptr, 3,
       "rx_drx"},
      {"nr_ftl", "snr = [1, 2, 4, 8]", 0x70, GOT(nr5g_ll1_fw_serving_ftl), "01 ", kFour, nullptr, 3,
       "snr_rx3"},
      {"nr_antenna", kAntennas, 0x71, GOT(nr5g_ml1_antenna_switch_diversity), "01 ", kTwelve,
       nullptr, 3, "ant_tx_1_new"},
      {"raw", "\"0x2C\" = \"0205010000\"", 0x2C, sys_mode, "", "02 05 01 00 00", "261", 3, "rat"},
  };
  std::string toml;
  std::string cut = "[measurements.sub1.raw]\n";
  for (const Row& row : rows) {
    toml += "[measurements.sub0." + std::string(row.table) + "]\n" + row.values + "\n";
    const std::string record = row.version + row.octets;
    cut += raw(row.id, record.substr(0, record.size() - 3));
  }
  directory_.write("phone.toml", toml + cut);
  start_written_modem();
  for (const Row& row : rows) {
    EXPECT_EQ(row.get(0), row.structure != nullptr ? row.structure : row.octets) << row.table;
    EXPECT_EQ(g_vireo_data.length, 0) << row.table;
    char missing[96];
    std::snprintf(missing, sizeof missing, "g_vireo_data_left(%d) is not enough for %s, id(0x%x)",
                  row.left, row.missing, row.id);
    const std::string output = output_of([&] { EXPECT_EQ(row.get(1), "failed") << row.id; });
    EXPECT_TRUE(said(output, missing)) << output;
    EXPECT_EQ(said(output, "ptr_vireo_data is NULL"), row.id != 0x2C);
  }
}

TEST_F(Vireo, AStructureThatLiesOverTheStoreEndsTheDecodingWhenItsOffsetIsNegative) {
  start_modem("[measurements.sub0.raw]\n" + raw(0x64, "00 00 00 80 05 06"));
  auto* over = reinterpret_cast<modem_vireo_mcs_trm_asdiv*>(&g_vireo_data.read_offset);
  // The fourth octet has become the offset's highest.
  EXPECT_SAYS("g_pK_DATA_CNT(-2147483644) is can not < 0 for old_config, id(0x64)",
              EXPECT_FALSE(modem_vireo_mcs_trm_asdiv_get(0, over)));
}

struct PowerRow {
  const char* name;
  std::string sub_0, sub_1;
  const char* default_sub;  // the property
  int32_t power_0, power_1, dds, max;
  const char* message;
  friend void PrintTo(const PowerRow& row, std::ostream* out) { *out << row.name; }
};
std::string rat(uint8_t value) { return raw(0x2C, "01" + desk::hex({&value, 1}) + "000000"); }
std::string nr(float power) {
  uint8_t octets[4];
  std::memcpy(octets, &power, 4);
  return rat(12) + raw(0x5A, "0100000000" + desk::hex(octets));
}
std::string lte(int16_t power) {
  uint8_t octets[2];
  std::memcpy(octets, &power, 2);
  return rat(9) + raw(0x62, "01" + desk::hex(octets) + "6C17001700");
}
constexpr int32_t kNone = 65535;

struct Power : Vireo, testing::WithParamInterface<PowerRow> {};
TEST_P(Power, IsOfASubOfTheDefaultOneAndOfTheStronger) {
  const PowerRow& row = GetParam();
  start_modem("[measurements.sub0.raw]\n" + row.sub_0 + "[measurements.sub1.raw]\n" + row.sub_1);
  if (row.default_sub != nullptr) {
    property_set("persist.vendor.radio.default_data_sub", row.default_sub);
  }
  const std::string output = output_of([&] {
    EXPECT_EQ(modem_tx_power_get_by_sub(0), row.power_0);
    EXPECT_EQ(modem_tx_power_get_by_sub(1), row.power_1);
    EXPECT_EQ(modem_tx_power_get_for_dds_sub(), row.dds);
    EXPECT_EQ(modem_tx_power_get_for_max_sub(), row.max);
  });
  EXPECT_TRUE(said(output, row.message)) << row.message << "\n" << output;
}
const PowerRow kPowers[] = {
    {"ATie", nr(23), lte(23), "1", 23, 23, 23, 23,
     "function exit, tx_power0 = 23, tx_power1 = 23, tx_power = 23 <-------------"},
    {"TowardZero", nr(12.9F), nr(-3.7F), "1", 12, -3, -3, 12,
     "function exit, dds_sub = 1, tx_power = -3 <-------------"},
    {"AnyInteger", nr(40000.5F), nr(-0x1p31F), "1", 40000, INT32_MIN, INT32_MIN, 40000,
     "function exit, tx_power = 40000 <-------------"},
    {"TheSecondIsStronger", lte(-20), lte(-5), "0", -20, -5, -20, -5, "sub = 1, rat = 9"},
    {"MissingNeverWins", rat(5), lte(-5), nullptr, kNone, -5, kNone, -5, "rat(5) is invalid"},
    {"MissingSecond", lte(-32768), raw(0x2C, "00"), "1", -32768, kNone, kNone, -32768,
     "rat(-1) is invalid"},
    {"NoRecords", rat(12) + raw(0x5A, ""), rat(9) + raw(0x62, "01"), "7", kNone, kNone, kNone,
     kNone, "modem_vireo_lte_pusch_power_info_get faile"},
    {"NotANumber", nr(NAN), nr(0x1p31F), "1", kNone, kNone, kNone, kNone,
     "function exit, tx_power = 65535 <-------------"},
    {"Endless", nr(-INFINITY), nr(INFINITY), "0", kNone, kNone, kNone, kNone, "sub = 0, rat = 12"},
    {"NoNrRecord", rat(12) + raw(0x5A, "0100000000"), nr(-0.9F), "1", kNone, 0, 0, 0,
     "modem_vireo_nr5g_mac_ul_phy_ch_power_info_get faile"},
};
INSTANTIATE_TEST_SUITE_P(Rules, Power, testing::ValuesIn(kPowers),
                         [](const auto& row) { return row.param.name; });

TEST_F(Vireo, FetchesDoNotGrowTheProcess) {
  property_set("persist.vireo.mem_trace", "true");
  start_modem().set_tap(nullptr);
  kelvor_hal_set_shell_print_mask(0);
  ASSERT_EQ(modem_vireo_api_init(), 1);
  const auto fetch = [](int n) {
    for (int i = 0; i < n; ++i) modem_tx_power_get_by_sub(i % 3);
  };
  fetch(100);
  const uint32_t traced = vireo_mem_traced();
  const size_t used = ::mallinfo2().uordblks;
  fetch(2000);
  EXPECT_EQ(traced, 1u) << "the client's record";
  EXPECT_EQ(vireo_mem_traced(), traced);
  EXPECT_LE(::mallinfo2().uordblks, used + 4096);
  modem_vireo_api_deinit();
  EXPECT_EQ(vireo_mem_traced(), 0u);
}

}  // namespace
