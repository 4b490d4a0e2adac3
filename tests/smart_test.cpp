// Command 11 against the simulated modem: what it asks for, what it leaves behind, what it says.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <optional>
#include <thread>
#include <tuple>

#include "platform/kelvor_utils.h"
#include "platform/properties.h"
#include "support/command.h"
#include "vex/kelvor_vex_smart_test.h"

namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

constexpr const char kSource[] = "kelvor_vex_smart_test.cpp";
constexpr const char kCounter[] = "efs/0/nv/item_files/modem/kelvor/ssr_update_count";
// Octets of a common request: command, reserved, item, length, value.
constexpr const char kSsr[] = "02 00 00 00 00 00 00 00 1F 00 00 00 04 00 00 00 00 10 00 00";
constexpr const char kSync[] = "02 00 00 00 00 00 00 00 23 00 00 00 00 00 00 00 00 00 00 00";
constexpr const char kDump[] = "02 00 00 00 00 00 00 00 63 00 00 00 04 00 00 00 00 20 00 00";

std::string property(const char* name) {
  char value[PROPERTY_VALUE_MAX];
  property_get(name, value, "(none)");
  return value;
}

struct Smart : desk::Desk {
  // A phone that loses what was not synced.
  void start_forgetful_modem(const std::string& faults) {
    std::string why;
    ASSERT_TRUE(directory_.phone().prepare(&why)) << why;
    directory_.write("phone.toml", "[modem]\nunsynced = \"lost\"\n" + faults);
    start_written_modem();
  }
  std::string smart(const std::string& words) {
    return desk::run_command(kelvor_smart_test_do, "11 " + words, &result_);
  }
  Texts said(const std::string& words) { return desk::messages_of(kSource, smart(words)); }
  // The first 20 octets of each request of the common family; "efs" for the others.
  Texts asked() {
    Texts all;
    for (const auto& request : desk::vendor_requests(passed(sim::FaultKind::kRequest))) {
      all.push_back(request.id == REQUEST_ID_COMMON ? request.begins(20) : "efs");
    }
    return all;
  }
  int result_ = 0;
};

TEST_F(Smart, WrongWordsGetTheirNoteAndTheSectionAndNothingIsAsked) {
  kelvor_hal_set_shell_print_mask(1 | 8);  // errors and usage
  start_modem();
  const std::string section =
      desk::output_of([] { kelvor_smart_test_show_help(vex::kCommandSmart); });
  const std::pair<const char*, const char*> rows[] = {
      {"11", "note: Too few parameters, Pls refer to the following cmd:"},
      {"12 0", "note: the first parameters should be 11, Pls refer to the following cmd:"},
      {"11 3", "note: Too few parameters, Pls refer to the following cmd:"},
      {"11 6", "note: Too few parameters, Pls refer to the following cmd:"},
      {"11 8", "note: Too few parameters, Pls refer to the following cmd:"},
      {"11 3 2", "note: opt(2) is invalid:"},
      {"11 4 -1", "note: opt(-1) is invalid:"},
      {"11 9", "invalid par_i = 9"},
      {"11 -1", "invalid par_i = -1"},
  };
  for (const auto& [words, note] : rows) {
    const std::string output = desk::run_command(kelvor_smart_test_do, words);
    EXPECT_EQ(desk::messages_of(kSource, output), Texts{note}) << words;
    EXPECT_EQ(output.substr(output.find('\n') + 1), section) << words;
  }
  EXPECT_EQ(requests(), 0u);
}

TEST_F(Smart, RestartAndSyncAreOneRequestEach) {
  start_modem();
  EXPECT_EQ(said("2"), Texts{"Will trigger NV SYNC"});
  EXPECT_EQ(said("0 ignored"), Texts{"Will trigger SSR of modem"});
  EXPECT_EQ(asked(), (Texts{kSync, kSsr}));
}

TEST_F(Smart, TheApSwitchIsAPropertyOfTheNextStart) {
  EXPECT_EQ(said("3 1"), (Texts{"ap_vireo_print, opt = 1", "success, need to reboot"}));
  EXPECT_EQ(property("persist.vendor.radio.print_stats"), "1");
  said("3 0");
  EXPECT_EQ(directory_.file("properties"), "persist.vendor.radio.print_stats=2\n");
}

// ---- full dump

