// Lists of carrier configurations, and their refresh and reactivation.

#include "common/qcril_mem.h"
#include "mbn/kelvor_mbn_utils.h"
#include "support/pdc_desk.h"

namespace {

using namespace std::chrono_literals;
using namespace desk;

struct PdcList : PdcDesk {};

TEST_F(PdcList, AListOfFiveHundredComesWholeAndInOrder) {
  connect(many(498));
  std::vector<pdc_config_info*> list(1000);
  unsigned int count = 1000;
  ASSERT_EQ(pdc_list_configs(kSoftware, list.data(), &count), 0);
  ASSERT_EQ(count, 500u);
  EXPECT_EQ(requests(), 20u);
  EXPECT_EQ(asked()[7], "list 11 04 00 01 00 00 00");
  for (unsigned int i = 2; i < count; ++i) {
    const uint8_t id[] = {0xEE, 0, static_cast<uint8_t>((i - 2) >> 8), static_cast<uint8_t>(i - 2)};
    ASSERT_EQ(list[i]->config.id_len, 4u);
    EXPECT_EQ(std::memcmp(list[i]->config.id, id, 4), 0) << i;
  }
  for (unsigned int i = 0; i < count; ++i) qcril_free(list[i]);
  count = 499;
  EXPECT_EQ(pdc_list_configs(kSoftware, list.data(), &count), -1) << "no room for one of them";
  EXPECT_EQ(count, 0u);
  count = 1;
  EXPECT_EQ(pdc_list_configs(kPlatform, list.data(), &count), 0) << "and on another type";
  qcril_free(list[0]);
  EXPECT_TRUE(nothing_leaked());
}

struct BreakRow {
  const char* name;
  const char* kind;
  const char* fault;
  size_t asked;
  const char* message;
  friend void PrintTo(const BreakRow& row, std::ostream* out) { *out << row.name; }
};
struct Break : PdcDesk, testing::WithParamInterface<BreakRow> {};

TEST_P(Break, OffMakesNoListAndLeaksNothing) {
  const BreakRow& row = GetParam();
  connect(many(100) + fault(row.kind, PDC_LIST_CONFIGS, row.fault));
  clock_.run_by_itself();
  std::vector<pdc_config_info*> list(200);
  unsigned int count = 200;
  const std::string output =
      desk::output_of([&] { EXPECT_EQ(pdc_list_configs(kSoftware, list.data(), &count), -1); });
  EXPECT_EQ(count, 0u);
  EXPECT_TRUE(nothing_leaked());
  EXPECT_EQ(asked().size(), row.asked);
  EXPECT_TRUE(said(output, row.message)) << output;
  // Once the modem has forgotten how far it was, the list is whole again.
  clock_.advance(5s);
  pdc_config_pdc_info id{};
  pdc_get_current_config(&id, kSoftware, 0);  // behind what is late, on the client's thread
  EXPECT_TRUE(nothing_leaked());
  kelvor_mbn_init(1);
  count = 200;
  EXPECT_EQ(pdc_list_configs(kSoftware, list.data(), &count), 0);
  EXPECT_EQ(count, 102u);
  for (unsigned int i = 0; i < count; ++i) qcril_free_adv(list[i], __func__, __LINE__);
  EXPECT_TRUE(nothing_leaked());
}

const BreakRow kBreaks[] = {
    {"AnErrorInTheThirdFrame", "indication", "nth = 3\naction = \"qmi-error\"\nerror = 3", 3,
     "pdc_list_configs_flag, Abort to req, get_list_complete 0"},
    {"AFrameThatIsLost", "indication", "nth = 3\naction = \"drop\"", 3,
     "pdc_list is waiting, will stop it."},
    {"AFrameThatIsLate", "indication", "nth = 3\naction = \"delay\"\nms = 6000", 3,
     "pdc_list is waiting, will stop it."},
    {"AServiceThatGoes", "request", "nth = 3\naction = \"restart\"", 3,
     "qmi send mssage error for list_configs, errno: -2 0"},
    {"AFrameOfNothingThatPromisesMore", "indication",
     "nth = 1\naction = \"change\"\nat = 12\noctets = [0x12, 1, 0, 1, 0x30, 0xDE, 0]", 1,
     "pdc_list_configs_flag, Abort to req, get_list_complete 0"},
};
INSTANTIATE_TEST_SUITE_P(Lists, Break, testing::ValuesIn(kBreaks),
                         [](const auto& row) { return row.param.name; });

TEST_F(PdcList, AFrameMayComeTwiceAndEachHasFiveSeconds) {
  connect(many(49) +
          fault("indication", PDC_LIST_CONFIGS, "action = \"delay\"\nms = 4000\nnth = 1") +
          fault("indication", PDC_LIST_CONFIGS, "action = \"delay\"\nms = 4000\nnth = 2") +
          fault("indication", PDC_LIST_CONFIGS, "action = \"duplicate\""));
  clock_.run_by_itself();
  std::vector<pdc_config_info*> list(100);
  for (int i = 0; i < 3; ++i) {
    unsigned int count = 100;
    ASSERT_EQ(pdc_list_configs(kSoftware, list.data(), &count), 0);
    EXPECT_EQ(count, 51u) << i;
    EXPECT_EQ(clock_.passed(), 8s);
    pdc_config_pdc_info id{};
    EXPECT_EQ(pdc_get_current_config(&id, kSoftware, 0), 0) << "behind the last frame's double";
    while (count > 0) qcril_free(list[--count]);
  }
}

TEST_F(PdcList, APhoneWithoutConfigurationsSendsNoList) {
  directory_.write("phone.toml", "");
  start_written_modem();
  ASSERT_EQ(pdc_init(), 0);
  clock_.run_by_itself();
  unsigned int count = 0;
  pdc_config_info* none = nullptr;
  EXPECT_EQ(pdc_list_configs(kSoftware, &none, &count), -1);
  EXPECT_EQ(clock_.passed(), 5s);
}

struct Mbn : PdcDesk {};

TEST_F(Mbn, MasksAndTypesOutOfRangeAreRefusedAndThePlatformHasNoSub) {
  static const struct {
    int (*operation)(unsigned int, unsigned int);
    unsigned int mask, type;
    int result;
    const char* message;
  } kRows[] = {
      {kelvor_refresh_mbn, 0, 1, -1, "sub_mask is out of range"},
      {kelvor_refresh_mbn, 4, 1, -1, "sub_mask is out of range"},
      {kelvor_refresh_mbn, 1, 2, -1, "config_type is invalid"},
      {kelvor_reactivate_mbn, 0, 1, -1, "sub_mask is out of range"},
      {kelvor_reactivate_mbn, 4, 1, -1, "sub_mask is out of range"},
      {kelvor_reactivate_mbn, 3, 2, -1, "config_type is invalid"},
      {kelvor_refresh_mbn, 2, 0, 0, "mbn_type 0"},
      {kelvor_reactivate_mbn, 2, 0, 0, "SUB_1 pdc_activate_config ret_val 0"},
      // The last refresh counts.
      {kelvor_refresh_mbn, 3, 1, 0, "SUB_0 pdc_activate_config_ex ret -1"},
      {kelvor_refresh_mbn, 3, 1, -1, "SUB_1 pdc_activate_config_ex ret -1"},
  };
  const std::string refused = "action = \"qmi-error\"\nerror = 3\nnth = ";
  start(fault("indication", PDC_ACTIVATE_CONFIG, (refused + "3").c_str()) +
        fault("indication", PDC_ACTIVATE_CONFIG, (refused + "6").c_str()));
  for (const auto& row : kRows) {
    EXPECT_SAYS(row.message, EXPECT_EQ(row.operation(row.mask, row.type), row.result));
  }
  Sequence first = asked();
  first.resize(6);
  EXPECT_EQ(first,
            (Sequence{"activate 01 04 00 00 00 00 00 11 04 00 01 00 00 00 13 04 00 01 00 00 00",
                      "get 01 04 00 00 00 00 00", "deactivate 01 04 00 00 00 00 00", "sync",
                      "set 01 06 00 00 00 00 00 01 50",
                      "activate 01 04 00 00 00 00 00 11 04 00 00 00 00 00 13 04 00 01 00 00 00"}));
}

TEST_F(Mbn, ADeactivationNamesWhatItRefuses) {
  EXPECT_SAYS("sub is invalid, sub: 2", EXPECT_EQ(kelvor_mbn_deactivate_config(2, kSoftware), -1));
  constexpr auto kNone = static_cast<pdc_config_type_enum_v01>(2);
  EXPECT_SAYS("config_type is invalid, config_type: 2",
              EXPECT_EQ(kelvor_mbn_deactivate_config(1, kNone), -1));
}

}  // namespace
