// The programs as a person runs them.

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <regex>
#include <thread>

#include "qcci/link/local_socket.h"
#include "sim/services/make_modem.h"
#include "sim/serving/server.h"
#include "support/command.h"
#include "support/vireo_desk.h"

namespace {

using desk::Ran;
using desk::run;
using desk::said;

struct Tool : testing::Test {
  // vex without its debug lines.
  static std::string vex(const std::string& words) {
    const Ran ran = run("VEX_SHELL_LEVELS=11 $BIN/vex " + words);
    EXPECT_EQ(ran.status, 0) << words << "\n" << ran.output;
    return ran.output;
  }
  // The dump of a read: its octets as " %02X" lines.
  static std::string dumped(const std::string& words) {
    std::string octets;
    for (const std::string& message : desk::trace_messages(vex(words))) {
      if (message.size() == 3 && message[0] == ' ') octets += message;
    }
    return octets;
  }
  desk::PhoneDirectory directory_;
};

TEST_F(Tool, PrintsTheWholeUsageForWhatIsNoCommand) {
  std::ifstream in(VEX_TEST_DATA "/usage.txt");
  const std::string usage{std::istreambuf_iterator<char>(in), {}};
  ASSERT_GT(usage.size(), 6000u);
  for (const char* words : {"", "0", "13", "-1", "abc", "99999999999"}) {
    EXPECT_EQ(vex(words), usage) << words;
  }
}

TEST_F(Tool, ReservedCommandsSayNotSupport) {
  for (const char* words : {"1", "2 0", " 1x"}) {
    const std::string output = vex(words);
    EXPECT_TRUE(output.starts_with("RIL[kelvor_vex_test_main.cpp:")) << output;
    EXPECT_TRUE(output.ends_with("] main: Not support\n")) << output;
  }
}

TEST_F(Tool, ReadsAndWritesItemsAndFiles) {
  EXPECT_EQ(dumped("4 1 0 550"), " 08 1A 32 54 76 98 10 32 74");
  EXPECT_EQ(dumped("4x 1 0 550"), " 08 1A 32 54 76 98 10 32 74");
  const std::string output = vex("4 1 0 550");
  EXPECT_NE(output.find(": data len(9)\ndata: \n\nRIL["), std::string::npos) << output;
  EXPECT_TRUE(output.ends_with("kelvor_nvefs_test_nv_read: \n")) << output;

  EXPECT_EQ(vex("4 2 0 10 1 2 3 300 -1 x"), "");
  EXPECT_EQ(dumped("4 1 0 10"), " 01 02 03 2C FF 00");
  EXPECT_EQ(vex("4 3 0 10"), "");
  EXPECT_TRUE(said(vex("4 1 0 10"), "note: Error happen! error_code(-2)"));
  EXPECT_EQ(vex("4 5 0 /nv/item_files/x 9 8 7"), "");
  EXPECT_EQ(directory_.file("efs/0/nv/item_files/x"), "\x09\x08\x07");
  EXPECT_EQ(dumped("4 4 0 /nv/item_files/x"), " 09 08 07");
  EXPECT_EQ(vex("4 6 0 /nv/item_files/x"), "");
  EXPECT_FALSE(directory_.has("efs/0/nv/item_files/x"));
}

TEST_F(Tool, WrongWordsGetTheirNoteAndTheSectionOnly) {
  const std::string section = [] {
    const std::string all = vex("0");
    const size_t at = all.find("4: nvefs option cmd: \n");
    return all.substr(at, all.find("5: cmn option cmd: ") - at);
  }();
  ASSERT_FALSE(section.empty());
  const std::string many = [] {
    std::string words;
    for (int i = 0; i < 366; ++i) words += " 1";
    return words;
  }();
  const std::pair<std::string, const char*> rows[] = {
      {"4", "note: Too few parameters, Pls refer to the following cmd:"},
      {"4 7 0 1", "note: the second parameters is invalid, Pls refer to the following cmd:"},
      {"4 0", "note: the second parameters is invalid, Pls refer to the following cmd:"},
      {"4 1 0", "note: need 5 inputs, Pls refer to the following cmd:"},
      {"4 1 0 550 1", "note: need 5 inputs, Pls refer to the following cmd:"},
      {"4 6 0", "note: need 5 inputs, Pls refer to the following cmd:"},
      {"4 2 0 10", "note: Too few inputs, Pls refer to the following cmd:"},
      {"4 5 0", "note: Too few inputs, Pls refer to the following cmd:"},
      {"4 2 0 10" + many,
       "note: Too many inputs, at most 365 data, Pls refer to the following cmd:"},
  };
  for (const auto& [words, note] : rows) {
    const std::string output = vex(words);
    EXPECT_TRUE(said(output, note)) << output;
    EXPECT_EQ(output.substr(output.find('\n') + 1), section) << words;
  }
  const std::string log = directory_.file("log/system.log");
  EXPECT_EQ(log.find("kelvor_test_nvefs_do:    vex"), std::string::npos) << "the printer's rows";
  EXPECT_EQ(log.find("[usage.cpp:"), std::string::npos) << "and its source";
  EXPECT_FALSE(directory_.has("nv/0/10"));
  EXPECT_TRUE(said(vex("4 1 0 7233"), "nv_id is out range(7232)"));
  EXPECT_TRUE(said(vex("4 1 -1 5"), "sub invalid"));
  EXPECT_EQ(vex("4 2 0 10" + many.substr(2)), "") << "365 are taken";
  EXPECT_EQ(directory_.file("nv/0/10").size(), 365u);
}

TEST_F(Tool, RefreshesAndReactivatesCarrierConfigurations) {
  const std::pair<const char*, const char*> refused[] = {
      {"10", "note: Too few parameters, Pls refer to the following cmd:"},
      {"10 0", "note: Too few parameters, Pls refer to the following cmd:"},
      {"10 0 0", "note: sub_mask(0) is invalid:"},
      {"10 0 4", "note: sub_mask(4) is invalid:"},
      {"10 1 -1", "note: sub_mask(-1) is invalid:"},
      {"10 2 1", "invalid mbn_i = 2"},
  };
  for (const auto& [words, note] : refused) {
    const std::string output = vex(words);
    EXPECT_TRUE(said(output, note)) << output;
    EXPECT_EQ(output.substr(output.find('\n') + 1, 22), "10: kelvor mbn test\n\n ") << output;
  }
  const std::string active = directory_.file("pdc/software/0");
  EXPECT_EQ(vex("10 0 3"), "");
  EXPECT_EQ(vex("10 1 3"), "");
  EXPECT_EQ(directory_.file("pdc/software/0"), active);
  const std::string log = directory_.file("log/system.log");
  EXPECT_NE(log.find("SUB_1 pdc_activate_config ret_val 0"), std::string::npos);
  EXPECT_EQ(run("ulimit -f 1; $BIN/vex 10 1 1").status, 0) << "with a log that may not grow";
  run("($BIN/vex 10 1 1; echo $? >$VEX_PHONE/status) | true");
  EXPECT_EQ(directory_.file("status"), "0\n") << "with nobody who reads";
  EXPECT_EQ(directory_.file("pdc/software/0"), active);
  directory_.write("pdc/software/0", "");
  EXPECT_TRUE(said(vex("10 1 3"), "SUB_0 pdc_get_current_config fail"));
}

TEST_F(Tool, WithoutAModemTheFailureIsToldAndTheStatusIsZero) {
  const std::pair<const char*, const char*> kModems[] = {
      {"unix:/nowhere", "vex: no modem: nobody serves one at /nowhere"},
      {"qmi", "vex: no modem: VEX_MODEM is \"qmi\", not embedded, unix:PATH or qrtr"}};
  for (const auto& [modem, why] : kModems) {
    const Ran ran = run("VEX_MODEM=" + std::string(modem) + " $BIN/vex 4 1 0 550");
    EXPECT_TRUE(said(ran.output, why)) << ran.output;
    EXPECT_EQ(ran.status, 0);
    EXPECT_TRUE(said(ran.output, "-2 QMI client init failed")) << ran.output;
    EXPECT_TRUE(said(ran.output, "note: Error happen! error_code(-102)")) << ran.output;
  }
  directory_.write("phone.toml", "[sar]\nstate = 1\nbad = 1\n");
  const Ran ran = run("$BIN/vex 4 1 0 550");
  EXPECT_NE(ran.output.find("vex: no modem: " + directory_.root() +
                            "/phone.toml:3: sar: unknown key \"bad\"\n"),
            std::string::npos)
      << ran.output;
}

TEST_F(Tool, AVariableThatIsNoNumberOfItsRangeIsToldOnceAndHasItsDefault) {
  const std::pair<const char*, const char*> rows[] = {
      {"VEX_SHELL_LEVELS=abc",
       "VEX_SHELL_LEVELS is \"abc\", not a number from 0 to 15; using all levels"},
      {"VEX_LOG_LEVELS=1x",
       "VEX_LOG_LEVELS is \"1x\", not a number from 0 to 15; using all levels"},
      {"VEX_LOG_LEVELS=16",
       "VEX_LOG_LEVELS is \"16\", not a number from 0 to 15; using all levels"},
      {"VEX_PROCESS_INSTANCE=-1",
       "VEX_PROCESS_INSTANCE is \"-1\", not a number from 0 to 1; using none"},
      {"VEX_PROCESS_INSTANCE= VEX_SHELL_LEVELS=0xF", nullptr}};
  const std::string usual = run("$BIN/vex").output;
  for (const auto& [setting, why] : rows) {
    const std::string line = why == nullptr ? "" : "vex: " + std::string(why) + "\n";
    EXPECT_EQ(run(std::string(setting) + " $BIN/vex 2>&1 >$VEX_PHONE/out").output, line);
    EXPECT_EQ(directory_.file("out"), usual) << setting;
  }
  EXPECT_EQ(directory_.file("log/system.log").find("SUB["), std::string::npos);
}

TEST_F(Tool, NoCommandWaitsForAModemThatCannotCome) {
  desk::TestClock& clock = desk::TestClock::install();
  desk::call_process("vex");
  const struct {
    const char* modem;
    const char* toml;
    bool never;
  } modems[] = {{"embedded", "", false},
                {"embedded", "bad = 1\n", true},
                {"unix:/nowhere", "", true},
                {"qmi", "", true}};
  for (const auto& [modem, toml, never] : modems) {
    directory_.write("phone.toml", toml);
    ::setenv("VEX_MODEM", modem, 1);
    EXPECT_EQ(qcci::make_process_link()->never_opens(), never) << modem << toml;
  }
  clock.run_by_itself();
  const std::pair<desk::Handler, const char*> commands[] = {
      {kelvor_test_rf_do, "3 4"},
      {kelvor_test_nvefs_do, "4 1 0 550"},
      {kelvor_test_cmn_do, "5 0 0 0 500 0"},
      {kelvor_test_cmn_do, "5 5"},
      {kelvor_test_cmn_do, "5 10 4 1"},
      {kelvor_test_qmi_send_data_do, "6 0 1"},
      {kelvor_test_modem_stats_do, "7 1 0"},
      {kelvor_test_qmi_modem_stats_do, "9 31 3"},
      {kelvor_test_mbn_do, "10 0 3"},
      {kelvor_smart_test_do, "11 2"},
      {kelvor_test_qmi_do, "12 0"},
  };
  for (const auto& [command, words] : commands) {
    EXPECT_TRUE(desk::run_command(command, words).find("fail") != std::string::npos) << words;
    EXPECT_EQ(clock.passed().count(), 0) << words;
  }
  desk::run_command(kelvor_smart_test_do, "11 8 2");
  EXPECT_GE(clock.passed(), std::chrono::seconds(2)) << "what the user asked for";
}

TEST_F(Tool, EveryLineOfTheLogIsOneMessage) {
  run("$BIN/vex 4 1 0 550; $BIN/vex 0");
  std::ifstream log(directory_.root() + "/log/system.log");
  std::string line;
  size_t lines = 0;
  while (std::getline(log, line)) {
    ++lines;
    EXPECT_EQ(line.substr(4, 1) + line.substr(10, 1) + line.substr(23, 1), "-  ") << line;
    EXPECT_NE(line.find(" [vex]["), std::string::npos) << line;
  }
  EXPECT_GT(lines, 100u);
}

TEST_F(Tool, TwoHundredWritersAtOnceLoseNothing) {
  const Ran ran = run(
      "for i in $(seq 200); do $BIN/vex 4 2 0 $((i + 1000)) $i $((i / 2)) >/dev/null & done; wait");
  EXPECT_EQ(ran.status, 0) << ran.output;
  for (int i = 1; i <= 200; ++i) {
    EXPECT_EQ(directory_.file("nv/0/" + std::to_string(i + 1000)),
              (std::string{static_cast<char>(i), static_cast<char>(i / 2)}))
        << i;
  }
}

TEST_F(Tool, AWriterThatIsKilledLeavesTheOldItemOrTheNew) {
  const std::string ones(300, '\1');
  const std::string twos(300, '\2');
  std::string words[2];
  for (int i = 0; i < 300; ++i) {
    words[0] += " 1";
    words[1] += " 2";
  }
  run("$BIN/vex 4 2 0 7" + words[0]);
  ASSERT_EQ(directory_.file("nv/0/7"), ones);
  for (int i = 0; i < 60; ++i) {
    char delay[16];
    std::snprintf(delay, sizeof delay, "0.%04d", i * 2);
    run("$BIN/vex 4 2 0 7" + words[i % 2] + " >/dev/null & p=$!; sleep " + delay +
        "; kill -9 $p; wait $p");
    const std::string item = directory_.file("nv/0/7");
    ASSERT_TRUE(item == ones || item == twos) << desk::hex(item);
  }
}

// ---- a served phone

constexpr const char kServe[] =
    "rm -f $VEX_PHONE/out; $BIN/vex-phone serve >$VEX_PHONE/out 2>&1 & server=$!; "
    "for i in $(seq 200); do grep -qs listening $VEX_PHONE/out && break; sleep 0.02; done; ";

TEST_F(Tool, AServedModemIsUsedByEveryoneAndByNobodyElse) {
  const Ran ran = run(std::string(kServe) +
                      "ls -l $VEX_PHONE/modem.sock; $BIN/vex-phone show | grep modem; "
                      "for i in $(seq 20); do $BIN/vex 4 2 1 $i $i >/dev/null & w=\"$w $!\"; done; "
                      "wait $w; $BIN/vex-phone serve; kill $server; wait $server; "
                      "$BIN/vex-phone show | grep modem");
  EXPECT_EQ(ran.output.find("srw-------"), 0u) << ran.output;
  EXPECT_NE(ran.output.find("served at modem.sock"), std::string::npos) << ran.output;
  EXPECT_NE(ran.output.find("another process serves this phone"), std::string::npos) << ran.output;
  EXPECT_TRUE(ran.output.ends_with("embedded in each vex\n")) << ran.output;
  EXPECT_FALSE(directory_.has("modem.sock"));
  EXPECT_EQ(directory_.file("out"), "listening on " + directory_.root() + "/modem.sock\n");
  for (int i = 1; i <= 20; ++i) {
    EXPECT_EQ(directory_.file("nv/1/" + std::to_string(i)), std::string(1, static_cast<char>(i)));
  }
}

TEST_F(Tool, AClientThatTheServerHasNoDescriptorForIsRefusedAndFilesStillHaveSome) {
  const rlimit limit{64, 64};
  ::setrlimit(RLIMIT_NOFILE, &limit);
  std::string why;
  const sim::Phone phone = directory_.phone();
  const auto modem = sim::make_modem(phone, &why);
  sim::Server server(*modem);
  ASSERT_TRUE(server.listen(phone, &why)) << why;
  const std::string path = directory_.root() + "/modem.sock";
  const sim::Descriptor stop(::eventfd(0, EFD_CLOEXEC));
  std::thread serving([&] {
    sim::Listener* const listeners[] = {&server};
    sim::serve_modem(*modem, listeners, stop.get());
  });
  qcci::LocalSocketLink clients(path);
  qcci::Endpoint last;
  while (clients.open(&last)) {
  }
  EXPECT_EQ(errno, EUSERS);
  EXPECT_EQ(phone.nv().write("0/1", "x"), 0);
  EXPECT_TRUE(said(run("VEX_MODEM=unix:" + path + " $BIN/vex 5 5").output,
                   "vex: no modem: the one served at " + path + " has no room for another client"));
  ::setenv("VEX_MODEM", ("unix:" + path).c_str(), 1);
  EXPECT_FALSE(qcci::make_process_link()->never_opens()) << "a client may leave";
  ::unsetenv("VEX_MODEM");
  EXPECT_TRUE(said(run("$BIN/vex 5 5").output,
                   "vex: the served modem has no room for another client; using an embedded one"));
  clients.close(last.id);
  EXPECT_TRUE(clients.open(&last)) << "the room of one that has gone";
  ::eventfd_write(stop.get(), 1);
  serving.join();
}

TEST_F(Tool, DiagReachesAServedModemAndAnEmbeddedOneAlike) {
  // Three octets echoed, 133 answered.
  const std::string read = "$BIN/vex 5 0 0 0 1000 0x26 0x26 0x02 | grep -c ' 0x'; ";
  const Ran ran = run("export VEX_SHELL_LEVELS=11; " + read + kServe + read +
                      "$BIN/vex 5 0 1 1 0 0x27 0x58 0x02 1 2 3 >/dev/null; "
                      "$BIN/vex 5 3 0 1 0 >/dev/null; kill $server; wait $server; "
                      "$BIN/vex 5 2 0 | tail -n 4");
  EXPECT_TRUE(ran.output.starts_with("136\n136\n")) << ran.output;
  EXPECT_EQ(directory_.file("nv/0/600"), "\1\2\3");
  EXPECT_TRUE(said(ran.output, " 00")) << ran.output;
  EXPECT_FALSE(said(ran.output, " 01")) << ran.output;
}

TEST_F(Tool, TheEsimTestLeavesResultLinesAloneOnBothStreams) {
  const char* const rows[] = {"4 0", "card_status, [1, 1]\nPRESENT,PRESENT\n",
                              "1 0", "eID=89044099123456789012345678901220\n",
                              "3 0", "eID=89044099123456789012345678901220\n",
                              "5 0", "apdu=08bf34038001009000\nvalue=SUCCEED\n",
                              "5 0", "apdu=08bf34038001019000\nvalue=SUCCEED\n",
                              "2 0", "value=SUCCEED\n"};
  for (size_t i = 0; i < std::size(rows); i += 2) {
    EXPECT_EQ(run("$BIN/vex 5 10 " + std::string(rows[i])).output, rows[i + 1]) << rows[i];
  }
}

TEST_F(Tool, AServerThatDiesInTheMiddleEndsTheRequestAndIsReplaced) {
  run("$BIN/vex-phone init");
  std::ofstream(directory_.root() + "/phone.toml", std::ios::app)
      << "[[fault]]\nservice = \"vendor\"\nkind = \"request\"\naction = \"drop\"\nnth = 1\n"
         "[[fault]]\nservice = \"nas\"\naction = \"drop\"\n";
  const Ran ran = run(std::string(kServe) +
                      "$BIN/vex 4 1 0 550 >$VEX_PHONE/vex & v=$!; "
                      "until grep -qs 'client inited' $VEX_PHONE/vex; do sleep 0.02; done; "
                      "kill -9 $server; wait $v; " +
                      kServe +
                      "$BIN/vex 4 1 0 550 >/dev/null; "
                      "$BIN/vex 4 1 0 550; kill $server; wait $server");
  EXPECT_TRUE(said(directory_.file("vex"), "send msg sync failed:-2")) << directory_.file("vex");
  EXPECT_TRUE(said(ran.output, "rsp.data_len_all = 9")) << ran.output;
  const std::string out = directory_.file("out");
  EXPECT_TRUE(
      std::regex_search(out, std::regex("\nvex-phone: fault: phone.toml:\\d+: .*vendor.*\n"
                                        "(.*\n)*vex-phone: fault rule met no message: .*nas")))
      << out;
}

TEST_F(Tool, ARestartEndsTheRequestOfAnotherProcessAndTheNextOneWorks) {
  directory_.write("phone.toml",
                   "[modem]\nrestart_ms = 300\n[[fault]]\nservice = \"vendor\"\n"
                   "kind = \"request\"\naction = \"drop\"\nnth = 1\n");
  const Ran ran = run(std::string(kServe) +
                      "$BIN/vex 11 2 >$VEX_PHONE/vex & v=$!; "
                      "until grep -qs 'client inited' $VEX_PHONE/vex; do sleep 0.02; done; "
                      "$BIN/vex 11 0; wait $v; "
                      "$BIN/vex 4 2 0 10 7; kill $server; wait $server");
  EXPECT_TRUE(said(ran.output, "Will trigger SSR of modem")) << ran.output;
  EXPECT_TRUE(said(directory_.file("vex"), "send msg sync failed:-2")) << directory_.file("vex");
  EXPECT_EQ(directory_.file("nv/0/10"), "\7") << ran.output;
}

TEST_F(Tool, FullDumpsLeaveAFileEachAndARestartOfAnEmbeddedModemLosesWhatWasNotSynced) {
  directory_.write("properties", "persist.vendor.ssr.restart_level=ALL_DISABLE\n");
  directory_.write("phone.toml", "[modem]\nunsynced = \"lost\"\n");
  run("$BIN/vex 4 2 0 10 1; $BIN/vex 11 2; $BIN/vex 4 2 0 10 2; $BIN/vex 4 2 0 11 3");
  EXPECT_EQ(directory_.file("nv/0/10") + directory_.file("nv/0/11"), "\2\3");
  run("$BIN/vex 11 1; $BIN/vex 11 1");
  EXPECT_EQ(directory_.file("nv/0/10"), "\1");
  EXPECT_FALSE(directory_.has("nv/0/11"));
  const std::filesystem::directory_iterator dumps(directory_.root() + "/dump");
  EXPECT_EQ(std::distance(begin(dumps), end(dumps)), 2);
}

TEST_F(Tool, ThePhonesPathMayBeLongerThanASocketsAddress) {
  const std::string deep = directory_.root() + "/" + std::string(120, 'd');
  ::setenv("VEX_PHONE", deep.c_str(), 1);
  const Ran ran = run("$BIN/vex-phone init; " + std::string(kServe) +
                      "$BIN/vex 4 1 0 550 | grep data_len_all; $BIN/vex-phone show | grep modem; "
                      "kill $server; wait $server");
  EXPECT_NE(ran.output.find("served at modem.sock"), std::string::npos) << ran.output;
  EXPECT_NE(ran.output.find("rsp.data_len_all = 9"), std::string::npos) << ran.output;
}

TEST_F(Tool, VexPhoneTellsFailuresFromBadWordsAndSaysWhy) {
  const std::string lost = "standard output: No space left on device\n";
  const std::string help = " (vex-phone --help lists what there is)\n";
  const struct {
    const char* words;
    int status;
    std::string output;
  } rows[] = {
      {"show --phone /none", 1, "/none: no phone here (vex-phone init makes one)\n"},
      {"", 2, "no sub-command" + help},
      {"sow", 2, "unknown: sow" + help},
      {"init --trace", 2, "The following argument was not expected: --trace" + help},
      {"--phone", 2, "--phone: 1 required TEXT missing" + help},
      {"--version >/dev/full", 1, lost},
      {"init >/dev/full", 1, lost},
      {"show >/dev/full", 1, lost},
      {"serve >/dev/full", 1, lost},
      {"shell vex-phone sow", 2, "unknown: sow" + help},
      {"shell vex-phone show >/dev/full", 1, lost},
  };
  for (const auto& row : rows) {
    const Ran ran = run("$BIN/vex-phone " + std::string(row.words));
    EXPECT_EQ(ran.output, "vex-phone: " + row.output) << row.words;
    EXPECT_EQ(ran.status, row.status) << row.words;
  }
  EXPECT_TRUE(run("$BIN/vex-phone --version").output.starts_with("vex-phone 0."));
}

TEST_F(Tool, VexPhoneSaysWhatThePhoneHolds) {
  EXPECT_EQ(run("$BIN/vex-phone init --phone $VEX_PHONE").output, directory_.root() + "\n");
  run("$BIN/vex 4 5 1 /nv/x 171");
  const std::string shown = run("$BIN/vex-phone show").output;
  EXPECT_NE(shown.find("0/550"), std::string::npos) << shown;
  EXPECT_NE(shown.find("999-70 gsm, available, roaming, forbidden \"Test Roam\""),
            std::string::npos)
      << shown;
  EXPECT_NE(shown.find("08 1A 32 54 76 98 10 32 74"), std::string::npos) << shown;
  EXPECT_NE(shown.find("1/nv/x                                   AB"), std::string::npos) << shown;
  const Ran traced =
      run("$BIN/vex-phone serve --trace >$VEX_PHONE/out & server=$!; "
          "until grep -q listening $VEX_PHONE/out; do sleep 0.02; done; "
          "$BIN/vex 4 1 0 550 >/dev/null; kill $server; wait $server; "
          "cat $VEX_PHONE/out");
  EXPECT_TRUE(std::regex_search(
      traced.output,
      std::regex("vendor 0x0002 generic request (\\d+): id=2 data_len=512 data=\\[01 00 26 02 .*\n"
                 ".* vendor 0x0002 generic response \\1: id=0 data_len=29 data=\\[09 00 ")))
      << traced.output;
}

TEST_F(Tool, ABuildFolderThatWasCopiedIsConfiguredAnew) {
  const Ran ran =
      run("cd $VEX_PHONE; mkdir -p tools bin build/dev; cp " VEX_TEST_DATA
          "/../../tools/build tools; "
          "printf '#!/bin/sh\necho $1 >&2\n' >bin/cmake; chmod +x bin/cmake; PATH=$PWD/bin:$PATH; "
          "ln -s /bin/true tools/install; touch CMakePresets.json build/dev/.configured; "
          "for place in $(pwd -P) /elsewhere; do "
          "echo CMAKE_HOME_DIRECTORY:INTERNAL=$place >build/dev/CMakeCache.txt; tools/build dev; "
          "done");
  EXPECT_EQ(ran.output, "--build\n--fresh\n--build\n");
}

}  // namespace