struct DumpRow {
  const char* name;
  const char *level, *backup, *wait;  // properties; null: not there
  std::string counter;                // the file's octets; empty: not there
  const char* fault;                  // acts on the vendor service's responses
  Texts says;
  const char *level_after, *backup_after;
  std::string counter_after;
  std::chrono::seconds waits;
  bool dumps;

  friend void PrintTo(const DumpRow& row, std::ostream* out) { *out << row.name; }
};

struct FullDump : Smart, testing::WithParamInterface<DumpRow> {};

Texts with(Texts first, const Texts& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

const std::string kSave = "need to save ssr state";
const std::string kClose = "need to close ssr";
const Texts kNoWait = {"ssr wait_s = 0", "modem ssr will not wait"};

std::string state(const std::string& current, const std::string& backup) {
  return "Will trigger Full Dump, the current state: " + current + ", the default state: " + backup;
}
Texts counted(const std::string& read, int old, int length, int write, int now) {
  Texts texts = {"PROP_MODEM_SSR_UPDATE_COUNT read ret: " + read +
                 ", old update_cnt: " + std::to_string(old) + ", len: " + std::to_string(length)};
  if (read != "0") texts.push_back("kelvor_efs_read failed, maybe empty");
  texts.push_back("PROP_MODEM_SSR_UPDATE_COUNT write ret: " + std::to_string(write) +
                  ", new update_cnt: " + std::to_string(now));
  return texts;
}
std::string word(int value) {
  return {static_cast<char>(value), static_cast<char>(value >> 8), 0, 0};
}

const DumpRow kDumpRows[] = {
    {"TheFirstSavesTheLevelAndSwitchesItOff", nullptr, nullptr, nullptr, "", "",
     with(with({kSave, state("ALL_ENABLE", ""), kClose}, counted("-2", 0, 0, 0, 1)),
          {"ssr wait_s = 5", "wait-start(5s) ...", "wait-end(5s)"}),
     "ALL_DISABLE", "ALL_ENABLE", word(1), 5s, true},
    {"TheSecondFindsItOff",
     "ALL_DISABLE",
     "ALL_ENABLE",
     nullptr,
     word(1),
     "",
     {state("ALL_DISABLE", "ALL_ENABLE")},
     "ALL_DISABLE",
     "ALL_ENABLE",
     word(1),
     0s,
     true},
    {"OffWithoutABackupIsSavedAsThat",
     "ALL_DISABLE",
     nullptr,
     nullptr,
     "",
     "",
     {kSave, state("ALL_DISABLE", "")},
     "ALL_DISABLE",
     "ALL_DISABLE",
     "",
     0s,
     true},
    {"ABackupIsKeptAndTheCountGoesOn", "SOME", "KEPT", "0", word(258), "",
     with(with({state("SOME", "KEPT"), kClose}, counted("0", 258, 4, 0, 259)), kNoWait),
     "ALL_DISABLE", "KEPT", word(259), 0s, true},
    {"MoreThanTheNameIsNotTheName", "ALL_DISABLED", "KEPT", "2", word(1), "",
     with(with({state("ALL_DISABLED", "KEPT"), kClose}, counted("0", 1, 4, 0, 2)),
          {"ssr wait_s = 2", "wait-start(2s) ...", "wait-end(2s)"}),
     "ALL_DISABLE", "KEPT", word(2), 2s, true},
    {"ANegativeWaitStopsIt", "ALL_ENABLE", "KEPT", "-1", word(1), "",
     with(with({state("ALL_ENABLE", "KEPT"), kClose}, counted("0", 1, 4, 0, 2)),
          {"ssr wait_s = -1", "modem ssr will not wait", "wait_s < 0, ssr is stoped"}),
     "ALL_DISABLE", "KEPT", word(2), 0s, false},
    {"ACountThatIsTooLongCountsAsNone", "A", "KEPT", "0", "12345", "",
     with(with({state("A", "KEPT"), kClose}, counted("-108", 0, 0, 0, 1)), kNoWait), "ALL_DISABLE",
     "KEPT", word(1), 0s, true},
    {"ACountThatCannotBeWrittenIsOnlyTold", "A", "KEPT", "0", word(1),
     "[[fault]]\nservice = \"vendor\"\naction = \"change\"\nat = 40\noctets = [0xF3, 0xFF, 0xFF, "
     "0xFF]\nnth = 2\n",
     with(with({state("A", "KEPT"), kClose}, counted("0", 1, 4, -13, 2)), kNoWait), "ALL_DISABLE",
     "KEPT", word(2), 0s, true},
};

TEST_P(FullDump, DancesAsTheRowSays) {
  const DumpRow& row = GetParam();
  start_modem(row.fault);
  const auto set = [](const char* name, const char* value) {
    if (value != nullptr) {
      ASSERT_EQ(property_set(name, value), 0);
    }
  };
  set("persist.vendor.ssr.restart_level", row.level);
  set("persist.vendor.ssr.restart_level_bak", row.backup);
  set("persist.radio.ssr_wait_s", row.wait);
  if (!row.counter.empty()) directory_.write(kCounter, row.counter);
  std::optional<desk::PassOne> waiting;
  // The wait comes behind the reading and the writing of the count.
  if (row.waits > 0s) waiting.emplace(clock_, row.waits, [&] { return requests() == 2; });
  EXPECT_EQ(said("1"), row.says);
  EXPECT_EQ(property("persist.vendor.ssr.restart_level"), row.level_after);
  EXPECT_EQ(property("persist.vendor.ssr.restart_level_bak"), row.backup_after);
  EXPECT_EQ(directory_.file(kCounter), row.counter_after);
  EXPECT_EQ(clock_.passed(), row.waits);
  const Texts all = asked();
  EXPECT_EQ(std::count(all.begin(), all.end(), kDump), row.dumps ? 1 : 0);
  EXPECT_EQ(std::filesystem::is_empty(directory_.root() + "/dump"), !row.dumps);
  EXPECT_EQ(result_ == 0, row.dumps);
}

INSTANTIATE_TEST_SUITE_P(Rows, FullDump, testing::ValuesIn(kDumpRows),
                         [](const auto& row) { return row.param.name; });

// ---- print switches

struct Switch {
  const char *name, *number, *title, *file;
  std::string on;

  friend void PrintTo(const Switch& bp, std::ostream* out) { *out << bp.name; }
};
const Switch kSwitches[] = {
    {"Vireo", "4", "bp_vireo_print", "efs/0/vireo/vireo_print_mask", {31, 0, 0, 0}},
    {"Qmi", "5", "bp_qmi_print", "efs/0/nv/item_files/modem/kelvor/qmi_print_flag", {1}},
    {"Rf", "6", "bp_rf_print", "efs/0/nv/item_files/modem/kelvor/rf_print_mask", {15, 0, 0, 0}},
};
struct SwitchRow {
  const char *name, *opt;
  bool was_on;
  int lost;           // which request is lost on its way; 0: none
  bool refused;       // the first one is answered with an error
  const char* fails;  // the step's message; null: the switch goes on to its end
  bool is_on;         // when the modem is up again
  int result;

  friend void PrintTo(const SwitchRow& row, std::ostream* out) { *out << row.name; }
};
const SwitchRow kSwitchRows[] = {
    {"On", "1", false, 0, false, nullptr, true, 0},
    {"Off", "0", true, 0, false, nullptr, false, 0},
    {"OnThatIsLostEnds", "1", false, 1, false, "kelvor_efs_write failed", false, -103},
    {"OnThatIsRefusedEnds", "1", false, 0, true, "kelvor_efs_write failed", true, -103},
    {"OffThatIsOffEnds", "0", false, 0, false, "kelvor_efs_delete failed", false, -2},
    {"OffThatIsLostEnds", "0", true, 1, false, "kelvor_efs_delete failed", true, -103},
    {"OnThatIsNotSyncedIsForgotten", "1", false, 2, false, nullptr, false, -3},
    {"OffThatIsNotSyncedIsForgotten", "0", true, 2, false, nullptr, true, -3},
    {"ARestartThatIsLostIsTheResult", "1", false, 3, false, nullptr, true, -3},
};

struct PrintSwitch : Smart, testing::WithParamInterface<std::tuple<Switch, SwitchRow>> {};

TEST_P(PrintSwitch, DoesItsStepsInOrder) {
  const auto& [bp, row] = GetParam();
  const std::string of_vendor = "[[fault]]\nservice = \"vendor\"\n";
  std::string faults;
  if (row.lost != 0) {
    faults = of_vendor +
             "kind = \"request\"\naction = \"drop\"\nnth = " + std::to_string(row.lost) + "\n";
  }
  if (row.refused) faults = of_vendor + "action = \"vendor-error\"\nresult = 9\nnth = 1\n";
  start_forgetful_modem(faults);
  if (row.was_on) directory_.write(bp.file, bp.on);
  std::optional<desk::PassOne> time_out;
  if (row.lost != 0) {
    time_out.emplace(clock_, 3s, [&] { return requests() == static_cast<size_t>(row.lost); });
  }
  const Texts texts = said(bp.number + (" " + std::string(row.opt)));
  Texts says = {std::string(bp.title) + ", opt = " + row.opt};
  Texts asks = {"efs"};
  if (row.fails != nullptr) {
    says.emplace_back(row.fails);
  } else {
    says = with(says, {"Will trigger NV SYNC", "Will trigger SSR of modem",
                       "success, pls wait 10 seconds "});
    asks = with(asks, {kSync, kSsr});
  }
  EXPECT_EQ(texts, says);
  const std::string error = std::string(" E [smart_test][") + kSource;
  EXPECT_EQ(directory_.file("log/system.log").find(error) != std::string::npos,
            row.fails != nullptr);
  EXPECT_EQ(asked(), asks);
  EXPECT_EQ(directory_.has(bp.file), row.is_on);
  if (row.is_on) {
    EXPECT_EQ(directory_.file(bp.file), bp.on);
  }
  EXPECT_EQ(result_, row.result);
}

INSTANTIATE_TEST_SUITE_P(Rows, PrintSwitch,
                         testing::Combine(testing::ValuesIn(kSwitches),
                                          testing::ValuesIn(kSwitchRows)),
                         [](const auto& row) {
                           return std::string(std::get<0>(row.param).name) +
                                  std::get<1>(row.param).name;
                         });

// ---- shared memory

// The lines of one run, with what differs from run to run taken out.
Texts shared_memory_says(const std::string& path) {
  g_share_memory_file_path = path.c_str();
  Texts texts = desk::messages_of(kSource, desk::run_command(kelvor_smart_test_do, "11 7"));
  for (std::string& text : texts) {
    if (text.starts_with("open, fd: ") && text != "open, fd: -1") text = "open, fd: N";
    if (text.starts_with("mmap, data_ptr: 0x") && text.size() == 26) text = "mmap, data_ptr: N";
  }
  return texts;
}

Texts probe(const std::string& path, const Texts& says) {
  return with(
      with({"share_memory", "function entry ------------->", "g_share_memory_file_path: " + path},
           says),
      {"function exit <-------------"});
}
Texts shows(const std::vector<int>& octets) {
  Texts texts = {"open, fd: N", "ftruncate, ret: 0", "mmap, data_ptr: N"};
  for (size_t i = 0; i < 5; ++i) {
    texts.push_back("data_ptr[" + std::to_string(i) + "]: " + std::to_string(octets[i]));
  }
  return with(texts, {"munmap, ret: 0", "close fd"});
}
const Texts kCannotOpen = {"open, fd: -1", "shm_open error"};

size_t open_files() {
  size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

TEST_F(Smart, TheSharedMemoryIsShownAndNotWritten) {
  const std::string path = directory_.root() + "/share_memory";
  std::string why;
  ASSERT_TRUE(directory_.phone().prepare(&why));  // the log is open from here on
  desk::output_of([] { kelvor_smart_test_show_help(0); });
  const size_t before = open_files();
  ::umask(0);
  EXPECT_EQ(shared_memory_says(path), probe(path, shows({0, 0, 0, 0, 0}))) << "a new file";
  EXPECT_EQ(directory_.file("share_memory"), std::string(100, '\0'));
  EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0777));
  const pid_t child = ::fork();
  if (child == 0) {
    const int fd = ::open(path.c_str(), O_RDWR);
    void* const mapped = ::mmap(nullptr, 100, PROT_WRITE, MAP_SHARED, fd, 0);
    if (mapped == MAP_FAILED) ::_exit(1);
    std::memcpy(mapped, "\x01\x7F\x80\xFF\x05\x06", 6);
    ::_exit(0);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_EQ(status, 0);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(shared_memory_says(path), probe(path, shows({1, 127, 128, 255, 5}))) << i;
  }
  directory_.write("share_memory", "AB");
  EXPECT_EQ(shared_memory_says(path), probe(path, shows({65, 66, 0, 0, 0}))) << "too short";
  directory_.write("share_memory", std::string(300, 'x'));
  EXPECT_EQ(shared_memory_says(path), probe(path, shows({120, 120, 120, 120, 120}))) << "too long";
  EXPECT_EQ(directory_.file("share_memory"), std::string(100, 'x'));
  EXPECT_EQ(open_files(), before);
}

