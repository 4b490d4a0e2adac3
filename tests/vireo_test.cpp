// The statistics framework: client manager, data store and events, against the simulated modem.

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include <mutex>
#include <thread>

#include "platform/properties.h"
#include "qcci/services/services.h"
#include "support/process_link.h"
#include "support/scripted_link.h"
#include "support/vireo_desk.h"
#include "vex/commands.h"
#include "vireo/modem_api/modem_api.h"
#include "vireo/modem_api/modem_vireo_getters.h"
#include "vireo/modem_api/modem_vireo_mgr.h"
#include "vireo/modem_api/nas/nas_0_client.h"
#include "vireo/modem_api/vs/vs_client.h"
#include "vireo/vireo_common/vireo_mem.h"

namespace {

using desk::call_process;
using desk::Lines;
using desk::output_of;
using desk::raw;
using desk::said;
using desk::Vireo;
using namespace std::chrono_literals;

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
#ifdef __SANITIZE_ADDRESS__
  const __lsan::ScopedDisabler release_frees_no_records;
#endif
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

  desk::expect_sayings({
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
      {"a client that a release has taken",
       [&] { return modem_api_release() + modem_api_free_client(ids[3]); }, 0,
       "client already freed"},
      {"and one more release", [] { return modem_api_release(); }, 0,
       "function exit, ret = 0 <-------------"},
  });
  EXPECT_EQ(requests(), 6u) << "nothing was sent for a mistake";
}

struct Connecting : Vireo, testing::WithParamInterface<std::pair<uint32_t, std::string>> {};
TEST_P(Connecting, AClientThatIsStillConnectingIsInTheWay) {
  start_modem().take_down(GetParam().first == 0   ? qcci::idl::kVsService.id
                          : GetParam().first == 1 ? qcci::idl::kSarService.id
                                                  : qcci::idl::kNasService.id);
  ASSERT_EQ(modem_api_init(), 0u);
  int32_t id = -1;
  std::thread first(
      [&] { EXPECT_EQ(modem_api_init_client(GetParam().first, nullptr, nullptr, &id), 1u); });
  clock_.await_waiter(4ms);
  EXPECT_SAYS("Another client init " + GetParam().second,
              EXPECT_EQ(modem_api_init_client(GetParam().first, nullptr, nullptr, &id), 9u));
  clock_.run_by_itself();
  first.join();
  EXPECT_EQ(id, -1);
  EXPECT_SAYS("client already freed", modem_api_free_client(0));  // no slot is taken
}
INSTANTIATE_TEST_SUITE_P(Types, Connecting,
                         testing::Values(std::pair(0u, "vs client with operational status 0"),
                                         std::pair(1u, "sar client with operational status 1"),
                                         std::pair(2u, "nas 0 client with operational status 1"),
                                         std::pair(3u, "nas 0 client with operational status 1")));

TEST_F(Vireo, ParametersAreCheckedAndSentInTheirPlaces) {
  // The list's type is that of the TLV behind the standard result.
  start_modem(
      "[[fault]]\nservice = \"vs\"\nnth = 3\naction = \"change\"\nat = 14\noctets = [0x7F]\n");
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
  EXPECT_SAYS("ids[0] = 291, value_len = 3, type = 1, value: A1B2C30000000000",
              EXPECT_EQ(modem_api_get_stats_parameter(vs, 1, 0x1234, &count, entries), 0u));
  EXPECT_EQ(count, 1u) << "what the modem does not have is left out";
  EXPECT_EQ(entries[0].id, 0x2Cu);
  EXPECT_EQ(desk::hex({entries[0].data, entries[0].data_len}), "01 0C 00 00 00");
  EXPECT_EQ(sent(), Lines{"vs 0207 01 02 00 01 00 02 02 00 34 12 03 18 00 02 01 00 00 00 23 01 00 "
                          "00 03 00 A1 B2 C3 00 00 00 00 2C 00 00 00 00 00"});
  count = 1;
  entries[0].sub = 2;
  EXPECT_EQ(modem_api_get_stats_parameter(vs, 2, 1, &count, entries), 5u) << "QMI error 48";
  entries[0].sub = 0;
  EXPECT_EQ(modem_api_get_stats_parameter(vs, 0, 1, &count, entries), 1u) << "without its list";
}

