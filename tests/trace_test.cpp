// Trace lines, and the number and hex text helpers.

#include "common/trace.h"

#include <gtest/gtest.h>

#include <thread>

#include "platform/kelvor_utils.h"
#include "support/desk.h"
#include "vex/text.h"

namespace {

using desk::output_of;

class Trace : public testing::Test {
 protected:
  // A log line without its time and pid.
  std::string last_logged() const {
    std::string log = directory_.file("log/system.log");
    log.pop_back();
    log = log.substr(log.rfind('\n') + 1);
    return log.substr(log.find_first_of("DE", 24));
  }
  desk::PhoneDirectory directory_;
};

void say(TraceLevel level, const char* file, const char* message) {
  trace_write(level, file, 12, "work", "%s", message);
}

TEST_F(Trace, LinesAreFormedByLevelAndSink) {
  const std::string name = kelvor_get_current_pid_name();
  static const struct {
    TraceLevel level;
    const char* file;
    const char* message;
    const char* shell;
    char priority;
    const char* logged;  // behind the process name
  } kRows[] = {
      {kTraceError, "vex/a/b.cpp", "broken", "RIL[b.cpp:12] work: broken\n", 'E',
       "[b.cpp:12] work: broken"},
      {kTraceInfo, "b.cpp", "going", "RIL[b.cpp:12] work: going\n", 'D', "[b.cpp:12] work: going"},
      {kTraceDebug, "/b.cpp", "x", "RIL[b.cpp:12] work: x\n", 'D', "[b.cpp:12] work: x"},
      {kTraceUsage, "vex/b.cpp", "row", "row\n", 'D', "[b.cpp:12] work: row"},
      {kTraceUsage, "vex/b.cpp", "row\n", "row\n\n", 'D', "[b.cpp:12] work: row\\n"},
      {kTraceInfo, "dir/", "a\nb", "RIL[:12] work: a\nb\n", 'D', "[:12] work: a\\nb"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(output_of([&] { say(row.level, row.file, row.message); }), row.shell);
    EXPECT_EQ(last_logged(), std::string(1, row.priority) + " [" + name + "]" + row.logged);
  }
}

TEST_F(Trace, ABoundProcessIsLoggedByItsInstance) {
  ::setenv("VEX_PROCESS_INSTANCE", "1", 1);
  EXPECT_EQ(output_of([] { say(kTraceInfo, "b.cpp", "x"); }), "RIL[b.cpp:12] work: x\n");
  EXPECT_EQ(last_logged(), "D SUB[1][b.cpp:12] work: x");
}

TEST_F(Trace, ClosedOutputStaysClosed) {
  say(kTraceInfo, "b", "before");
  const std::string log = directory_.file("log/system.log");
  kelvor_hal_close_print();
  kelvor_hal_set_shell_print_mask(15);
  EXPECT_EQ(output_of([] { say(kTraceError, "b", "after"); }), "");
  EXPECT_EQ(directory_.file("log/system.log"), log);
}

TEST_F(Trace, LongMessagesAreWhole) {
  const std::string message(5000, 'm');
  EXPECT_EQ(output_of([&] { say(kTraceUsage, "b", message.c_str()); }), message + "\n");
}

int help() {
  TRACE_INFO("help");
  return -104;
}
constexpr int kHelpLine = __LINE__ - 3;

TEST_F(Trace, MessagesNameTheInnermostOperationOfTheirThread) {
  const TraceSite inner("inner");
  const std::string output = output_of([&] {
    traced({"outer", "q/k.cpp", 3}, [&] {
      {
        const TraceScope scope(inner);
        help();
      }
      std::thread(help).join();
      return help();
    });
  });
  const std::string here = "RIL[trace_test.cpp:";
  const std::string opened = here + std::to_string(inner.line) + "] inner: ";
  const std::string helps = here + std::to_string(kHelpLine) + "] ";
  EXPECT_EQ(output, "RIL[k.cpp:3] outer: function entry ------------->\n" +  //
                        opened + "function entry ------------->\n" +         //
                        helps + "inner: help\n" +                            //
                        opened + "function exit <-------------\n" +          //
                        helps + "help: help\n" +                             //
                        "RIL[k.cpp:3] outer: help\n"
                        "RIL[k.cpp:3] outer: function exit, ret = -104 <-------------\n");
}

TEST(Text, NumbersKeepTheirOddLimits) {
  static const struct {
    const char* text;
    int32_t number;
  } kRows[] = {
      {"12", 12},
      {"0x12", 18},
      {"0X1f", 31},
      {"0x1F", 31},
      {"x1F", 0},
      {"0x", 0},
      {"-5", -5},
      {"0x-5", 5},
      {" 7", 7},
      {"9z", 9},
      {"", 0},
      {"0x1g", 16},
      {"0x7FFFFFFF", 2147483647},
      {"0x80000000", 2147483647},
      {"0xFFFFFFFF", -1879048194},
      {"0x100000000", 2147483647},
      // The first digit saturates, and the last one wraps the sum.
      {"0x10000000000000000000000000000000000000000000000001", -2147483648},
  };
  for (const auto& row : kRows) EXPECT_EQ(kelvor_string_to_int(row.text), row.number) << row.text;
  EXPECT_EQ(kelvor_hex_string_to_int("ff"), 255);
  // Digits beyond the fiftieth are not looked at.
  const std::string fifty = std::string(49, '0') + "7";
  EXPECT_EQ(kelvor_hex_string_to_int((fifty + "123").c_str()), 7);
}

TEST_F(Trace, NullNumbersAreNotedAndZero) {
  int32_t number = 1;
  const std::string output = output_of([&] { number = kelvor_string_to_int(nullptr); });
  EXPECT_EQ(number, 0);
  EXPECT_TRUE(output.starts_with("RIL[text.cpp:")) << output;
  EXPECT_TRUE(output.ends_with("kelvor_string_to_int: \ninput is null\n\n")) << output;
}

TEST(Text, OctetsBecomeTwoLowerCaseDigits) {
  const uint8_t octets[] = {0x0A, 0xFF, 0x30};
  char out[8] = "-------";
  kelvor_byte_to_hex(octets, 2, out);
  EXPECT_STREQ(out, "0aff---");
  kelvor_byte_to_hex(nullptr, 2, out);
  kelvor_byte_to_hex(octets, 0, out);
  kelvor_byte_to_hex(octets, -1, out);
  EXPECT_STREQ(out, "0aff---");
}

}  // namespace
