// The commands: a number, a handler and a section printer each.
//
// A handler gets the tool's whole argument vector: argv[1] is the command number, its own words
// begin at argv[2]. It reports by trace lines alone; its result is ignored. A section printer
// prints its rows when the selector is 0 or its own command, and returns the selector.
//
// They are C functions because other programs link them. One command runs at a time: handlers keep
// state of the process, and are called on one thread.
#pragma once

// In the order of their numbers, which is that of the usage text. The two statistics commands'
// printers bear each other's names: command 7's is the one named qmi, command 9's the other.
#define VEX_COMMANDS(X)                                                              \
  X(Rf, 3, kelvor_test_rf_do, kelvor_test_rf_show_help)                              \
  X(NvEfs, 4, kelvor_test_nvefs_do, kelvor_test_nvefs_show_help)                     \
  X(Common, 5, kelvor_test_cmn_do, kelvor_test_cmn_show_help)                        \
  X(QmiSend, 6, kelvor_test_qmi_send_data_do, kelvor_test_qmi_send_data_show_help)   \
  X(DiagStats, 7, kelvor_test_modem_stats_do, kelvor_test_qmi_modem_stats_show_help) \
  X(At, 8, kelvor_test_at_cmd_do, kelvor_test_at_cmd_show_help)                      \
  X(QmiStats, 9, kelvor_test_qmi_modem_stats_do, kelvor_test_modem_stats_show_help)  \
  X(Mbn, 10, kelvor_test_mbn_do, kelvor_test_mbn_show_help)                          \
  X(Smart, 11, kelvor_smart_test_do, kelvor_smart_test_show_help)                    \
  X(Scan, 12, kelvor_test_qmi_do, kelvor_test_qmi_show_help)

#define VEX_DECLARE_COMMAND(name, number, handler, section_printer) \
  namespace vex {                                                   \
  inline constexpr int kCommand##name = number;                     \
  }                                                                 \
  extern "C" int handler(int argc, char** argv);                    \
  extern "C" int section_printer(int selector);
VEX_COMMANDS(VEX_DECLARE_COMMAND)
#undef VEX_DECLARE_COMMAND

// The complete usage text for selector 0, else the header, one section and the footer.
extern "C" void show_help(int selector);

namespace vex {

// Runs the command that argv[1] names. Always 0: failures are reported by trace lines.
int run(int argc, char** argv);

}  // namespace vex
