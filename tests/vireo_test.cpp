// The statistics framework: client manager, data store, getters and command 9, against the
// simulated modem.

#include <errno.h>
#include <malloc.h>

#include <cmath>
#include <mutex>
#include <sstream>
#include <thread>

#include "platform/kelvor_utils.h"
#include "platform/properties.h"
#include "qcci/services/services.h"
#include "support/desk.h"
#include "vex/commands.h"
#include "vireo/modem_api/modem_api.h"
#include "vireo/modem_api/modem_vireo_getters.h"
#include "vireo/modem_api/modem_vireo_mgr.h"
#include "vireo/modem_api/vs/vs_client.h"
#include "vireo/vireo_common/vireo_mem.h"

namespace {

using desk::output_of;
using desk::said;
using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

void call_process(const char* name) { program_invocation_short_name = const_cast<char*>(name); }

std::string strip(const std::string& text) {
  std::string all;
  for (const char c : text) all += c == ' ' ? "" : std::string(1, c);
  return all;
}
// A key of [measurements.subN.raw].
std::string raw(uint32_t id, const std::string& octets) {
  return "\"" + std::to_string(id) + "\" = \"" + strip(octets) + "\"\n";
}

struct Vireo : desk::Desk {
  void SetUp() override { call_process("vex"); }
  // "service id TLVs" of the requests so far.
  Lines sent(size_t from = 0) {
    Lines lines;
    for (const desk::Message& request : passed(sim::FaultKind::kRequest)) {
      if (from > 0 && from-- > 0) continue;
      char id[8];
      std::snprintf(id, sizeof id, " %04X ", request.id());
      lines.push_back(request.service + id + request.tlvs());
    }
    return lines;
  }
};

// ---- the client manager

TEST_F(Vireo, OnlyThreeProcessesAreAdmitted) {
  start_modem();
  static const struct {
    const char* name;
    uint32_t result;
  } kRows[] = {{"vex", 0},       {"qcrilNrd", 0}, {"modem_api_test", 0}, {"Vex", 6}, {"ve", 6},
               {"vex-phone", 6}, {"", 6}};
  for (const auto& row : kRows) {
    call_process(row.name);
    int32_t id = -1;
    const std::string output = output_of([&] {
      EXPECT_EQ(modem_api_init(), row.result) << row.name;
      EXPECT_EQ(modem_api_init_client(7, nullptr, nullptr, &id), row.result == 0 ? 4 : 6);
    });
    const std::string who = ", p_id: " + std::to_string(::getpid()) + ", p_name: " + row.name;
    EXPECT_TRUE(said(output, (row.result == 0 ? "check pass" : "check fail") + who)) << output;
    EXPECT_EQ(said(output, "check fail, do nothing"), row.result != 0);
    EXPECT_EQ(id, -1);
  }
}

TEST(VireoErrors, EveryErrorHasItsResult) {
  static const struct {
    int transport;
    uint16_t result, error;
    uint32_t mapped;
  } kRows[] = {
      {1, 0, 0, 1},       {-6, 0, 0, 1}, {-5, 0, 0, 12}, {-1, 0, 0, 12}, {-3, 0, 0, 11},
      {-4, 0, 0, 1},      {0, 0, 52, 0}, {-2, 0, 0, 0},  {-2, 1, 4, 10}, {0, 2, 0, 1},
      {0, 0xFFFF, 26, 1}, {0, 1, 0, 0},  {0, 1, 26, 0},  {0, 1, 4, 10},  {0, 1, 17, 5},
      {0, 1, 19, 5},      {0, 1, 48, 5}, {0, 1, 49, 5},  {0, 1, 24, 4},  {0, 1, 42, 4},
      {0, 1, 77, 4},      {0, 1, 94, 4}, {0, 1, 52, 8},  {0, 1, 1, 1},   {0, 1, 3, 1},
      {0, 1, 25, 1},      {0, 1, 53, 1}, {0, 1, 93, 1},  {0, 1, 95, 1},  {0, 1, 0xFFFF, 1},
  };
  for (const auto& row : kRows) {
    const qmi_standard_result resp{row.result, row.error};
    EXPECT_EQ(modem_api_map_qmi_error_to_modem_api(row.transport, &resp), row.mapped)
        << row.transport << " " << row.result << " " << row.error;
  }
}

Lines g_statuses;
void on_status(uint32_t event, uint32_t type) {
  g_statuses.push_back(std::to_string(event) + " " + std::to_string(type));
}

TEST_F(Vireo, OneClientOfATypeInTheLowestFreeSlot) {
  start_modem();
  ASSERT_EQ(modem_api_init(), 0u);
  static const char* const kNames[] = {"vs", "sar", "nas", "nas"};
  int32_t ids[] = {-1, -1, -1, -1};
  for (const uint32_t type : {2u, 0u, 3u, 1u}) {
    EXPECT_EQ(modem_api_init_client(type, nullptr, on_status, &ids[type]), 0u);
    int32_t second = -7;
    const std::string output = output_of(
        [&] { EXPECT_EQ(modem_api_init_client(type, nullptr, on_status, &second), 15u) << type; });
    EXPECT_TRUE(said(output, std::string("Already another client init ") + kNames[type] +
                                 " client successfully"));
    EXPECT_TRUE(said(output, "function exit, ret(15) <-------------"));
    EXPECT_EQ(second, -7);
  }
  EXPECT_EQ(desk::hex(std::vector<uint8_t>(ids, ids + 4)), "01 03 00 02");
  EXPECT_EQ(g_statuses, (Lines{"65538 2", "65538 0", "65538 3", "65538 1"}));
  // A subscription is bound to, and registered for twice: in connecting and by the manager.
  EXPECT_EQ(sent(),
            (Lines{"nas 0045 01 01 00 00", "nas 0003 13 01 00 00", "nas 0003 13 01 00 00",
                   "nas 0045 01 01 00 01", "nas 0003 13 01 00 00", "nas 0003 13 01 00 00"}));

  const struct {
    const char* rule;
    std::function<uint32_t()> call;
    uint32_t result;
    const char* message;
  } rows[] = {
      {"no such type", [&] { return modem_api_init_client(4, nullptr, nullptr, ids); }, 4,
       "modem api client type 4 not supported"},
      {"a negative id", [] { return modem_api_free_client(-1); }, 7, "invalid client_id -1"},
      {"an id behind the table", [] { return modem_api_free_client(10); }, 7,
       "invalid client_id 10"},
      {"an id of nobody", [] { return modem_api_free_client(9); }, 0, "client already freed"},
      {"the other subscription",
       [&] { return modem_api_util_enable_networking_indications(ids[2], 1); }, 7,
       "Unexpected condition, return error 7!"},
      {"the feature of another service",
       [&] { return modem_api_set_vireo_feature_status(ids[1], 2, 1, 1, 1); }, 7,
       "Unexpected condition, return error 7!"},
      {"free", [&] { return modem_api_free_client(ids[0]); }, 0, "client_id 1"},
      {"free twice", [&] { return modem_api_free_client(ids[0]); }, 0, "client already freed"},
      {"and again in the same slot, after another init",
       [&] { return modem_api_init() + modem_api_init_client(0, nullptr, nullptr, ids); }, 0,
       "new client: type 0, id 1"},
  };
  for (const auto& row : rows) {
    const std::string output = output_of([&] { EXPECT_EQ(row.call(), row.result) << row.rule; });
    EXPECT_TRUE(said(output, row.message)) << row.rule << "\n" << output;
  }
  EXPECT_EQ(requests(), 6u) << "nothing was sent for a mistake";
}

struct Connecting : Vireo, testing::WithParamInterface<std::pair<uint32_t, const char*>> {};
TEST_P(Connecting, AClientThatIsStillConnectingIsInTheWay) {
  start_modem().take_down(GetParam().first == 0   ? qcci::idl::kVsService.id
                          : GetParam().first == 1 ? qcci::idl::kSarService.id
                                                  : qcci::idl::kNasService.id);
  ASSERT_EQ(modem_api_init(), 0u);
  int32_t id = -1;
  std::thread first(
      [&] { EXPECT_EQ(modem_api_init_client(GetParam().first, nullptr, nullptr, &id), 1u); });
  clock_.await_waiter(4ms);
  const std::string output = output_of(
      [&] { EXPECT_EQ(modem_api_init_client(GetParam().first, nullptr, nullptr, &id), 9u); });
  EXPECT_TRUE(said(output, std::string("Another client init ") + GetParam().second)) << output;
  clock_.run_by_itself();
  first.join();
  EXPECT_EQ(id, -1);
  const std::string freed = output_of([] { modem_api_free_client(0); });
  EXPECT_TRUE(said(freed, "client already freed")) << "a failed client leaves no slot taken";
}
INSTANTIATE_TEST_SUITE_P(Types, Connecting,
                         testing::Values(std::pair{0u, "vs client with operational status 0"},
                                         std::pair{1u, "sar client with operational status 1"},
                                         std::pair{2u, "nas 0 client with operational status 1"},
                                         std::pair{3u, "nas 0 client with operational status 1"}));

TEST_F(Vireo, ParametersAreCheckedAndSentInTheirPlaces) {
  start_modem();
  modem_api_init();
  int32_t vs = -1;
  int32_t sar = -1;
  ASSERT_EQ(modem_api_init_client(1, nullptr, nullptr, &sar), 0u);
  ASSERT_EQ(modem_api_init_client(0, nullptr, nullptr, &vs), 0u);
  static vs_parameter entries[VS_PARAMETERS_MAX];
  const struct {
    int32_t client;
    uint32_t count;
    vs_parameter* entries;
    uint32_t result;
    const char* message;
  } rows[] = {
      {sar, 1, entries, 7, "Unexpected condition, return error 7!"},
      {-1, 1, entries, 7, "Unexpected condition, return error 7!"},
      {10, 1, entries, 7, "Unexpected condition, return error 7!"},
      {sar, 0, nullptr, 7, "Unexpected condition, return error 7!"},
      {vs, 0, nullptr, 5, "stats_para_data is null"},
      {vs, 0, entries, 5, "para_num(0) is invalid"},
      {vs, 11, entries, 5, "para_num(11) is invalid"},
      {vs, 0xFFFFFFFF, entries, 5, "para_num(-1) is invalid"},
  };
  for (const auto& row : rows) {
    uint32_t count = row.count;
    const std::string output = output_of([&] {
      EXPECT_EQ(modem_api_get_stats_parameter(row.client, 1, 9, &count, row.entries), row.result);
    });
    EXPECT_TRUE(said(output, row.message)) << row.message;
    EXPECT_TRUE(said(output, "client_id = " + std::to_string(row.client) + ", sub = 1, slot = 9"));
    EXPECT_EQ(count, row.count);
  }
  EXPECT_EQ(requests(), 0u);

  entries[0] = {1, 0x123, 3, {0xA1, 0xB2, 0xC3}};
  entries[1] = {0, 0x2C, 0, {}};
  uint32_t count = 2;
  const std::string output = output_of(
      [&] { EXPECT_EQ(modem_api_get_stats_parameter(vs, 1, 0x1234, &count, entries), 0u); });
  EXPECT_TRUE(said(output, "ids[0] = 291, value_len = 3, type = 1, value: A1B2C30000000000"));
  EXPECT_EQ(count, 1u) << "what the modem does not have is left out";
  EXPECT_EQ(entries[0].id, 0x2Cu);
  EXPECT_EQ(desk::hex({entries[0].data, entries[0].data_len}), "01 0C 00 00 00");
  EXPECT_EQ(sent(), Lines{"vs 0207 01 02 00 01 00 02 02 00 34 12 03 18 00 02 01 00 00 00 23 01 00 "
                          "00 03 00 A1 B2 C3 00 00 00 00 2C 00 00 00 00 00"});
  count = 1;
  entries[0].sub = 2;
  EXPECT_EQ(modem_api_get_stats_parameter(vs, 2, 1, &count, entries), 5u) << "QMI error 48";
}

Lines g_answers;
void on_response(void* data, uint32_t length, void* user_data, uint32_t result) {
  g_answers.push_back(
      (data == nullptr ? "null" : desk::hex({static_cast<uint8_t*>(data), length})) + "/" +
      std::to_string(length) + " " + std::to_string(result));
  EXPECT_EQ(user_data, &g_answers);
  vireo_free_adv(data, "test", 0);
}

TEST_F(Vireo, ResponsesEndInTheirCallbackAndAreFreed) {
  ASSERT_EQ(property_set("persist.vireo.mem_trace", "true"), 0);
  enum Given { kFull, kNoCallback, kNone };
  constexpr const char* kGood = "00 00 00 00 00 00 00 00 03 00 00 00 A1 B2 C3";
  static const struct {
    const char* rule;
    uint32_t message;
    const char* response;
    Given record;
    int transport;
    Lines answers;
  } kRows[] = {
      {"no record", 0, kGood, kNone, 0, {}},
      {"no callback", 0, kGood, kNoCallback, 0, {}},
      {"no response", 0, nullptr, kFull, 0, {"null/0 3"}},
      {"no response goes before the error", 5, nullptr, kFull, -3, {"null/0 3"}},
      {"a response of nothing", 0, "", kFull, 0, {"null/0 3"}},
      {"a transport error", 0, kGood, kFull, -3, {"null/0 11"}},
      {"a refusal", 0, "01 00 00 00 34 00 00 00", kFull, 0, {"null/0 8"}},
      {"message 0", 0, kGood, kFull, 0, {"A1 B2 C3/3 0", "null/0 2"}},
      {"another message", 5, kGood, kFull, 0, {"null/0 2"}},
      {"no effect", 5, "01 00 00 00 1A 00 00 00", kFull, 0, {"null/0 2"}},
      {"a length beyond what came",
       0,
       "00 00 00 00 00 00 00 00 FF FF FF FF A1",
       kFull,
       0,
       {"A1/1 0", "null/0 2"}},
      {"less than there is",
       0,
       "00 00 00 00 00 00 00 00 01 00 00 00 A1 B2",
       kFull,
       0,
       {"A1/1 0", "null/0 2"}},
      {"no length", 0, "00 00 00 00 00 00 00 00", kFull, 0, {"/0 0", "null/0 2"}},
      {"half a length", 0, "00 00 00 00 00 00 00 00 05 00", kFull, 0, {"/0 0", "null/0 2"}},
  };
  for (const auto& row : kRows) {
    void* response = nullptr;
    std::vector<uint8_t> octets;
    if (row.response != nullptr) {
      octets = desk::unhex(row.response);
      response = vireo_malloc_adv(octets.size(), "test", 0);
      if (!octets.empty()) std::memcpy(response, octets.data(), octets.size());
    }
    modem_api_callback_record* record = nullptr;
    if (row.record != kNone) {
      record = static_cast<modem_api_callback_record*>(vireo_malloc_adv(sizeof *record, "test", 0));
      *record = {row.record == kFull ? on_response : nullptr, &g_answers};
    }
    g_answers.clear();
    modem_api_process_response(row.message, response, static_cast<uint32_t>(octets.size()), record,
                               row.transport);
    EXPECT_EQ(g_answers, row.answers) << row.rule;
    EXPECT_EQ(vireo_mem_traced(), 0u) << row.rule;
  }
}

struct MemTrace : Vireo, testing::WithParamInterface<std::pair<const char*, uint32_t>> {};
TEST_P(MemTrace, TheFirstAllocationDecides) {
  const auto [value, traced] = GetParam();
  if (value != nullptr) {
    ASSERT_EQ(property_set("persist.vireo.mem_trace", value), 0);
  }
  void* blocks[4];
  const std::string output = output_of([&] { blocks[0] = vireo_malloc_adv(8, "first", 1); });
  EXPECT_EQ(said(output, "VIREO_MEM_TRACE_PROP not exist"), value == nullptr);
  ASSERT_EQ(property_set("persist.vireo.mem_trace", traced != 0 ? "false" : "true"), 0);
  for (int i = 1; i < 4; ++i) blocks[i] = vireo_malloc_adv(8, "more", 1);
  EXPECT_EQ(vireo_mem_traced(), 4 * traced);
  vireo_free_adv(nullptr, "none", 1);
  vireo_free_adv(std::malloc(8), "unknown", 1);
  EXPECT_EQ(vireo_mem_traced(), 4 * traced);
  uint32_t left = 4;
  for (const int i : {1, 3, 0}) {  // middle, tail, head
    EXPECT_EQ(*static_cast<uint64_t*>(blocks[i]), 0u);
    vireo_free_adv(blocks[i], "more", 1);
    EXPECT_EQ(vireo_mem_traced(), --left * traced);
  }
  blocks[0] = vireo_malloc_adv(8, "behind the last", 1);
  vireo_free_adv(blocks[2], "more", 1);
  vireo_free_adv(blocks[0], "more", 1);
  EXPECT_EQ(vireo_mem_traced(), 0u);
}
INSTANTIATE_TEST_SUITE_P(Values, MemTrace,
                         testing::Values(std::pair{"true", 1u}, std::pair{"TRUE", 0u},
                                         std::pair{"true ", 0u}, std::pair{"1", 0u},
                                         std::pair<const char*, uint32_t>{nullptr, 0u}));

// ---- the store

TEST_F(Vireo, AnAnswerIsCheckedBeforeItIsTheStores) {
  // Of the nth response: count at 17, sub at 18, id at 22, length at 26, data at 28.
  const auto change = [](int nth, int at, const char* octets) {
    return "[[fault]]\nservice = \"vs\"\nmessage = 0x0207\naction = \"change\"\nnth = " +
           std::to_string(nth) + "\nat = " + std::to_string(at) + "\noctets = [" + octets + "]\n";
  };
  start_modem("[measurements.sub0.raw]\n" + raw(200, "") + raw(201, std::string(1400, '7')) +
              raw(202, std::string(20, '0')) + change(1, 22, "203") + change(2, 18, "1") +
              change(3, 17, "2") + change(3, 26, "0, 0") + change(6, 26, "189, 2"));
  static const struct {
    uint32_t sub, id, result;
    const char* message;
  } kRows[] = {
      {0, 202, 1,
       "Fail to get data, ret_id(203) is invalid, number = 1, sub = 0, ret id_num = 1, "
       "id = 202"},
      {0, 202, 1,
       "Fail to get data, ret_sub(1) is invalid, number = 2, sub = 0, ret id_num = 1, "
       "id = 202"},
      {0, 202, 1, "Fail to get data, id num error, number = 3, sub = 0, ret id_num = 2, id = 202"},
      {0, 200, 1,
       "Fail to get data, data_len(0) is invalid, should be in (0, 700], number = 4, "
       "sub = 0, ret id_num = 1, id = 200"},
      {1, 200, 1, "Fail to get data, empty, number = 5, sub = 1, ret id_num = 0, id = 200"},
      {0, 201, 1, "Fail to get data fail, number = 6, ret = 12, sub = 0, id = 201"},  // 701 octets
      {2, 201, 1, "modem_api_get_stats_parameter, sub(2) is invalid"},  // and is not sent
      {0, 201, 0,
       "Success to get data, number = 7, sub = 0, ret id_num = 1, id = 201, "
       "data_len = 700"},
  };
  ASSERT_EQ(modem_vireo_api_init(), 1);
  EXPECT_EQ(modem_vireo_stats_start(), 1);
  for (const auto& row : kRows) {
    g_vireo_data.length = 5;
    g_vireo_data.data[699] = 0xEE;
    const std::string output =
        output_of([&] { EXPECT_EQ(modem_vireo_data_get(row.sub, row.id), row.result); });
    EXPECT_TRUE(said(output, row.message)) << row.message << "\n" << output;
    EXPECT_EQ(g_vireo_data.length, row.result == 0 ? 700 : 0);
    EXPECT_EQ(g_vireo_data.data[699], row.result == 0 ? 0x77 : 0);
  }
  const Lines lines = sent();
  ASSERT_EQ(lines.size(), 8u);
  EXPECT_EQ(lines[0], "vs 0003 01 04 00 02 00 00 00 02 01 00 01 03 01 00 01 04 01 00 01");
  static const char* const kIds[] = {"CA", "CA", "CA", "C8", "C8", "C9", "C9"};
  for (int n = 1; n <= 7; ++n) {
    const std::string sub = n == 5 ? "01" : "00";
    EXPECT_EQ(lines[n], "vs 0207 01 02 00 " + sub + " 00 02 02 00 0" + std::to_string(n) +
                            " 00 03 0B 00 01 " + sub + " 00 00 00 " + kIds[n - 1] +
                            " 00 00 00 00 00");
  }
  EXPECT_EQ(modem_vireo_api_deinit(), 0);
}

TEST_F(Vireo, WithoutAClientOnlyAFetchGetsOne) {
  start_modem();
  call_process("other");
  const struct {
    const char* rule;
    std::function<int()> call;
    int result;
    const char* message;
  } rows[] = {
      {"not permitted", [] { return modem_vireo_data_get(0, 0x2C); }, 1,
       "The vireo init failed, will do nothing"},
      {"start", [] { return modem_vireo_stats_start(); }, 0, "The vireo is not inited, do nothing"},
      {"feature", [] { return modem_vireo_set_feature_status(1, 1, 1); }, 0,
       "The vireo is not inited, do nothing"},
      {"parameter", [] { return modem_vireo_get_stats_parameter(0, 1, nullptr); }, 0,
       "The vireo is not inited, do nothing"},
      {"deinit", [] { return modem_vireo_api_deinit(); }, 0, nullptr},
      {"on demand",
       [] {
         call_process("vex");
         return modem_vireo_data_get(0, 0x2C);
       },
       0, "The vireo is not inited, will init it"},
      {"again", [] { return modem_vireo_api_init(); }, 1, "old g_vireo_client_id = 0"},
      {"deinit of a client", [] { return modem_vireo_api_deinit(); }, 0, "client_id 0"},
  };
  for (const auto& row : rows) {
    const std::string output = output_of([&] { EXPECT_EQ(row.call(), row.result) << row.rule; });
    EXPECT_TRUE(row.message == nullptr || said(output, row.message)) << row.rule << "\n" << output;
  }
  EXPECT_EQ(requests(), 1u);
  EXPECT_FALSE(modem_vireo_api_is_inited());
}

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

constexpr const char* kLte =
    "B6 03 01 00 F7 01 01 80 00 00 80 BF 00 00 00 41 00 00 00 C3 00 00 7A 44 00 00 20 C0 00 00 80 "
    "41 00 00 00 3F 00 00 40 40 00 00 00 00 00 00 00 42 00 00 80 3E 00 00 A0 40 00 00 80 40 00 00 "
    "80 42 00 00 80 FF 00 00 E0 40";
constexpr const char* kNr = "00 00 80 BF 00 00 00 40 00 00 80 C0 00 00 00 41 00 00 00 3F";
constexpr const char* kFour = "09 00 00 00 00 00 80 3F 00 00 00 40 00 00 80 40 00 00 00 41";
constexpr const char* kTwo = "09 00 00 00 00 00 80 3F 00 00 00 40";
constexpr const char* kTwelve =
    "01 00 00 00 02 00 00 00 03 00 00 00 04 00 00 00 05 00 00 00 06 00 00 00 07 00 00 00 F8 FF FF "
    "FF 09 00 00 00 0A 00 00 00 0B 00 00 00 0C 00 00 00";

std::string sys_mode(uint32_t sub) {
  const int32_t technology = modem_sys_mode_get(sub);
  return technology < 0 ? "failed" : std::to_string(technology);
}

TEST_F(Vireo, EveryGetterReadsItsRecordToTheLastOctet) {
  static const struct {
    uint32_t id;
    std::string (*get)(uint32_t sub);
    std::string version;    // what stands before the structure's octets
    std::string octets;     // of the record
    const char* structure;  // null: as the record
    int left;               // of a record that lacks one octet
    const char* missing;
  } kRows[] = {
      {0x52, GOT_FOR(lte_srv_meas_info, pcc), "01 ", kLte, nullptr, 3, "snr_rx3"},
      {0x67, GOT_FOR(lte_srv_meas_info, scc1), "01 ", kLte, nullptr, 3, "snr_rx3"},
      {0x68, GOT_FOR(lte_srv_meas_info, scc2), "01 ", kLte, nullptr, 3, "snr_rx3"},
      {0x69, GOT_FOR(lte_srv_meas_info, scc3), "01 ", kLte, nullptr, 3, "snr_rx3"},
      {0x6A, GOT_FOR(lte_srv_meas_info, scc4), "01 ", kLte, nullptr, 3, "snr_rx3"},
      {0x6B, GOT_FOR(lte_srv_meas_info, scc5), "01 ", kLte, nullptr, 3, "snr_rx3"},
      {0x6C, GOT_FOR(lte_srv_meas_info, scc6), "01 ", kLte, nullptr, 3, "snr_rx3"},
      {0x87, GOT_FOR(nr5g_srv_meas_info, pcc), "01 ", kNr, nullptr, 3, "rsrq"},
      {0x06, GOT_FOR(nr5g_srv_meas_info, scc1), "01 ", kNr, nullptr, 3, "rsrq"},
      {0x07, GOT_FOR(nr5g_srv_meas_info, scc2), "01 ", kNr, nullptr, 3, "rsrq"},
      {0x5A, GOT(nr5g_mac_ul_phy_ch_power_info), "01 ", "09 00 00 00 00 00 4E 41", nullptr, 3,
       "tx_power"},
      {0x5E, GOT(nr5g_ll1_fw_rx_control_agc), "01 ", kFour, nullptr, 3, "rssi_rx3"},
      {0x62, GOT(lte_pusch_power_info), "", "01 FE FF C8 17 00 00 80",
       "01 00 FE FF C8 00 17 00 00 80", 1, "pusch_ex_tx_power"},
      {0x64, GOT(mcs_trm_asdiv), "", "01 02 03 04 05 06", nullptr, 0, "new_config"},
      {0x6E, GOT(wcdma_pn_search_edition2), "01 ", kTwo, nullptr, 3, "rx_agc_1"},
      {0x6F, GOT(gsm_l1_rx_diversity_metrics), "01 ", kTwo, nullptr, 3, "rx_drx"},
      {0x70, GOT(nr5g_ll1_fw_serving_ftl), "01 ", kFour, nullptr, 3, "snr_rx3"},
      {0x71, GOT(nr5g_ml1_antenna_switch_diversity), "01 ", kTwelve, nullptr, 3, "ant_tx_1_new"},
      {0x2C, sys_mode, "", "02 05 01 00 00", "261", 3, "rat"},
  };
  std::string full = "[measurements.sub0.raw]\n";
  std::string cut = "[measurements.sub1.raw]\n";
  for (const auto& row : kRows) {
    const std::string record = row.version + row.octets;
    full += raw(row.id, record + " EE");  // what follows is not read
    cut += raw(row.id, record.substr(0, record.size() - 3));
  }
  start_modem(full + cut);
  for (const auto& row : kRows) {
    EXPECT_EQ(row.get(0), row.structure != nullptr ? row.structure : row.octets) << row.id;
    EXPECT_EQ(g_vireo_data.length, 1) << row.id;
    char missing[96];
    std::snprintf(missing, sizeof missing, "g_vireo_data_left(%d) is not enough for %s, id(0x%x)",
                  row.left, row.missing, row.id);
    const std::string output = output_of([&] { EXPECT_EQ(row.get(1), "failed") << row.id; });
    EXPECT_TRUE(said(output, missing)) << output;
    EXPECT_EQ(said(output, "ptr_vireo_data is NULL"), row.id != 0x2C);
  }
}

struct PowerRow {
  const char* name;
  std::string sub[2];
  const char* default_sub;  // the property
  int32_t power[2];
  int32_t dds, max;
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
  start_modem("[measurements.sub0.raw]\n" + row.sub[0] + "[measurements.sub1.raw]\n" + row.sub[1]);
  if (row.default_sub != nullptr) {
    property_set("persist.vendor.radio.default_data_sub", row.default_sub);
  }
  const std::string output = output_of([&] {
    EXPECT_EQ(modem_tx_power_get_by_sub(0), row.power[0]);
    EXPECT_EQ(modem_tx_power_get_by_sub(1), row.power[1]);
    EXPECT_EQ(modem_tx_power_get_for_dds_sub(), row.dds);
    EXPECT_EQ(modem_tx_power_get_for_max_sub(), row.max);
  });
  EXPECT_TRUE(said(output, row.message)) << row.message << "\n" << output;
}
INSTANTIATE_TEST_SUITE_P(
    Rules, Power,
    testing::Values(
        PowerRow{"ATie",
                 {nr(23), lte(23)},
                 "1",
                 {23, 23},
                 23,
                 23,
                 "function exit, tx_power0 = 23, tx_power1 = 23, tx_power = 23 <-------------"},
        PowerRow{"TowardZero",
                 {nr(12.9F), nr(-3.7F)},
                 "1",
                 {12, -3},
                 -3,
                 12,
                 "function exit, dds_sub = 1, tx_power = -3 <-------------"},
        PowerRow{"TheSecondIsStronger",
                 {lte(-20), lte(-5)},
                 "0",
                 {-20, -5},
                 -20,
                 -5,
                 "sub = 1, rat = 9"},
        PowerRow{"MissingNeverWins",
                 {rat(5), lte(-5)},
                 nullptr,
                 {kNone, -5},
                 kNone,
                 -5,
                 "rat(5) is invalid"},
        PowerRow{"MissingSecond",
                 {lte(-32768), raw(0x2C, "00")},
                 "1",
                 {-32768, kNone},
                 kNone,
                 -32768,
                 "rat(-1) is invalid"},
        PowerRow{"NoRecords",
                 {rat(12) + raw(0x5A, ""), rat(9) + raw(0x62, "01")},
                 "7",
                 {kNone, kNone},
                 kNone,
                 kNone,
                 "modem_vireo_lte_pusch_power_info_get faile"},
        PowerRow{"NotANumber",
                 {nr(NAN), nr(1e30F)},
                 "1",
                 {kNone, kNone},
                 kNone,
                 kNone,
                 "function exit, tx_power = 65535 <-------------"},
        PowerRow{"Endless",
                 {nr(-INFINITY), nr(INFINITY)},
                 "0",
                 {kNone, kNone},
                 kNone,
                 kNone,
                 "sub = 0, rat = 12"},
        PowerRow{"NoNrRecord",
                 {rat(12) + raw(0x5A, "0100000000"), nr(-0.9F)},
                 "1",
                 {kNone, 0},
                 0,
                 0,
                 "modem_vireo_nr5g_mac_ul_phy_ch_power_info_get faile"}),
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

// ---- command 9

std::string command(std::string line) {
  std::vector<std::string> words;
  std::istringstream in(line);
  while (in >> line) words.push_back(line);
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  return output_of(
      [&] { kelvor_test_qmi_modem_stats_do(static_cast<int>(argv.size()), argv.data()); });
}

TEST_F(Vireo, CommandsPrintOneLine) {
  std::string carriers;
  for (const char n : {'1', '2', '3', '4', '5', '6'}) {
    carriers += std::string("[measurements.sub1.lte_scc") + n + "]\nearfcn = 100" + n +
                "\npci = 50" + n + "\nsnr = [0, 0, 0, -" + n + ".125]\n";
  }
  start_modem(carriers +
              "[measurements.sub0.nr_scc1]\nrsrp = [-1, -2, -3, -4]\nrsrq = 5.126\n"
              "[measurements.sub0.nr_scc2]\nrsrp = [-6, -7, -8, -9]\nrsrq = -10\n");
  const auto scc = [](const std::string& n) {
    std::string line = "ASDIV DATA: earfcn: 100" + n + ", pci: 50" + n + ", rx_valid: 0";
    for (const char* rx : {"0", "1", "2", "3"}) {
      for (const char* what : {"rsrp_rx", "rsrq_rx", "rssi_rx", "snr_rx"}) {
        line += std::string(", ") + what + rx + ": 0.00";
      }
    }
    return line.substr(0, line.size() - 4) + "-" + n + ".12";
  };
  const auto missing = [](int sub, int id, const std::string& what) {
    return Lines{"Fail to get data, empty, number = N, sub = " + std::to_string(sub) +
                     ", ret id_num = 0, id = " + std::to_string(id),
                 "modem_vireo_data_get failed", what};
  };
  const std::string kAnt =
      "ANT INFO: ant_num: 4, ant_path: 1, sig_path: 2, old_config: 0, new_config: 1";
  const struct {
    const char* words;
    Lines lines;
  } rows[] = {
      {"0 0",
       {"ASDIV DATA: earfcn: 1300, pci: 101, rx_valid: 15, rsrp_rx0: -91.50, rsrq_rx0: -10.00, "
        "rssi_rx0: -62.50, snr_rx0: 18.50, rsrp_rx1: -93.00, rsrq_rx1: -10.50, rssi_rx1: -64.00, "
        "snr_rx1: 17.00, rsrp_rx2: -96.25, rsrq_rx2: -11.00, rssi_rx2: -67.00, snr_rx2: 14.50, "
        "rsrp_rx3: -97.00, rsrq_rx3: -11.50, rssi_rx3: -68.00, snr_rx3: 14.00"}},
      {"1 0", missing(0, 0x67, "get vireo data failed")},
      {"1 1", {scc("1")}},
      {"2 1", {scc("2")}},
      {"3 1", {scc("3")}},
      {"4 1", {scc("4")}},
      {"5 1", {scc("5")}},
      {"6 1", {scc("6")}},
      {"7 0",
       {"ASDIV DATA: rssi_rx0: -55.00, rssi_rx1: -56.50, rssi_rx2: -59.00, rssi_rx3: -60.00"}},
      {"7 1", missing(1, 0x5E, "modem_vireo_nr5g_ll1_fw_rx_control_agc_get failed")},
      {"8 0", {"ASDIV DATA: snr_rx0: 24.50, snr_rx1: 23.00, snr_rx2: 20.50, snr_rx3: 19.00"}},
      {"8 1", missing(1, 0x70, "modem_vireo_nr5g_ll1_fw_serving_ftl_get failed")},
      {"9 0",
       {"ASDIV DATA: ant_rx_0_old = 0, ant_rx_0_new = 0, ant_rx_1_old = 1, ant_rx_1_new = 1, "
        "ant_rx_2_old = 2, ant_rx_2_new = 2, ant_rx_3_old = 3, ant_rx_3_new = 3, ant_tx_0_old = 0, "
        "ant_tx_0_new = 1, ant_tx_1_old = 1, ant_tx_1_new = 0"}},
      {"9 1", missing(1, 0x71, "modem_vireo_nr5g_ml1_antenna_switch_diversity_get failed")},
      {"10 0",
       {"ASDIV DATA: rsrp_rx0: -84.00, rsrp_rx1: -85.50, rsrp_rx2: -88.00, rsrp_rx3: -89.50, rsrq: "
        "-10.50"}},
      {"10 1", missing(1, 0x87, "get vireo data failed")},
      {"11 0",
       {"ASDIV DATA: rsrp_rx0: -1.00, rsrp_rx1: -2.00, rsrp_rx2: -3.00, rsrp_rx3: -4.00, rsrq: "
        "5.13"}},
      {"12 0",
       {"ASDIV DATA: rsrp_rx0: -6.00, rsrp_rx1: -7.00, rsrp_rx2: -8.00, rsrp_rx3: -9.00, rsrq: "
        "-10.00"}},
      {"20 1", {"ASDIV DATA: rx_agc_0: -92.00, rx_agc_1: -94.50"}},
      {"21 0", {"ASDIV DATA: rx_prx: -75.00, rx_drx: -77.50"}},
      {"21 2",
       {"modem_api_get_stats_parameter, sub(2) is invalid", "modem_vireo_data_get failed",
        "modem_vireo_gsm_l1_rx_diversity_metrics_get failed"}},
      {"30 1", {kAnt}},
      {"30 9", {kAnt}},
      {"31 0", {"TX INFO: tx_power = 12"}},
      {"31 1", {"TX INFO: tx_power = 23"}},
      {"31 2", {"TX INFO: tx_power = 12"}},
      {"31 5", {"TX INFO: tx_power = 23"}},
      {"31 -1", {"TX INFO: tx_power = 23"}},
      {"13 0", {"kelvor_test_qmi_modem_stats_hdl: Unknown opt(13), sub(0)"}},
      {"-1 0", {"kelvor_test_qmi_modem_stats_hdl: Unknown opt(-1), sub(0)"}},
  };
  for (const auto& row : rows) {
    Lines lines = desk::trace_messages(command(std::string("vex 9 ") + row.words));
    for (std::string& line : lines) {
      const size_t number = line.find("number = ");
      if (number != std::string::npos)
        line.replace(number + 9, line.find(',', number) - number - 9, "N");
    }
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(lines[0].starts_with("opt = ")) << lines[0];
    lines.erase(lines.begin());
    EXPECT_EQ(lines, row.lines) << row.words;
    EXPECT_FALSE(modem_vireo_api_is_inited());
  }
  const size_t before = requests();
  for (const char* words : {"vex", "vex 9", "vex 9 0"}) {
    EXPECT_TRUE(said(command(words), "note: Too few parameters, Pls refer to the following cmd:"));
  }
  const std::string output = command("vex 8 0 0");
  EXPECT_TRUE(
      said(output, "note: the first parameters should be 9, Pls refer to the following cmd:"));
  EXPECT_TRUE(said(output, "9: kelvor modem stats qmi test"));
  EXPECT_EQ(requests(), before);
}

// ---- indications

struct Events {
  std::mutex mutex;
  std::vector<std::pair<uint32_t, std::vector<uint8_t>>> got;
  size_t count() {
    const std::lock_guard lock(mutex);
    return got.size();
  }
} g_events;
void on_event(uint32_t event, const void* data, uint32_t length) {
  const auto* octets = static_cast<const uint8_t*>(data);
  const std::lock_guard lock(g_events.mutex);
  g_events.got.push_back({event, {octets, octets + length}});
}

TEST_F(Vireo, IndicationsBecomeEventsCutToTheirRoom) {
  sim::Modem& modem = start_modem();
  modem_api_init();
  int32_t id = -1;
  ASSERT_EQ(modem_api_init_client(0, on_event, nullptr, &id), 0u);
  ASSERT_EQ(modem_api_set_vireo_feature_status(id, 2, 1, 1, 1), 0u);
  const uint32_t vs = qcci::idl::kVsService.id;
  const vs_flags_ind flags{0x11223344, 0, 0x80};
  static vs_records_ind records;
  records.word = 3;
  records.records_len = 12;
  for (uint32_t i = 0; i < 12; ++i) {
    vs_ind_record& record = records.records[i];
    record.id = i;
    record.data_len = i == 9 ? 900 : i;
    std::memset(record.data, 0xA0 + static_cast<int>(i), record.data_len);
    record.x = record.y = static_cast<uint16_t>(i * 256);
  }
  records.blobs_len = 6;
  for (uint32_t i = 0; i < 6; ++i) records.blobs[i] = {i, 701, {1}, 2, 3};
  vs_values_ind values{9, 101, {}, 0x1234, 0x5678};
  std::memset(values.values, 0xFF, sizeof values.values);
  const vs_byte_ind byte{0xAB};
  modem.indicate_all(vs, VS_IND_FLAGS, &flags, sizeof flags);
  modem.indicate_all(vs, VS_IND_RECORDS, &records, sizeof records);
  records.last_valid = 1;
  records.last = 7;
  modem.indicate_all(vs, VS_IND_RECORDS, &records, sizeof records);
  modem.indicate_all(vs, VS_IND_VALUES, &values, sizeof values);
  modem.indicate_all(vs, VS_IND_BYTE, &byte, sizeof byte);
  while (g_events.count() < 5) std::this_thread::yield();
  const std::string output =
      output_of([] { vs_client_unsol_ind_cb(nullptr, 0x99, "", 0, nullptr); });
  EXPECT_TRUE(said(output, "decoded_payload_len(0) can not <= 0"));
  EXPECT_EQ(modem_api_free_client(id), 0u);
  ASSERT_EQ(g_events.got.size(), 5u);
  const uint32_t kIds[] = {2, 3, 3, 4, 5};
  const size_t kLengths[] = {8, 10696, 10696, 412, 1};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(g_events.got[i].first, kIds[i]);
    EXPECT_EQ(g_events.got[i].second.size(), kLengths[i]);
  }
  EXPECT_EQ(desk::hex(g_events.got[0].second), "44 33 22 11 00 01 00 00");
  const auto at = [](int event, size_t from, size_t n) {
    return desk::hex(std::span(g_events.got[event].second).subspan(from, n));
  };
  EXPECT_EQ(at(1, 0, 8), "03 00 00 00 0A 00 00 00");
  EXPECT_EQ(at(1, 8 + 712, 12), "01 00 00 00 01 00 00 00 A1 00 00 00");
  EXPECT_EQ(at(1, 8 + 712 * 9, 9), "09 00 00 00 BC 02 00 00 A9");
  EXPECT_EQ(at(1, 8 + 712 * 9 + 707, 5), "A9 00 09 00 09");
  EXPECT_EQ(at(1, 8 + 7120, 9), "05 00 00 00 00 00 00 00 BC");
  EXPECT_EQ(at(1, 12 + 7120 + 712 * 4, 9), "04 00 00 00 BC 02 00 00 01");
  EXPECT_EQ(at(1, 10688, 8), "02 00 03 00 FF FF FF FF");
  EXPECT_EQ(at(2, 10688, 8), "02 00 03 00 07 00 00 00");
  EXPECT_EQ(at(3, 0, 12), "09 00 00 00 64 00 00 00 FF 00 00 00");
  EXPECT_EQ(at(3, 404, 8), "FF 00 00 00 34 12 78 56");
  EXPECT_EQ(at(4, 0, 1), "AB");
}

}  // namespace
