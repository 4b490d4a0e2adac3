// Lists of carrier configurations, and their refresh and reactivation.

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

TEST_F(PdcList, AListThatBreaksOffIsNoListAndLeaksNothing) {
  const struct {
    const char* rule;
    std::string fault;
    size_t asked;
    const char* said;
  } rows[] = {
      {"an error in the third frame",
       fault("indication", PDC_LIST_CONFIGS, "nth = 3\naction = \"qmi-error\"\nerror = 3"), 3,
       "pdc_list_configs_flag, Abort to req, get_list_complete 0"},
      {"a frame that is lost", fault("indication", PDC_LIST_CONFIGS, "nth = 3\naction = \"drop\""),
       3, "pdc_list is waiting, will stop it."},
      {"a service that goes", fault("request", PDC_LIST_CONFIGS, "nth = 3\naction = \"restart\""),
       3, "qmi send mssage error for list_configs, errno: -2 0"},
      {"a frame of nothing that promises more",
       fault("indication", PDC_LIST_CONFIGS,
             "nth = 1\naction = \"change\"\nat = 12\n"
             "octets = [0x12, 1, 0, 1, 0x30, 0xDE, 0]"),
       1, "pdc_list_configs_flag, Abort to req, get_list_complete 0"},
  };
  for (const auto& row : rows) {
    // Each in a process of its own, as the client library's state is one a process.
    EXPECT_EXIT(
        {
          connect(many(100) + row.fault);
          clock_.run_by_itself();
          std::vector<pdc_config_info*> list(200);
          unsigned int count = 200;
          int result = 0;
          const std::string output =
              desk::output_of([&] { result = pdc_list_configs(kSoftware, list.data(), &count); });
          bool good = result == -1 && count == 0 && nothing_leaked() &&
                      asked().size() == row.asked && said(output, row.said);
          // Once the modem has forgotten how far it was, the list is whole again.
          clock_.advance(5s);
          kelvor_mbn_init(1);
          count = 200;
          good = good && pdc_list_configs(kSoftware, list.data(), &count) == 0 && count == 102;
          if (!good) std::fprintf(stderr, "%s\n", output.c_str());
          std::_Exit(good ? 0 : 1);
        },
        testing::ExitedWithCode(0), "")
        << row.rule;
  }
}

TEST_F(PdcList, AFrameThatComesTwiceCountsOnce) {
  connect(many(98) + fault("indication", PDC_LIST_CONFIGS, "action = \"duplicate\""));
  std::vector<pdc_config_info*> list(100);
  for (int i = 0; i < 3; ++i) {
    unsigned int count = 100;
    ASSERT_EQ(pdc_list_configs(kSoftware, list.data(), &count), 0);
    EXPECT_EQ(count, 100u) << i;
    pdc_config_pdc_info id{};
    EXPECT_EQ(pdc_get_current_config(&id, kSoftware, 0), 0) << "behind the last frame's double";
    while (count > 0) qcril_free(list[--count]);
  }
}

