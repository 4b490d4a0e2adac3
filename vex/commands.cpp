#include "vex/commands.h"

#include <cstdlib>
#include <iterator>

#include "common/result.h"
#include "common/trace.h"
#include "vex/record.h"
#include "vex/usage.h"

namespace {

// Numbers without a handler.
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

constexpr struct {
  int number;
  int (*handler)(int argc, char** argv);
  int (*show_section)(int selector);
} kCommands[] = {
#define COMMAND(name, number, handler, section_printer) {number, handler, section_printer},
    VEX_COMMANDS(COMMAND)
#undef COMMAND
};

constexpr bool in_order_of_commands() {
  for (size_t i = 0; i < std::size(kCommands); ++i) {
    if (kCommands[i].number != static_cast<int>(i) + kReserved + 1) return false;
  }
  return true;
}
static_assert(in_order_of_commands());

}  // namespace

extern "C" void show_help(int selector) {
  const Operation operation(__func__);
  TRACE_USAGE("%s",
              "=========== blew: modem_test_box(vex) cmd help "
              "=======================================================");
  for (const vex::UsageRow& row : kNvOptionRows) {
    if (selector == 0 || selector == kNvOption) print(row, kNvOption);
  }
  for (const auto& command : kCommands) command.show_section(selector);
  TRACE_USAGE("%s",
              "=========== above: modem_test_box(vex) cmd help "
              "=======================================================\n");
}

int vex::run(int argc, char** argv) {
  const RunRecord record(argc, argv);
  const int number = argc < 2 ? 0 : std::atoi(argv[1]);
  if (number == kNvOption || number == kReserved) {
    TRACE_INFO("Not support");
    result::unsupported();
    return 0;
  }
  for (const auto& command : kCommands) {
    if (command.number != number) continue;
    command.handler(argc, argv);
    return 0;
  }
  result::usage();
  show_help(0);
  return 0;
}
