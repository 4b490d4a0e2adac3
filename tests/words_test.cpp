// Wrong words: every command notes them, prints its own section and sends nothing.

#include "platform/kelvor_utils.h"
#include "support/command.h"

namespace {

struct Family {
  int number;
  desk::Handler handler;
  int (*show_section)(int selector);
};
constexpr Family kFamilies[] = {
#define FAMILY(name, number, handler, section_printer) {number, handler, section_printer},
    VEX_COMMANDS(FAMILY)
#undef FAMILY
};

const std::string kFew = "Too few parameters, Pls refer to the following cmd:";
const std::string kSecond = "the second parameters is invalid, Pls refer to the following cmd:";
// What the RF commands say behind the section.
const std::string kRfError = "note: Error happen! error_code(268431370)\n";

struct Words : desk::Desk {
  // Errors and usage, without "RIL[source:line] function: ".
  static std::string shown(const Family& family, std::vector<std::string> words) {
    kelvor_hal_set_shell_print_mask(1 | 8);  // command 9 sets its own
    std::string all;
    for (const std::string& line : desk::trace_messages(desk::run_command(family.handler, words))) {
      all += line + "\n";
    }
    return all;
  }
  static std::string section(const Family& family) {
    return desk::output_of([&] { family.show_section(family.number); });
  }
  void SetUp() override { start_modem(); }
  void TearDown() override { EXPECT_EQ(requests(), 0u); }
};

TEST_F(Words, ThatAreWrongGetTheirNoteAndTheSection) {
  const std::string many = " 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1";
  std::string too_many = "4 2 0 10";
  for (int i = 0; i < 13; ++i) too_many += many;
  const struct {
    std::string note;
    std::vector<std::string> lines;
    std::string behind = "";
  } rows[] = {
      {kFew, {"3", "4", "5", "6", "6 2", "7", "9", "9 0", "10", "10 0", "11", "11 3", "11 6"}},
      {kFew, {"11 8", "12"}},
      {kFew + "\nkelvor_test_modem_stats_parsing_process FAIL", {"7 0"}},
      {kFew + "\nkelvor_test_modem_stats_get_debug_info FAIL", {"7 1"}},
      {kSecond, {"3 99", "3 -1", "4 0", "4 99 0 1", "5 -1", "5 9", "5 99", "12 99", "12 -1"}},
      {"Cmd error, should be: vex 3 1 , Pls refer to the following cmd:", {"3 1 1"}, kRfError},
      {"Cmd error, should be: vex 3 2 , Pls refer to the following cmd:", {"3 2 1"}, kRfError},
      {"Cmd error, should be: vex 3 4 , Pls refer to the following cmd:", {"3 4 1"}, kRfError},
      {"Cmd error, should be: vex 3 5 , Pls refer to the following cmd:", {"3 5 1"}, kRfError},
      {"need 5 inputs, Pls refer to the following cmd:", {"3 3 1 4", "3 3 1 4 1 1"}, kRfError},
      {"need 5 inputs, Pls refer to the following cmd:", {"4 1 0", "4 1 0 550 1", "4 6 0"}},
      {"need 3 inputs, Pls refer to the following cmd:", {"5 1 0", "5 4 0"}},
      {"need 4 inputs, Pls refer to the following cmd:", {"5 2", "5 2 0 0"}},
      {"need 6 inputs, Pls refer to the following cmd:", {"5 3 0 1", "5 3 0 1 1 1"}},
      {"need 4 inputs at least, Pls refer to the following cmd:", {"5 6"}},
      {"need 7 inputs, Pls refer to the following cmd:", {"5 6 1", "5 6 1 2 2", "5 6 2 2 2 3 4"}},
      {"Too few inputs, Pls refer to the following cmd:",
       {"4 2 0 10", "4 5 0", "5 0", "5 0 0 0 9"}},
      {"Too many inputs, at most 365 data, Pls refer to the following cmd:", {too_many}},
      {"the second parameters(qmi_id) should be >= 0 && < 6", {"6 6 1", "6 -1 1"}},
      {"invalid type = 2", {"7 2 x"}},
      {"The number of inputs should be 2, Pls refer to the following cmd:", {"8", "8 AT Z"}},
      {"the second parameters length should <= 100, Pls refer to the following cmd:",
       {"8 " + std::string(101, 'A')}},
      {"sub_mask(0) is invalid:", {"10 0 0"}},
      {"sub_mask(4) is invalid:", {"10 0 4"}},
      {"sub_mask(-1) is invalid:", {"10 1 -1"}},
      {"invalid mbn_i = 2", {"10 2 1"}},
      {"opt(2) is invalid:", {"11 3 2"}},
      {"opt(-1) is invalid:", {"11 4 -1"}},
      {"invalid par_i = 9", {"11 9"}},
      {"invalid par_i = -1", {"11 -1"}},
  };
  for (const auto& row : rows) {
    const std::string note = (row.note.starts_with("invalid") ? "" : "note: ") + row.note + "\n";
    for (const std::string& line : row.lines) {
      const Family& family = kFamilies[std::stoi(line) - kFamilies[0].number];
      const std::string all = shown(family, desk::split(line));
      EXPECT_EQ(all, note + section(family) + row.behind) << line;
    }
  }
}

TEST_F(Words, OfAnotherCommandAreNotTaken) {
  for (const Family& family : kFamilies) {
    const std::string note = "note: the first parameters should be " +
                             std::to_string(family.number) + ", Pls refer to the following cmd:\n";
    std::vector<std::string> words = {"99", "1", "1", "1"};
    if (family.number == 8) words.resize(2);
    if (family.number == 4) words.resize(1);  // it alone checks its number first
    EXPECT_EQ(shown(family, words), note + section(family));
  }
}

}  // namespace
