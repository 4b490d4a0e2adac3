// vex: the dispatcher. Its exit status is 0 whatever happened; failures are told by trace lines.

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "common/trace.h"
#include "vex/commands.h"
#include "vex/usage.h"

namespace {

constexpr int kNvOption = 1;
constexpr int kReserved = 2;

// Advertised although the command itself is not supported.
constexpr vex::UsageRow kNvOptionRows[] = {
    {"%d: nv option cmd\n"},
    {"   vex %d 1       /* nv test */\n"},
    {"   vex %d 2 0     /* nv backup(no privacy nvs) */\n"},
    {"   vex %d 2 1     /* nv backup(have privacy nvs) */\n"},
    {"   vex %d 3 0     /* nv restore(no goldencopy done after restore) */\n"},
    {"   vex %d 3 1     /* nv restore(do goldencopy done after restore) */\n"},
    {"   vex %d 4 nvid  /* nv delete */\n"},
};

// The sections are printed in this order.
struct Family {
  int command;
  int (*run)(int argc, char** argv);
  int (*show_section)(int selector);
};
constexpr Family kFamilies[] = {
    {vex::kCommandRf, kelvor_test_rf_do, kelvor_test_rf_show_help},
    {vex::kCommandNvEfs, kelvor_test_nvefs_do, kelvor_test_nvefs_show_help},
    {vex::kCommandCommon, kelvor_test_cmn_do, kelvor_test_cmn_show_help},
    {vex::kCommandQmiSend, kelvor_test_qmi_send_data_do, kelvor_test_qmi_send_data_show_help},
    {vex::kCommandDiagStats, kelvor_test_modem_stats_do, kelvor_test_qmi_modem_stats_show_help},
    {vex::kCommandAt, kelvor_test_at_cmd_do, kelvor_test_at_cmd_show_help},
    {vex::kCommandQmiStats, kelvor_test_qmi_modem_stats_do, kelvor_test_modem_stats_show_help},
    {vex::kCommandMbn, kelvor_test_mbn_do, kelvor_test_mbn_show_help},
    {vex::kCommandSmart, kelvor_smart_test_do, kelvor_smart_test_show_help},
    {vex::kCommandScan, kelvor_test_qmi_do, kelvor_test_qmi_show_help},
};

constexpr bool in_order_of_commands() {
  for (size_t i = 0; i < std::size(kFamilies); ++i) {
    if (kFamilies[i].command != vex::kCommandRf + static_cast<int>(i)) return false;
  }
  return true;
}
static_assert(in_order_of_commands() && std::size(kFamilies) == 10);

}  // namespace

extern "C" void show_help(int selector) {
  TRACE_USAGE("%s",
              "=========== blew: modem_test_box(vex) cmd help "
              "=======================================================");
  PRINT_SECTION(selector, kNvOption, kNvOptionRows);
  for (const Family& family : kFamilies) family.show_section(selector);
  TRACE_USAGE("%s",
              "=========== above: modem_test_box(vex) cmd help "
              "=======================================================\n");
}

int main(int argc, char** argv) {
  // What was closed by the caller must not become the log or the modem.
  while (true) {
    const int fd = ::open("/dev/null", O_RDWR);
    if (fd > STDERR_FILENO || fd < 0) {
      if (fd >= 0) ::close(fd);
      break;
    }
  }
  // A reader that goes away, or a file that may grow no more, ends the output, never a sequence of
  // requests in its middle. (A handler, unlike "ignore", is not handed on to a shell.)
  for (const int number : {SIGPIPE, SIGXFSZ}) std::signal(number, [](int) {});
  // A reader at the other end of a pipe sees each line when it is written, however the run ends.
  static char line[BUFSIZ];
  std::setvbuf(stdout, line, _IOLBF, sizeof line);
  const int command = argc < 2 ? 0 : std::atoi(argv[1]);
  if (command == kNvOption || command == kReserved) {
    TRACE_INFO("Not support");
    return 0;
  }
  for (const Family& family : kFamilies) {
    if (family.command != command) continue;
    family.run(argc, argv);
    return 0;
  }
  show_help(0);
  return 0;
}
