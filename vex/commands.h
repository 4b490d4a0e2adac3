// The command families: a handler and a usage section each.
//
// A handler gets the tool's whole argument vector: argv[1] is the command number, its own words
// begin at argv[2]. It reports by trace lines alone; its result is ignored. A section printer
// prints its rows when the selector is 0 or its own command.
#ifndef VEX_COMMANDS_H_
#define VEX_COMMANDS_H_

namespace vex {

inline constexpr int kCommandRf = 3;
inline constexpr int kCommandNvEfs = 4;
inline constexpr int kCommandCommon = 5;
inline constexpr int kCommandQmiSend = 6;
inline constexpr int kCommandDiagStats = 7;
inline constexpr int kCommandAt = 8;
inline constexpr int kCommandQmiStats = 9;
inline constexpr int kCommandMbn = 10;
inline constexpr int kCommandSmart = 11;
inline constexpr int kCommandScan = 12;

}  // namespace vex

extern "C" {

int kelvor_test_rf_do(int argc, char** argv);
int kelvor_test_rf_show_help(int selector);
int kelvor_test_nvefs_do(int argc, char** argv);
int kelvor_test_nvefs_show_help(int selector);
int kelvor_test_cmn_do(int argc, char** argv);
int kelvor_test_cmn_show_help(int selector);
int kelvor_test_qmi_send_data_do(int argc, char** argv);
int kelvor_test_qmi_send_data_show_help(int selector);
int kelvor_test_at_cmd_do(int argc, char** argv);
int kelvor_test_at_cmd_show_help(int selector);
int kelvor_test_mbn_do(int argc, char** argv);
int kelvor_test_mbn_show_help(int selector);
int kelvor_smart_test_do(int argc, char** argv);
int kelvor_smart_test_show_help(int selector);
int kelvor_test_qmi_do(int argc, char** argv);
int kelvor_test_qmi_show_help(int selector);

// The two statistics families' printers bear each other's names: command 7's is the one named qmi,
// command 9's the other.
int kelvor_test_modem_stats_do(int argc, char** argv);      // command 7
int kelvor_test_qmi_modem_stats_show_help(int selector);    // command 7
int kelvor_test_qmi_modem_stats_do(int argc, char** argv);  // command 9
int kelvor_test_modem_stats_show_help(int selector);        // command 9

// The complete usage text for selector 0, else the header, one section and the footer.
void show_help(int selector);

}  // extern "C"

#endif  // VEX_COMMANDS_H_
