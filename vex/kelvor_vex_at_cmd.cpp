// Command 8: the AT channel.

#include "vex/kelvor_vex_at_cmd.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>

#include "common/result.h"
#include "common/trace.h"
#include "platform/clock.h"
#include "platform/shell.h"
#include "vex/codes/result_codes.h"
#include "vex/command.h"
#include "vex/commands.h"

int32_t g_at_serial_fd = 0;

namespace {

constexpr const char kChannel[] = "/dev/smd8";
constexpr int kWords = 3;
constexpr int kWordText = 2;
constexpr int kAtLengthMax = 100;  // the usage says so too
constexpr size_t kTextRoom = 105;  // what sscanf below reads at most, and a zero
constexpr size_t kShellRoom = 501;
constexpr size_t kReceiveRoom = 512;  // one read: a longer reply is cut
constexpr uint32_t kPollMs = 1000;    // between looks whether the receive thread is done

constexpr const char kEcho[] = "echo \"";
constexpr const char kInto[] = "\r\" > ";
static_assert(sizeof kEcho + kTextRoom + sizeof kInto + sizeof kChannel < kShellRoom);

std::atomic<int32_t> g_received{0};

// The text stands in double quotes, inside which the shell still expands what it expands there.
void kelvor_test_at_cmd_send(const char* text) {
  const Operation operation(__func__);
  char line[kShellRoom] = {};
  std::snprintf(line, sizeof line, "%s%s%s%s", kEcho, text, kInto, kChannel);
  TRACE_INFO("at shell cmd: %s", line);
  const int ret_sys = platform_shell(line);
  TRACE_INFO("echo, ret_sys: %d", ret_sys);
  result::fail(result::Layer::kShell, ret_sys);
  if (ret_sys != 0) {
    TRACE_ERROR("Fail to send at shell cmd");
  } else {
    TRACE_INFO("Success to send at shell cmd");
  }
}

// The body of the receive thread.
void* kelvor_test_at_cmd_receive(void* /*arg*/) {
  TRACE_INFO("The thread to receive data from serial is started");
  if (g_at_serial_fd < 1) {
    TRACE_INFO("The at channel is not opened, g_at_serial_fd %d", g_at_serial_fd);
  } else {
    char reply[kReceiveRoom];
    const ssize_t length = ::read(g_at_serial_fd, reply, sizeof reply - 1);
    if (length < 1) {
      TRACE_ERROR("Failed to receive bytes from server");
      result::fail(result::Layer::kTool, vex::TOOL_NO_REPLY);
    } else {
      reply[length] = '\0';
      TRACE_INFO("Receive the AT reponse: len(%d)", static_cast<int>(length));
      TRACE_INFO("%s", reply);
      result::text("reply", reply);
    }
  }
  g_received = 1;
  return nullptr;
}

// Sends the text and waits for the receive thread; false when there can be none.
bool exchange(const char* text) {
  TRACE_INFO("Will create a thread to receive data from serial");
  pthread_t thread{};
  if (::pthread_create(&thread, nullptr, kelvor_test_at_cmd_receive, nullptr) != 0) {
    result::fail(result::Layer::kTool, vex::TOOL_NO_THREAD);
    return TRACED_ERROR(false, "Fail to create a thread");
  }
  ::pthread_detach(thread);
  kelvor_test_at_cmd_send(text);
  while (g_received == 0) platform_sleep_ms(kPollMs);
  return true;
}

bool admit(const vex::Call& call) {
  if (std::strlen(call.argv[kWordText]) <= kAtLengthMax) return true;
  TRACE_ERROR("note: the second parameters length should <= %d, Pls refer to the following cmd:",
              kAtLengthMax);
  return false;
}

int run(const vex::Call& call) {
  // The first word of the text: an AT command has no blank.
  char text[kTextRoom] = {};
  const int count = std::sscanf(call.argv[kWordText], "%104s\r", text);
  TRACE_INFO("At cmd you input: sscanf(%d), len (%d), %s", count,
             static_cast<int>(std::strlen(text)), text);
  return exchange(text) ? 0 : call.refuse();
}

constexpr vex::Row kRows[] = {
    {"   vex %d atcmd_cxt               /* atcmd_cxt: at command context */"},
    {"                                    the len of atcmd can not > 100"},
};
constexpr vex::Command kAt{
    .number = vex::kCommandAt,
    .title = "%d: kelvor at command test",
    .rows = kRows,
    .show_help = kelvor_test_at_cmd_show_help,
    .least_words = kWords,
    .most_words = kWords,
    .wrong_count = "note: The number of inputs should be 2, Pls refer to the following cmd:",
    .admit = admit,
    .run = run};

}  // namespace

extern "C" int kelvor_test_at_cmd_do(int argc, char** argv) {
  const Operation operation(__func__);
  vex::dispatch(__func__, kAt, argc, argv);
  if (g_at_serial_fd >= 1) {
    TRACE_INFO("Will close channel: %s", kChannel);
    ::close(g_at_serial_fd);
    g_at_serial_fd = 0;
  }
  g_received = 0;
  return 0;
}
VEX_SECTION_PRINTER(kelvor_test_at_cmd_show_help, kAt)