TEST_F(Smart, ASharedMemoryThatIsCutWhileItIsReadIsTold) {
  const std::string path = directory_.root() + "/share_memory";
  directory_.write("share_memory", "");
  std::atomic<bool> told{false};
  std::thread other([&] {
    while (!told) std::ignore = ::truncate(path.c_str(), 0);
  });
  const Texts cut = probe(path, {"open, fd: N", "ftruncate, ret: 0", "mmap, data_ptr: N",
                                 "data_ptr error", "munmap, ret: 0", "close fd"});
  for (int i = 0; i < 5000 && !told; ++i) told = shared_memory_says(path) == cut;
  EXPECT_TRUE(told.exchange(true));
  other.join();
}

TEST_F(Smart, ASharedMemoryThatCannotBeHadIsToldAtItsStep) {
  std::string path = directory_.root() + "/none/share_memory";
  EXPECT_EQ(shared_memory_says(path), probe(path, kCannotOpen)) << "no directory";
  EXPECT_EQ(
      shared_memory_says("/dev/null"),
      probe("/dev/null", {"open, fd: N", "ftruncate, ret: -1", "ftruncate error", "close fd"}));
  // A file that takes its size but no writer of its octets.
  const int sealed = ::memfd_create("sealed", MFD_ALLOW_SEALING);
  ASSERT_EQ(::fcntl(sealed, F_ADD_SEALS, F_SEAL_FUTURE_WRITE), 0);
  path = "/proc/self/fd/" + std::to_string(sealed);
  EXPECT_EQ(shared_memory_says(path), probe(path, {"open, fd: N", "ftruncate, ret: 0",
                                                   "mmap, data_ptr: N", "mmap error", "close fd"}));
}

