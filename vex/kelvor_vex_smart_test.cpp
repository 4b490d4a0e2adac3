// Command 11: smart tests.

#include "vex/kelvor_vex_smart_test.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>

#include "common/result.h"
#include "common/trace.h"
#include "platform/clock.h"
#include "platform/idl/vendor_payload.h"
#include "platform/kelvor_utils.h"
#include "platform/properties.h"
#include "platform/timer.h"
#include "qmi/efs_path.h"
#include "qmi/kelvor_extend_cmn.h"
#include "vex/codes/result_codes.h"
#include "vex/command.h"
#include "vex/commands.h"
#include "vex/record.h"

const char* g_share_memory_file_path = "/data/vendor/modem/share_memory";

namespace {

using qmi::EfsPath;
using vex::Call;

constexpr int kWordOption = vex::kWordOwn;

// Notes the command's own failure, for the record.
int failed(vex::ToolCode code) { return result::fail(result::Layer::kTool, code); }

void set_property(const char* name, const char* value) {
  if (property_set(name, value) != 0) failed(vex::TOOL_PROPERTY_NOT_SET);
}

// ---- requests

// A request whose value is one word, or nothing.
int send(uint32_t item, const uint32_t* word) {
  uint8_t rsp[KELVOR_COMMON_RSP_SIZE] = {};
  const auto result = static_cast<int>(kelvor_send_common_qmi_msg(
      item, word != nullptr ? sizeof *word : 0, reinterpret_cast<const uint8_t*>(word), rsp));
  return vex::note_common(result, rsp);
}

int kelvor_smart_test_modem_ssr() {
  const Operation operation(__func__);
  constexpr uint32_t kWord = 0x1000;  // the value that the item takes; its meaning is the modem's
  TRACE_INFO("Will trigger SSR of modem");
  return send(KELVOR_COMMON_ITEM_SSR, &kWord);
}

int kelvor_smart_test_nv_sync() {
  const Operation operation(__func__);
  TRACE_DEBUG("Will trigger NV SYNC");
  return send(KELVOR_COMMON_ITEM_NV_SYNC, nullptr);
}

// ---- full dump

constexpr const char kRestartLevel[] = "persist.vendor.ssr.restart_level";
constexpr const char kRestartLevelBackup[] = "persist.vendor.ssr.restart_level_bak";
constexpr const char kRestartWait[] = "persist.radio.ssr_wait_s";
constexpr const char kAllDisable[] = "ALL_DISABLE";  // a crash of the modem leaves a dump
constexpr int32_t kRestartWaitSeconds = 5;

// How often this tool has switched the modem's restart off.
constexpr EfsPath kUpdateCount{"/nv/item_files/modem/kelvor/ssr_update_count"};

// Seconds that need not fit one wait's milliseconds.
void sleep_s(uint32_t seconds) {
  constexpr uint32_t kAtOnce = 1000000;  // as milliseconds within 32 bits
  while (seconds > 0) {
    const uint32_t now = std::min(seconds, kAtOnce);
    platform_sleep_ms(now * 1000);
    seconds -= now;
  }
}

uint32_t kelvor_smart_test_read_ssr_update_flag() {
  const Operation operation(__func__);
  uint32_t value = 0;
  uint32_t length = sizeof value;
  const int32_t result =
      kelvor_efs_read(0, kUpdateCount, reinterpret_cast<uint8_t*>(&value), &length);
  TRACE_DEBUG("PROP_MODEM_SSR_UPDATE_COUNT read ret: %d, old update_cnt: %d, len: %d", result,
              value, length);
  if (result != 0) return TRACED_ERROR(0, "kelvor_efs_read failed, maybe empty");
  return value;
}

int kelvor_smart_test_save_ssr_update_flag() {
  const Operation operation(__func__);
  const uint32_t value = kelvor_smart_test_read_ssr_update_flag() + 1;
  const int32_t result =
      kelvor_efs_write(0, kUpdateCount, reinterpret_cast<const uint8_t*>(&value), sizeof value);
  TRACE_DEBUG("PROP_MODEM_SSR_UPDATE_COUNT write ret: %d, new update_cnt: %d", result, value);
  return vex::note_nvefs(result);
}

int kelvor_smart_test_ssr_wait_s(int /*ignored*/) {
  const Operation operation(__func__);
  int32_t wait_s = 0;
  kelvor_get_property_value_from_int(kRestartWait, &wait_s, kRestartWaitSeconds);
  TRACE_DEBUG("ssr wait_s = %d", wait_s);
  if (wait_s < 1) {
    TRACE_DEBUG("modem ssr will not wait");
  } else {
    TRACE_DEBUG("wait-start(%ds) ...", wait_s);
    sleep_s(static_cast<uint32_t>(wait_s));
    TRACE_DEBUG("wait-end(%ds)", wait_s);
  }
  return wait_s;
}

int kelvor_smart_test_full_dump() {
  const Operation operation(__func__);
  constexpr uint32_t kWord = 0x2000;  // as for a restart
  char current[256];
  char backup[256];
  static_assert(sizeof current >= PROPERTY_VALUE_MAX);
  property_get(kRestartLevel, current, "ALL_ENABLE");
  property_get(kRestartLevelBackup, backup, "");
  // Saved once and never restored: the first full dump remembers what the phone came with.
  if (backup[0] == '\0') {
    TRACE_DEBUG("need to save ssr state");
    set_property(kRestartLevelBackup, current);
  }
  TRACE_DEBUG("Will trigger Full Dump, the current state: %s, the default state: %s", current,
              backup);
  if (std::strcmp(current, kAllDisable) != 0) {
    TRACE_DEBUG("need to close ssr");
    set_property(kRestartLevel, kAllDisable);
    kelvor_smart_test_save_ssr_update_flag();
    const int wait_s = kelvor_smart_test_ssr_wait_s(0);
    if (wait_s < 0) failed(vex::TOOL_DUMP_STOPPED);
    if (wait_s < 0) return TRACED_DEBUG(wait_s, "wait_s < 0, ssr is stoped");
  }
  return send(KELVOR_COMMON_ITEM_FULL_DUMP, &kWord);
}

// ---- print switches

int kelvor_smart_test_ap_vireo_switch(int opt) {
  const Operation operation(__func__);
  TRACE_DEBUG("ap_vireo_print, opt = %d", opt);
  set_property("persist.vendor.radio.print_stats", opt == 1 ? "1" : "2");
  TRACE_DEBUG("success, need to reboot");
  return 0;
}

// A modem-side switch: on while its file is there.
struct BpSwitch {
  const char* name;
  EfsPath path;
  uint32_t value;  // written when on
  uint32_t width;  // octets of it
};
constexpr BpSwitch kBpVireo{"bp_vireo_print", "/vireo/vireo_print_mask", 31, 4};
constexpr BpSwitch kBpQmi{"bp_qmi_print", "/nv/item_files/modem/kelvor/qmi_print_flag", 1, 1};
constexpr BpSwitch kBpRf{"bp_rf_print", "/nv/item_files/modem/kelvor/rf_print_mask", 15, 4};

// The modem reads its switches when it starts, from what has been brought to its storage.
int bp_print_switch(TraceSite handler, const BpSwitch& bp, int opt) {
  const Operation operation(handler);
  TRACE_DEBUG("%s, opt = %d", bp.name, opt);
  int result = 0;
  if (opt == 1) {
    uint8_t value[sizeof bp.value];
    std::memcpy(value, &bp.value, sizeof value);
    result = kelvor_efs_write(0, bp.path, value, bp.width);
    if (result != 0) TRACE_ERROR("kelvor_efs_write failed");
  } else {
    result = kelvor_efs_delete(0, bp.path);
    if (result != 0) TRACE_ERROR("kelvor_efs_delete failed");
  }
  if (result != 0) return vex::note_nvefs(result);
  result = kelvor_smart_test_nv_sync();
  const int restarted = kelvor_smart_test_modem_ssr();
  TRACE_DEBUG("success, pls wait 10 seconds ");
  return result != 0 ? result : restarted;
}

int kelvor_smart_test_bp_vireo_print_switch(int opt) {
  return bp_print_switch(__func__, kBpVireo, opt);
}

int kelvor_smart_test_bp_qmi_print_switch(int opt) {
  return bp_print_switch(__func__, kBpQmi, opt);
}

int kelvor_smart_test_bp_rf_print_switch(int opt) { return bp_print_switch(__func__, kBpRf, opt); }

// ---- shared memory

constexpr size_t kShareMemorySize = 100;  // octets that the file is cut or extended to
constexpr int kShown = 5;                 // octets

// Copies the first octets out of the mapping; false when they cannot be had, as when another
// process has cut the file since it got its size. The kernel does it: it fails there, where a load
// of our own would end the process.
bool take_octets(const void* mapped, uint8_t (&octets)[kShown]) {
  int ends[2];
  if (::pipe(ends) != 0) return false;
  const bool taken =
      ::write(ends[1], mapped, kShown) == kShown && ::read(ends[0], octets, kShown) == kShown;
  ::close(ends[0]);
  ::close(ends[1]);
  return taken;
}

// Shows what another process left in the file's first octets; nothing is written into it.
int show_share_memory(int fd) {
  const int truncated = ::ftruncate(fd, kShareMemorySize);
  TRACE_DEBUG("ftruncate, ret: %d", truncated);
  if (truncated == -1) return TRACED_ERROR(-1, "ftruncate error");
  void* const mapped = ::mmap(nullptr, kShareMemorySize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  TRACE_DEBUG("mmap, data_ptr: 0x%08x", static_cast<unsigned>(reinterpret_cast<uintptr_t>(mapped)));
  if (mapped == MAP_FAILED) return TRACED_ERROR(-1, "mmap error");
  uint8_t data_ptr[kShown];
  const bool taken = take_octets(mapped, data_ptr);
  if (taken) result::octets("share_memory", data_ptr, sizeof data_ptr);
  for (int i = 0; taken && i < kShown; ++i) {
    TRACE_DEBUG("data_ptr[%d]: %d", i, data_ptr[i]);
  }
  if (!taken) TRACE_ERROR("data_ptr error");
  const int unmapped = ::munmap(mapped, kShareMemorySize);
  TRACE_DEBUG("munmap, ret: %d", unmapped);
  if (unmapped == -1) TRACE_ERROR("munmap error");
  return taken ? unmapped : -1;
}

int kelvor_smart_test_sh_test_read() {
  const TraceScope scope(__func__);
  TRACE_DEBUG("g_share_memory_file_path: %s", g_share_memory_file_path);
  const int fd = ::open(g_share_memory_file_path, O_RDWR | O_CREAT, 0777);
  TRACE_DEBUG("open, fd: %d", fd);
  if (fd == -1) return TRACED_ERROR(-1, "shm_open error");
  const int result = show_share_memory(fd);
  TRACE_DEBUG("close fd");
  ::close(fd);
  return result;
}

int kelvor_smart_test_share_memory() {
  const Operation operation(__func__);
  TRACE_DEBUG("share_memory");
  const int result = kelvor_smart_test_sh_test_read();
  if (result != 0) failed(vex::TOOL_SHARE_MEMORY);
  return result;
}

// ---- timer

std::atomic<bool> g_timer_running{false};

void kelvor_vex_delay_timer_cb(sigval value) {
  const auto id = static_cast<uint32_t>(value.sival_int);
  TRACE_DEBUG("The timer expired with ID %u", id);
  kelvor_timer_stop(id);
  g_timer_running = false;
}

int kelvor_smart_test_kelvor_timer(unsigned long timeout_s) {
  const Operation operation(__func__);
  TRACE_DEBUG("Timer test start, timeout_s = %d", static_cast<int>(timeout_s));
  // Before the timer is there: it may expire at once.
  g_timer_running = true;
  const uint32_t timer_id = kelvor_timer_start(kelvor_vex_delay_timer_cb, timeout_s);
  if (timer_id == 0) failed(vex::TOOL_TIMER);
  if (timer_id == 0) return TRACED_ERROR(-1, "kelvor_timer_start failed");
  TRACE_DEBUG("Start one timer(timer_id %d), will pause until this timer is expired ...", timer_id);
  for (int n = 1; g_timer_running; ++n) {
    sleep_s(1);
    if (n == 1) {
      TRACE_DEBUG("%d second has passed", n);
    } else {
      TRACE_DEBUG("%d seconds have passed", n);
    }
  }
  TRACE_DEBUG("Timer test done");
  return 0;
}

// ---- the command

template <int (*kRun)()>
int without_words(const Call& /*call*/) {
  return kRun();
}

template <int (*kSwitch)(int opt)>
int on_off(const Call& call) {
  if (!call.has(kWordOption + 1)) return call.refuse();
  const int opt = call.number(kWordOption);
  if (opt == 0 || opt == 1) return kSwitch(opt);
  TRACE_ERROR("note: opt(%d) is invalid:", opt);
  return call.refuse();
}

int timer(const Call& call) {
  if (!call.has(kWordOption + 1)) return call.refuse();
  return kelvor_smart_test_kelvor_timer(static_cast<unsigned long>(call.number(kWordOption)));
}

constexpr vex::Row kRows[] = {
    {{"   vex %d %d                      /* trigger SSR of modem */\n", 0},
     without_words<kelvor_smart_test_modem_ssr>},
    {{"   vex %d %d                      /* trigger Full Dump */\n", 1},
     without_words<kelvor_smart_test_full_dump>},
    {{"   vex %d %d                      /* trigger NV SYNC */\n", 2},
     without_words<kelvor_smart_test_nv_sync>},
    {{"   vex %d %d opt                  /* ap vireo print(need reboot), opt: 0 - off; 1 - on */\n",
      3},
     on_off<kelvor_smart_test_ap_vireo_switch>},
    {{"   vex %d %d opt                  /* bp vireo print, opt: 0 - off; 1 - on */\n", 4},
     on_off<kelvor_smart_test_bp_vireo_print_switch>},
    {{"   vex %d %d opt                  /* bp qmi print, opt: 0 - off; 1 - on */\n", 5},
     on_off<kelvor_smart_test_bp_qmi_print_switch>},
    {{"   vex %d %d opt                  /* bp rf print, opt: 0 - off; 1 - on */\n", 6},
     on_off<kelvor_smart_test_bp_rf_print_switch>},
    {{"   vex %d %d                      /* share memory test */\n", 7},
     without_words<kelvor_smart_test_share_memory>},
    {{"   vex %d %d timeout_s            /* kelvor timer test, timeout_s - the expired time(s) "
      "*/\n",
      8},
     timer},
};
constexpr vex::Command kSmart{.number = vex::kCommandSmart,
                              .title = "%d: smart test\n",
                              .rows = kRows,
                              .show_help = kelvor_smart_test_show_help,
                              .row_word = "par_i",
                              .refused = vex::kCommandSmart};

}  // namespace

VEX_COMMAND(kelvor_smart_test_do, kelvor_smart_test_show_help, kSmart)
