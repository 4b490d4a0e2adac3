// Command 8: the AT channel.

#include "vex/kelvor_vex_at_cmd.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/trace.h"
#include "platform/clock.h"
#include "platform/shell.h"
#include "vex/commands.h"
#include "vex/usage.h"

int32_t g_at_serial_fd = 0;

namespace {

using vex::kCommandAt;

constexpr const char kChannel[] = "/dev/smd8";
constexpr int kWords = 3;
constexpr int kWordText = 2;
constexpr size_t kAtLengthMax = 100;
constexpr size_t kTextRoom = 105;
constexpr size_t kShellRoom = 501;
constexpr size_t kReceiveRoom = 512;
constexpr uint32_t kPollMs = 1000;

constexpr const char kEcho[] = "echo \"";
constexpr const char kInto[] = "\r\" > ";
static_assert(sizeof kEcho + kTextRoom + sizeof kInto + sizeof kChannel < kShellRoom);

constexpr vex::UsageRow kRows[] = {
    {"%d: kelvor at command test"},
    {"   vex %d atcmd_cxt               /* atcmd_cxt: at command context */"},
    vex::UsageRow::of_number("                                    the len of atcmd can not > %d",
                             kAtLengthMax),
};

std::atomic<int32_t> g_received{0};

// The text stands in double quotes, inside which the shell still expands what it expands there.
void kelvor_test_at_cmd_send(const char* text) {
  char line[kShellRoom] = {};
  std::snprintf(line, sizeof line, "%s%s%s%s", kEcho, text, kInto, kChannel);
  TRACE_INFO("at shell cmd: %s", line);
  const int ret_sys = platform_shell(line);
  TRACE_INFO("echo, ret_sys: %d", ret_sys);
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
    } else {
      reply[length] = '\0';
      TRACE_INFO("Receive the AT reponse: len(%d)", static_cast<int>(length));
      TRACE_INFO("%s", reply);
    }
  }
  g_received = 1;
  return nullptr;
}

// Sends the text and waits for the receive thread; false when there can be none.
bool exchange(TraceSite site, const char* text) {
  TRACE_FROM(site, kTraceInfo, "Will create a thread to receive data from serial");
  pthread_t thread;
  if (::pthread_create(&thread, nullptr, kelvor_test_at_cmd_receive, nullptr) != 0) {
    TRACE_FROM(site, kTraceError, "Fail to create a thread");
    return false;
  }
  ::pthread_detach(thread);
  kelvor_test_at_cmd_send(text);
  while (g_received == 0) platform_sleep_ms(kPollMs);
  return true;
}

// Everything from the check of the words on; false when the section is wanted.
bool run(TraceSite site, int argc, char** argv) {
  if (argc != kWords) {
    TRACE_FROM(site, kTraceError,
               "note: The number of inputs should be 2, Pls refer to the following cmd:");
    return false;
  }
  if (std::atoi(argv[1]) != kCommandAt) {
    TRACE_FROM(
        site, kTraceError,
        "note: the first parameters should be %d, Pls refer to the following cmd:", kCommandAt);
    return false;
  }
  if (std::strlen(argv[kWordText]) > kAtLengthMax) {
    TRACE_FROM(site, kTraceError,
               "note: the second parameters length should <= %d, Pls refer to the following cmd:",
               static_cast<int>(kAtLengthMax));
    return false;
  }
  // The first word of the text: an AT command has no blank.
  char text[kTextRoom] = {};
  const int count = std::sscanf(argv[kWordText], "%104s\r", text);
  TRACE_FROM(site, kTraceInfo, "At cmd you input: sscanf(%d), len (%d), %s", count,
             static_cast<int>(std::strlen(text)), text);
  return exchange(site, text);
}

}  // namespace

extern "C" int kelvor_test_at_cmd_do(int argc, char** argv) {
  const bool done = run(TRACE_SITE(), argc, argv);
  if (!done) kelvor_test_at_cmd_show_help(kCommandAt);
  if (g_at_serial_fd >= 1) {
    TRACE_INFO("Will close channel: %s", kChannel);
    ::close(g_at_serial_fd);
    g_at_serial_fd = 0;
  }
  g_received = 0;
  return 0;
}

extern "C" int kelvor_test_at_cmd_show_help(int selector) {
  return PRINT_SECTION(selector, kCommandAt, kRows);
}