std::string g_answers;
void on_response(void* data, uint32_t length, void* user_data, uint32_t result) {
  g_answers += std::string(g_answers.empty() ? "" : "; ") +
               (data == nullptr ? "null" : desk::hex({static_cast<uint8_t*>(data), length})) + "/" +
               std::to_string(length) + " " + std::to_string(result);
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
    const char* answers;
  } kRows[] = {
      {"no record", 0, kGood, kNone, 0, ""},
      {"no callback", 0, kGood, kNoCallback, 0, ""},
      {"no response", 0, nullptr, kFull, 0, "null/0 3"},
      {"a response of nothing", 0, "", kFull, 0, "null/0 3"},
      {"a transport error", 0, kGood, kFull, -3, "null/0 11"},
      {"one octet and a closed port", 5, "00", kFull, -5, "null/0 12"},
      {"a result cut short", 5, "00 00 00 00 00 00 00", kFull, 0, "null/0 1"},
      {"a refusal", 0, "01 00 00 00 34 00 00 00", kFull, 0, "null/0 8"},
      {"message 0", 0, kGood, kFull, 0, "A1 B2 C3/3 0; null/0 2"},
      {"another message", 5, kGood, kFull, 0, "null/0 2"},
      {"no effect", 5, "01 00 00 00 1A 00 00 00", kFull, 0, "null/0 2"},
      {"a length beyond what came", 0, "00 00 00 00 00 00 00 00 FF FF FF FF A1", kFull, 0,
       "A1/1 0; null/0 2"},
      {"no length", 0, "00 00 00 00 00 00 00 00", kFull, 0, "/0 0; null/0 2"},
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

struct MemTrace : Vireo, testing::WithParamInterface<std::string> {};
TEST_P(MemTrace, TheFirstAllocationDecides) {
  const std::string& value = GetParam();
  const uint32_t traced = value == "true" ? 1 : 0;
  if (!value.empty()) {
    ASSERT_EQ(property_set("persist.vireo.mem_trace", value.c_str()), 0);
  }
  void* blocks[4];
  const std::string output = output_of([&] { blocks[0] = vireo_malloc_adv(8, "first", 1); });
  EXPECT_EQ(said(output, "VIREO_MEM_TRACE_PROP not exist"), value.empty());
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
INSTANTIATE_TEST_SUITE_P(Values, MemTrace, testing::Values("true", "TRUE", "true ", "1", ""));

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
      // 701 octets by its length, and 700 that came.
      {0, 201, 1, "Fail to get data fail, number = 6, ret = 12, sub = 0, id = 201"},
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
    EXPECT_SAYS(row.message, EXPECT_EQ(modem_vireo_data_get(row.sub, row.id), row.result));
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

TEST_F(Vireo, ARecordBeyondTheStoresRoomIsRefusedWhole) {
  constexpr qcci::Address kServer{1, 7};
  auto owned = std::make_unique<desk::ScriptedLink>();
  desk::ScriptedLink& link = *owned;
  link.services[qcci::idl::kVsService.id] = kServer;
  size_t octets = 0;
  link.on_request = [&](const desk::ScriptedLink::Sent& request) {
    // One entry of sub 0, id 7.
    std::vector<uint8_t> said = desk::unhex(
        "02 00 00 07 02 00 00 02 04 00 00 00 00 00 10 00 00 01 00 00 00 00 07 00 00 00");
    said[1] = request.octets[1];
    said[2] = request.octets[2];
    const auto put = [&said](size_t at, size_t value) {
      said[at] = static_cast<uint8_t>(value);
      said[at + 1] = static_cast<uint8_t>(value >> 8);
    };
    said.resize(said.size() + 2 + octets, 0x77);
    put(5, said.size() - 7);
    put(15, said.size() - 17);
    put(26, octets);
    link.say(request.endpoint, kServer, said);
  };
  desk::use_link(std::move(owned));
  ASSERT_EQ(modem_vireo_api_init(), 1);
  for (const size_t size : {700, 701, 65000}) {
    octets = size;
    const std::string output =
        output_of([&] { EXPECT_EQ(modem_vireo_data_get(0, 7), size > 700 ? 1u : 0u); });
    EXPECT_EQ(g_vireo_data.length, size > 700 ? 0 : 700);
    EXPECT_EQ(g_vireo_data.data[699], size > 700 ? 0 : 0x77);
    EXPECT_EQ(output.find("data_len(" + std::to_string(size) +
                          ") is invalid, should be in (0, 700], number = ") != std::string::npos,
              size > 700)
        << output;
  }
  modem_vireo_api_deinit();
}

TEST_F(Vireo, WithoutAClientOnlyAFetchGetsOne) {
  start_modem();
  call_process("other");
  desk::expect_sayings({
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
  });
  EXPECT_EQ(requests(), 1u);
  EXPECT_FALSE(modem_vireo_api_is_inited());
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
  desk::Modem& modem = start_modem();
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
  EXPECT_SAYS("decoded_payload_len(0) can not <= 0",
              vs_client_unsol_ind_cb(nullptr, 0x99, "", 0, nullptr));
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
