// The card tray and its hot-swap test, by command 5's card items.

#include "support/command.h"

namespace {

using namespace std::chrono_literals;

struct Cmn : desk::Desk {
  // The octets of the command's dump.
  static std::string dumped(const std::string& words) {
    std::string octets;
    const std::string output = desk::run_command(kelvor_test_cmn_do, words);
    const size_t data = output.find("\ndata:\n");
    for (const std::string& message : desk::trace_messages(output.substr(data + 7))) {
      octets += message;
    }
    return octets;
  }
};

TEST_F(Cmn, TheTrayIsThePhones) {
  start_modem("");
  dumped("5 3 1 1 0");
  EXPECT_TRUE(directory_.file("cards/tray").starts_with("1 1 1 0 0 0 0 0 0 "));
  directory_.write("cards/tray", "1 0 0 1 0 0 0 0 0\n");
  EXPECT_EQ(dumped("5 2 0"), " 00 00 00 00");
  EXPECT_EQ(dumped("5 2 1"), " 01 00 00 00");
  directory_.write("cards/tray", "1 1 1 1 1 0 3600 1000 0 another-start\n");
  EXPECT_EQ(dumped("5 2 0"), " 01 00 00 00") << "a hot-swap test of an earlier start";
  for (const char* broken : {"", "1 0 0", "x", "1 0 0 1 0 0 0 0 99999999999\n"}) {
    directory_.write("cards/tray", broken);
    EXPECT_EQ(dumped("5 2 0"), " 01 00 00 00") << broken;
  }
}

TEST_F(Cmn, AHotSwapTestPushesAndPullsInTimeUntilItIsStopped) {
  start_modem();
  const auto present = [] { return dumped("5 2 0").substr(1, 2); };
  EXPECT_EQ(dumped("5 6 1 2 3 2"), " 01 00 00 00 00 00 00 00");
  const std::pair<std::chrono::milliseconds, const char*> rows[] = {
      {1999ms, "01"}, {1ms, "00"},    {2999ms, "00"},  {1ms, "01"},
      {2000ms, "00"}, {3000ms, "01"}, {100000ms, "01"}};
  for (const auto& [pause, state] : rows) {
    clock_.advance(pause);
    EXPECT_EQ(present(), state) << pause.count();
  }
  EXPECT_EQ(dumped("5 6 0"), " 00 00 00 00 02 00 00 00") << "it ended by itself";
  dumped("5 6 1 2 3 1000");
  clock_.advance(14s);
  EXPECT_EQ(present(), "00");
  EXPECT_EQ(dumped("5 6 0"), " 00 00 00 00 02 00 00 00") << "the third is not over";
  EXPECT_EQ(present(), "01");
  EXPECT_EQ(dumped("5 6 1 0 0 5"), " 00 00 00 00 00 00 00 00") << "it takes no time";
  dumped("5 6 1 1 1 4000000000");
  clock_.advance(1s);
  EXPECT_EQ(present(), "00");
}

}  // namespace
