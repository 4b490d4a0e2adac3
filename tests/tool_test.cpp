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
#include "sim/serving/serve_modem.h"
#include "sim/serving/server.h"
#include "support/command.h"
#include "support/vireo_desk.h"

namespace {

using desk::Ran;
using desk::run;
using desk::said;

struct Tool : testing::Test {
  desk::PhoneDirectory directory_;
};

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
  sim::Poller poller;
  sim::Server server(*modem, poller);
  ASSERT_TRUE(server.listen(phone, &why)) << why;
  const std::string path = directory_.root() + "/modem.sock";
  const sim::Descriptor stop(::eventfd(0, EFD_CLOEXEC));
  std::thread serving([&] { sim::serve_modem(*modem, poller, stop.get()); });
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

TEST_F(Tool, ABuildFolderThatWasCopiedIsConfiguredAnew) {
  const Ran ran =
      run("cd $VEX_PHONE; mkdir -p tools bin build/dev; cp " VEX_TOOLS
          "/build tools; "
          "printf '#!/bin/sh\necho $1 >&2\n' >bin/cmake; chmod +x bin/cmake; PATH=$PWD/bin:$PATH; "
          "ln -s /bin/true tools/install; touch CMakePresets.json build/dev/.configured; "
          "for place in $(pwd -P) /elsewhere; do "
          "echo CMAKE_HOME_DIRECTORY:INTERNAL=$place >build/dev/CMakeCache.txt; tools/build dev; "
          "done");
  EXPECT_EQ(ran.output, "--build\n--fresh\n--build\n");
}

}  // namespace
