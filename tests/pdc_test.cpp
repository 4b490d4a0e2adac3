// The PDC client against the simulated service: outcomes that come, come late, twice or not at all.

#include <future>
#include <random>
#include <thread>

#include "mbn/kelvor_mbn_utils.h"
#include "platform/kelvor_utils.h"
#include "support/pdc_desk.h"

namespace {

using namespace std::chrono_literals;
using namespace desk;

struct Pdc : PdcDesk {};

TEST_F(Pdc, SelectionsAreReadChangedAndActivated) {
  connect();
  pdc_config_pdc_info id{};
  ASSERT_EQ(pdc_get_current_config(&id, kSoftware, 0), 0);
  EXPECT_EQ(desk::hex(std::span(id.id, id.id_len)), "AA 00");
  pdc_activate_config_ex(kSoftware, PDC_ACTIVATION_SOFT, 1, 1);
  pdc_activate_config(kPlatform, 1);
  EXPECT_EQ(asked().at(1),
            "activate 01 04 00 01 00 00 00 11 04 00 01 00 00 00 12 04 00 01 00 00 00 13 04 00 01 "
            "00 00 00");
  EXPECT_EQ(asked().at(2),
            "activate 01 04 00 00 00 00 00 11 04 00 00 00 00 00 13 04 00 01 00 00 00");
  ASSERT_EQ(pdc_get_current_config(&id, kPlatform, 1), 0);
  EXPECT_EQ(desk::hex(std::span(id.id, id.id_len)), "50");

  pdc_config_pdc_info other = id_of({0xBB, 0x00});
  EXPECT_EQ(pdc_select_config(&other, kSoftware, 0), 0);
  EXPECT_EQ(directory_.file("pdc/software/0"), "active AA00\npending BB00\n");
  ASSERT_EQ(pdc_get_current_config(&id, kSoftware, 0), 0);
  EXPECT_EQ(desk::hex(std::span(id.id, id.id_len)), "AA 00") << "not activated yet";
  EXPECT_EQ(pdc_activate_config(kSoftware, 0), 0);
  EXPECT_EQ(directory_.file("pdc/software/0"), "active BB00\n");

  EXPECT_EQ(pdc_deactivate_config(0, kSoftware), 0);
  EXPECT_EQ(directory_.file("pdc/software/0"), "");
  EXPECT_EQ(pdc_get_current_config(&id, kSoftware, 0), -1);
  EXPECT_EQ(pdc_deactivate_config(0, kSoftware), -1);
  EXPECT_EQ(pdc_activate_config(kSoftware, 0), -1) << "nothing is selected";
  pdc_config_pdc_info unknown = id_of({0xCC});
  EXPECT_EQ(pdc_select_config(&unknown, kSoftware, 0), -1);
  EXPECT_EQ(directory_.file("pdc/software/1"), "active BB00\n");
}

TEST_F(Pdc, AnIndicationIsWaitedForFiveSecondsUnlessItWasThereFirst) {
  static const struct {
    const char *kind, *action, *message;
    int result;
    std::chrono::seconds passed;
  } kRows[] = {
      {"response", "after-indication\"", "", 0, 0s},
      {"indication", "drop\"", "act_config is waiting, will stop it.", -1, 5s},
      {"indication", "change\"\nat = 8\noctets = [1]", "failed to decode qmi message, msg_id: 0x27",
       -1, 5s},
      {"indication", "restart\"", "", -1, 5s},
  };
  std::string toml = "[modem]\nrestart_ms = 100\n";
  for (size_t i = 0; i < std::size(kRows); ++i) {
    const std::string nth = "nth = " + std::to_string(i + 1) + "\naction = \"" + kRows[i].action;
    toml += fault(kRows[i].kind, PDC_ACTIVATE_CONFIG, nth.c_str());
  }
  connect(toml);
  clock_.run_by_itself();
  for (const auto& row : kRows) {
    const auto before = clock_.passed();
    const std::string output = desk::output_of(
        [&] { EXPECT_EQ(pdc_activate_config(kSoftware, 0), row.result) << row.action; });
    EXPECT_EQ(clock_.passed() - before, row.passed) << row.action;
    EXPECT_TRUE(*row.message == '\0' || said(output, row.message)) << output;
    const bool waited = output.find("qmi_pdc_request_timer_start") != std::string::npos;
    EXPECT_EQ(waited, row.kind[0] == 'i') << row.action;
  }
  EXPECT_EQ(kelvor_mbn_init(1), 0);
  EXPECT_EQ(pdc_activate_config(kSoftware, 0), 0);
}

TEST_F(Pdc, OneExpiryWakesEveryKindThatWaitsAndABusyOneIsRefused) {
  connect(lost(PDC_SET_SELECTED_CONFIG) + lost(PDC_ACTIVATE_CONFIG));
  pdc_config_pdc_info id = id_of({0xBB, 0x00});
  const std::string output = desk::output_of([&] {
    auto first = std::async([&] { return pdc_select_config(&id, kSoftware, 0); });
    await_waiting(PDC_REQ_SELECT);
    clock_.advance(2s);
    EXPECT_EQ(pdc_select_config(&id, kSoftware, 1), -2);
    EXPECT_EQ(requests(), 1u);
    auto second = std::async([] { return pdc_activate_config(kSoftware, 1); });
    await_waiting(PDC_REQ_ACTIVATE);
    EXPECT_EQ(pdc_activate_config(kSoftware, 0), -2);
    clock_.advance(2999ms);
    clock_.advance(1ms);
    EXPECT_EQ(first.get(), -1);
    EXPECT_EQ(second.get(), -1);
  });
  const size_t select = output.find("sel_config is waiting, will stop it.");
  const size_t activate = output.find("act_config is waiting, will stop it.");
  EXPECT_LT(select, activate);
  EXPECT_NE(activate, std::string::npos) << output;
  EXPECT_TRUE(said(output, "reset this timer_id(1), req_type = 7.")) << output;
  EXPECT_EQ(pdc_activate_config(kSoftware, 1), 0);
  EXPECT_EQ(pdc_select_config(&id, kSoftware, 0), 0);
}

TEST_F(Pdc, WhatCannotBeSentFreesTheKind) {
  desk::Modem& modem = connect();
  pdc_config_pdc_info id{};
  id.id_len = 125;
  EXPECT_EQ(pdc_select_config(&id, kSoftware, 0), -4);
  EXPECT_EQ(requests(), 0u);
  id.id_len = 124;
  EXPECT_EQ(pdc_select_config(&id, kSoftware, 0), -1) << "none of the phone's";
  EXPECT_EQ(requests(), 1u);

  modem.take_down(PDC_SERVICE_ID);
  EXPECT_SAYS("qmi send message error for set_selected_config, errno: -2",
              EXPECT_EQ(pdc_select_config(&id, kSoftware, 0), -1));
  EXPECT_EQ(pdc_deactivate_config(0, kSoftware), -1);
  modem.bring_up(PDC_SERVICE_ID);
  EXPECT_EQ(kelvor_mbn_init(1), 0);
  EXPECT_EQ(pdc_deactivate_config(0, kSoftware), 0);
}

TEST_F(Pdc, AnIndicationThatIsLateIsTooLate) {
  connect(fault("indication", PDC_DEACTIVATE_CONFIG, "nth = 1\naction = \"delay\"\nms = 5001"));
  clock_.run_by_itself();
  EXPECT_EQ(pdc_deactivate_config(0, kSoftware), -1);
  EXPECT_EQ(directory_.file("pdc/software/0"), "") << "done all the same";
  clock_.advance(1s);
  pdc_config_pdc_info id = id_of({0xAA, 0x00});
  EXPECT_EQ(pdc_select_config(&id, kSoftware, 0), 0) << "behind it on the client's thread";
  EXPECT_EQ(pdc_activate_config(kSoftware, 0), 0);
  EXPECT_EQ(pdc_deactivate_config(0, kSoftware), 0);
}

TEST_F(Pdc, WhatNobodyAskedForChangesNoLaterRequest) {
  desk::Modem& modem =
      connect(fault("indication", PDC_GET_SELECTED_CONFIG, "nth = 1\naction = \"duplicate\""));
  pdc_config_pdc_info id{};
  EXPECT_EQ(pdc_get_current_config(&id, kSoftware, 0), 0);
  EXPECT_EQ(pdc_activate_config(kSoftware, 0), 0) << "behind the second on the client's thread";
  pdc_config_pdc_info next{};
  EXPECT_EQ(pdc_get_current_config(&next, kSoftware, 1), 0);
  EXPECT_EQ(desk::hex(std::span(next.id, next.id_len)), "BB 00") << "the second's own";

  // Unasked for, of kinds that are waited for and of kinds that never are, with errors and without.
  for (const uint16_t error : {uint16_t{0}, uint16_t{3}}) {
    const pdc_result_ind outcome{error, 0, 0};
    for (const uint16_t message : {PDC_SET_SELECTED_CONFIG, PDC_ACTIVATE_CONFIG, PDC_DELETE_CONFIG,
                                   PDC_DEACTIVATE_CONFIG, PDC_SET_FEATURE}) {
      modem.indicate_all(PDC_SERVICE_ID, message, &outcome, sizeof outcome);
    }
  }
  EXPECT_EQ(pdc_get_current_config(&id, kSoftware, 0), 0) << "behind them on the client's thread";
  EXPECT_EQ(pdc_deactivate_config(0, kSoftware), 0);
  EXPECT_EQ(directory_.file("pdc/software/0"), "") << "the wait was for the modem";
  EXPECT_EQ(pdc_deactivate_config(0, kSoftware), -1);
}

TEST_F(Pdc, AnIndicationThatIsNoneFailsItsRequest) {
  connect();
  for (const pdc::RequestKind& kind : pdc::kRequestKinds) {
    if (kind.req_type == PDC_REQ_LIST) continue;  // whose frames are counted
    const std::string output = desk::output_of([&] { kind.handler(nullptr, 0); });
    EXPECT_TRUE(said(output, kind.req_type == PDC_REQ_DEFAULT_INFO
                                 ? "NULL pointer for config_info"
                                 : "NULL pointer for ind_data_ptr"))
        << output;
    const base::Lock lock(pdc::info().mutex);
    EXPECT_EQ(pdc::info().context(kind.req_type).result, -1) << kind.name;
  }
}

TEST_F(Pdc, ATimerThatRunsIsReplaced) {
  connect();
  const base::Lock lock(pdc::info().mutex);
  const std::string output = desk::output_of([] {
    EXPECT_EQ(qmi_pdc_request_timer_start(PDC_REQ_ACTIVATE), 0);
    EXPECT_EQ(qmi_pdc_request_timer_start(PDC_REQ_ACTIVATE), 0);
    EXPECT_EQ(qmi_pdc_request_timer_get_ptr_by_timer_id(1), nullptr);
    EXPECT_EQ(qmi_pdc_request_timer_get_req_type_by_timer_id(2), PDC_REQ_ACTIVATE);
    qmi_pdc_request_timer_stop(PDC_REQ_ACTIVATE);
  });
  EXPECT_NE(output.find("find the timer is running, will stop it af first, timer_id = 1, "),
            std::string::npos)
      << output;
}

TEST_F(Pdc, AConfigurationIsDescribedAndTheDefaultOneIsTraced) {
  connect();
  const auto ask = [&](uint16_t message, const auto& request) {
    pdc_plain_resp response{};
    EXPECT_EQ(qmi_client_send_msg_sync(pdc::info().client, message, &request, sizeof request,
                                       &response, sizeof response, 1000),
              0);
    return passed(FaultKind::kIndication).back().tlvs();
  };
  pdc_get_config_info_req info{};
  info.config = {kSoftware, 2, {0xAA, 0x00}};
  EXPECT_EQ(ask(PDC_GET_CONFIG_INFO, info),
            "01 02 00 00 00 11 04 00 00 00 00 00 12 06 00 05 66 69 72 73 74 13 04 00 07 00 00 00");
  info.config.id_len = 1;
  EXPECT_EQ(ask(PDC_GET_CONFIG_INFO, info), "01 02 00 32 00");
  pdc_get_default_config_info_req wanted{};
  std::string none, found;
  const std::string output = desk::output_of([&] {
    none = ask(PDC_GET_DEFAULT_CONFIG_INFO, wanted);
    wanted.type = kSoftware;
    found = ask(PDC_GET_DEFAULT_CONFIG_INFO, wanted);
    pdc_activate_config(kSoftware, 0);  // behind them on the client's thread
  });
  EXPECT_EQ(none, "01 02 00 32 00") << "the platform has no default";
  EXPECT_EQ(found,
            "01 02 00 00 00 11 04 00 07 00 00 00 12 04 00 00 00 00 00 13 06 00 05 66 69 72 73 74");
  std::string messages;  // another thread's come between them
  for (const std::string& text : desk::trace_messages(output)) {
    if (text.starts_with("def_ind->")) messages += text.substr(9) + ";";
  }
  EXPECT_EQ(messages,
            "error = 50;config_desc_valid = 0;config_desc_len = 0;config_version_valid = 0;"
            "config_version = 0;error = 0;config_desc_valid = 1;config_desc_len = 5;"
            "config_version_valid = 1;config_version = 7;");
  EXPECT_TRUE(said(output, "ind_data_len = 288")) << output;
}

// Four threads, a modem that loses, delays, doubles and refuses at random: every request ends, and
// when the modem behaves again every kind works.
TEST_F(Pdc, AThousandRequestsOnABadDayAllEnd) {
  static constexpr int kRequests = 1000;
  std::mt19937 random(20);
  std::string faults = many(4);
  for (int i = 0; i < 120; ++i) {
    static const char* const kActions[] = {"drop\"", "duplicate\"", "delay\"\nms = 6000",
                                           "delay\"\nms = 5000", "qmi-error\"\nerror = 3"};
    static const int kMessages[] = {PDC_GET_SELECTED_CONFIG, PDC_SET_SELECTED_CONFIG,
                                    PDC_ACTIVATE_CONFIG, PDC_DEACTIVATE_CONFIG, PDC_LIST_CONFIGS};
    const std::string action = i % 10 == 0 ? "after-indication\"" : kActions[random() % 5];
    faults +=
        fault(i % 10 == 0 ? "response" : "indication", kMessages[i % 5],
              ("nth = " + std::to_string(1 + random() % 190) + "\naction = \"" + action).c_str());
  }
  connect(faults, 1);
  kelvor_hal_set_shell_print_mask(0);
  clock_.run_by_itself();
  static const std::function<int(uint32_t sub)> kKinds[] = {
      [](uint32_t sub) {
        pdc_config_pdc_info id = id_of({0xAA, 0x00});
        return pdc_select_config(&id, kSoftware, sub);
      },
      [](uint32_t sub) { return pdc_activate_config(kSoftware, sub); },
      [](uint32_t sub) {
        pdc_config_pdc_info id{};
        return pdc_get_current_config(&id, kSoftware, sub);
      },
      [](uint32_t sub) { return pdc_deactivate_config(sub, kSoftware); },
      [](uint32_t) {
        pdc_config_info* list[8];
        unsigned int count = 8;
        const int result = pdc_list_configs(kSoftware, list, &count);
        for (unsigned int i = 0; result == 0 && i < count; ++i) qcril_free(list[i]);
        return result;
      },
  };
  std::atomic<int> left{kRequests};
  std::atomic<int> results[5] = {};  // by -result
  const auto work = [&](uint32_t seed) {
    std::mt19937 choice(seed);
    while (left-- > 0) ++results[-kKinds[choice() % 5](choice() % 2)];
  };
  {
    std::vector<std::jthread> threads;
    for (uint32_t i = 0; i < 4; ++i) threads.emplace_back(work, i);
  }
  EXPECT_EQ(results[0] + results[1] + results[2], kRequests);
  EXPECT_GT(results[0], 50);
  EXPECT_GT(results[1], 10);
  EXPECT_TRUE(nothing_leaked());
  EXPECT_EQ(kelvor_mbn_init(1), 0);
  // What is left of the faults runs out.
  const auto every_kind_works = [] {
    return std::ranges::all_of(kKinds, [](const auto& kind) { return kind(0) == 0; });
  };
  int tries = 0;
  while (!every_kind_works() && tries < 300) ++tries;
  EXPECT_LT(tries, 300);
}

}  // namespace