TEST_F(Smart, ASharedMemoryWithoutPermissionIsTold) {
  const std::string path = directory_.root() + "/share_memory";
  directory_.write("share_memory", "secret");
  ASSERT_EQ(::chmod(path.c_str(), 0), 0);
  ASSERT_EQ(::chmod(directory_.root().c_str(), 0755), 0);
  // The rights of root hold for every file.
  const bool root = ::geteuid() == 0;
  constexpr uid_t kNobody = 65534;
  ASSERT_TRUE(!root || ::seteuid(kNobody) == 0);
  const Texts texts = shared_memory_says(path);
  ASSERT_TRUE(!root || ::seteuid(0) == 0);
  EXPECT_EQ(texts, probe(path, kCannotOpen));
}

// ---- timer

struct Timer : Smart, testing::WithParamInterface<int> {};

TEST_P(Timer, CountsTheSecondsUntilItExpires) {
  const int timeout = GetParam();
  std::thread time([&] {
    for (int second = 1; second <= timeout; ++second) {
      clock_.await_waiter(1s, second < timeout ? 1 : 2);  // the last one is the timer's as well
      clock_.advance(1s);
    }
    clock_.run_by_itself();
  });
  Texts texts = said("8 " + std::to_string(timeout));
  time.join();
  const std::string expired = "The timer expired with ID 1";
  const auto at = std::find(texts.begin(), texts.end(), expired);
  ASSERT_NE(at, texts.end());
  texts.erase(at);  // another thread's
  // The poll that is due with the timer may come before it.
  ASSERT_GE(texts.size(), 3u);
  const auto polls = static_cast<int>(texts.size()) - 3;
  EXPECT_GE(polls, timeout);
  Texts expected = {"Timer test start, timeout_s = " + std::to_string(timeout),
                    "Start one timer(timer_id 1), will pause until this timer is expired ..."};
  for (int n = 1; n <= polls; ++n) {
    expected.push_back(n == 1 ? "1 second has passed" : std::to_string(n) + " seconds have passed");
  }
  expected.push_back("Timer test done");
  EXPECT_EQ(texts, expected);
  EXPECT_EQ(clock_.passed(), std::chrono::seconds(polls));
}

INSTANTIATE_TEST_SUITE_P(Seconds, Timer, testing::Values(0, 1, 3, 30));

}  // namespace