TEST_F(PdcList, AFollowUpStopsTheTimerAndStartsItAgain) {
  connect(many(49) + fault("indication", PDC_LIST_CONFIGS, "action = \"delay\"\nms = 4000"));
  clock_.run_by_itself();
  std::vector<pdc_config_info*> list(100);
  unsigned int count = 100;
  EXPECT_EQ(pdc_list_configs(kSoftware, list.data(), &count), 0) << "each frame has 5 s";
  EXPECT_EQ(count, 51u);
  EXPECT_EQ(clock_.passed(), 12s);
  while (count > 0) qcril_free(list[--count]);
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

struct Mbn : PdcDesk {
  // The operation's result, and what was asked of the modem.
  static constexpr int (*kRefresh)(unsigned int, unsigned int) = kelvor_refresh_mbn;
  static constexpr int (*kReactivate)(unsigned int, unsigned int) = kelvor_reactivate_mbn;
};

TEST_F(Mbn, EveryMaskAndTypeDoesWhatItNames) {
  const Sequence turn_0{kGet0, kDeactivate0, "sync", kSet0, kRegular0};
  const Sequence turn_1{kGet1, kDeactivate1, "sync", kSet1, kRegular1};
  Sequence both = turn_0;
  both.insert(both.end(), turn_1.begin(), turn_1.end());
  const char* const kRange = "sub_mask is out of range";
  const char* const kType = "config_type is invalid";
  const struct {
    int (*operation)(unsigned int, unsigned int);
    unsigned int mask, type;
    int result;
    Sequence asked;
    const char* said;
  } rows[] = {
      {kRefresh, 0, 1, -1, {}, kRange},
      {kRefresh, 1, 1, 0, {kSoft0}, "SUB_0 pdc_activate_config_ex ret 0"},
      {kRefresh, 2, 1, 0, {kSoft1}, "SUB_1 pdc_activate_config_ex ret 0"},
      {kRefresh, 3, 1, 0, {kSoft0, kSoft1}, "SUB_1 pdc_activate_config_ex ret 0"},
      {kRefresh, 4, 1, -1, {}, kRange},
      {kRefresh, 1, 2, -1, {}, kType},
      {kRefresh,
       2,
       0,
       0,
       {"activate 01 04 00 00 00 00 00 11 04 00 01 00 00 00 13 04 00 01 00 00 00"},
       "mbn_type 0"},
      {kReactivate,
       2,
       0,
       0,
       {"get 01 04 00 00 00 00 00", "deactivate 01 04 00 00 00 00 00", "sync",
        "set 01 06 00 00 00 00 00 01 50",
        "activate 01 04 00 00 00 00 00 11 04 00 00 00 00 00 13 04 00 01 00 00 00"},
       "SUB_1 pdc_activate_config ret_val 0"},
      {kReactivate, 0, 1, -1, {}, kRange},
      {kReactivate, 1, 1, 0, turn_0, "SUB_0 pdc_activate_config ret_val 0"},
      {kReactivate, 2, 1, 0, turn_1, "SUB_1 pdc_select_config ret_val 0"},
      {kReactivate, 3, 1, 0, both, "SUB_1 pdc_activate_config ret_val 0"},
      {kReactivate, 4, 1, -1, {}, kRange},
      {kReactivate, 3, 2, -1, {}, kType},
  };
  start();
  size_t before = 0;
  for (const auto& row : rows) {
    const std::string output =
        desk::output_of([&] { EXPECT_EQ(row.operation(row.mask, row.type), row.result); });
    EXPECT_TRUE(said(output, row.said)) << output;
    const Sequence all = asked();
    EXPECT_EQ(Sequence(all.begin() + static_cast<ptrdiff_t>(before), all.end()), row.asked);
    before = all.size();
    EXPECT_EQ(said(output, "pdc init have been done, do nothing"),
              row.operation == kRefresh && &row != rows)
        << output;
  }
  EXPECT_EQ(directory_.file("pdc/software/0"), "active AA00\n");
  EXPECT_EQ(directory_.file("pdc/software/1"), "active BB00\n");
}

TEST_F(Mbn, AStepThatFailsStopsWhatDependsOnItAlone) {
  const auto refused = [](int message) {
    return fault("indication", message, "nth = 1\naction = \"qmi-error\"\nerror = 3");
  };
  const Sequence turn_0{kGet0, kDeactivate0, "sync", kSet0, kRegular0};
  const Sequence turn_1{kGet1, kDeactivate1, "sync", kSet1, kRegular1};
  Sequence both = turn_0;
  both.insert(both.end(), turn_1.begin(), turn_1.end());
  const struct {
    const char* rule;
    int (*operation)(unsigned int, unsigned int);
    std::string fault;
    int result;
    Sequence asked;
    const char* said;
  } rows[] = {
      {"a refused refresh goes on",
       kRefresh,
       refused(PDC_ACTIVATE_CONFIG),
       0,
       {kSoft0, kSoft1},
       "SUB_0 pdc_activate_config_ex ret -1"},
      {"the last refresh counts",
       kRefresh,
       fault("indication", PDC_ACTIVATE_CONFIG, "nth = 2\naction = \"qmi-error\"\nerror = 3"),
       -1,
       {kSoft0, kSoft1},
       "SUB_1 pdc_activate_config_ex ret -1"},
      {"no current configuration, no turn",
       kReactivate,
       refused(PDC_GET_SELECTED_CONFIG),
       -1,
       {kGet0},
       "SUB_0 pdc_get_current_config fail"},
      {"SUB_1's is its own",
       kReactivate,
       fault("indication", PDC_GET_SELECTED_CONFIG, "nth = 2\naction = \"drop\""),
       -1,
       {kGet0, kDeactivate0, "sync", kSet0, kRegular0, kGet1},
       "SUB_1 pdc_get_current_config fail"},
      {"deactivation", kReactivate, refused(PDC_DEACTIVATE_CONFIG), 0, both,
       "pdc_deactivate_config, ret_pdc: -1, ret_sync: 0, sub: 0, config_type: 1"},
      {"a sync that fails", kReactivate,
       "[[fault]]\nservice = \"vendor\"\nnth = 1\naction = \"vendor-error\"\nresult = 5\n", 0, both,
       "SUB_1 pdc_activate_config ret_val 0"},
      {"no service, nothing",
       kReactivate,
       "[modem]\nabsent = [\"pdc\"]\n",
       -1,
       {},
       "pdc init failed, do nothing"},
      {"selection", kReactivate, refused(PDC_SET_SELECTED_CONFIG), 0, both,
       "SUB_0 pdc_select_config ret_val -1"},
      {"activation", kReactivate, refused(PDC_ACTIVATE_CONFIG), 0, both,
       "SUB_0 pdc_activate_config ret_val -1"},
  };
  for (const auto& row : rows) {
    EXPECT_EXIT(
        {
          start(row.fault);
          clock_.run_by_itself();
          int result = 0;
          const std::string output = desk::output_of([&] { result = row.operation(3, kSoftware); });
          const bool good = result == row.result && asked() == row.asked && said(output, row.said);
          if (!good) {
            std::fprintf(stderr, "%d\n%s\n", result, output.c_str());
            for (const std::string& one : asked()) std::fprintf(stderr, "%s\n", one.c_str());
          }
          std::_Exit(good ? 0 : 1);
        },
        testing::ExitedWithCode(0), "")
        << row.rule;
  }
}

TEST_F(Mbn, ADeactivationNamesWhatItRefuses) {
  const std::string output = desk::output_of([] {
    EXPECT_EQ(kelvor_mbn_deactivate_config(2, kSoftware), -1);
    EXPECT_EQ(kelvor_mbn_deactivate_config(1, static_cast<pdc_config_type_enum_v01>(2)), -1);
  });
  EXPECT_TRUE(said(output, "sub is invalid, sub: 2")) << output;
  EXPECT_TRUE(said(output, "config_type is invalid, config_type: 2")) << output;
}

}  // namespace
