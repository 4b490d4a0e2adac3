// The programs as a person runs them.

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <cerrno>
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
  ASSERT_TRUE(clients.open(&last)) << "the room of one that has gone";
  // One that asks and asks and reads nothing is shut out.
  constexpr qcci::Address kNames{1, qcci::kControlPort};
  const qcci::ControlPacket asks{.command = qcci::Control::kNewLookup};
  qcci::Sent sent = qcci::Sent::kSent;
  for (int asked = 0; asked < 60000 && sent != qcci::Sent::kCut;) {
    sent = clients.send(last.id, kNames, asks.octets());
    asked += sent == qcci::Sent::kSent ? 1 : 0;
  }
  EXPECT_EQ(sent, qcci::Sent::kCut);
  ::eventfd_write(stop.get(), 1);
  serving.join();
}

TEST_F(Tool, AServerIsBelievedByItsFirstWord) {
  using qcci::Control;
  const struct {
    qcci::Address from;
    Control word;
    uint32_t node;
    int error;
  } rows[] = {
      {{1, qcci::kControlPort}, Control::kHello, 1, 0},
      {{1, qcci::kControlPort}, Control::kBye, 1, EUSERS},
      {{1, qcci::kControlPort}, Control::kNewServer, 1, ETIMEDOUT},
      {{1, qcci::kControlPort}, Control::kHello, 2, ETIMEDOUT},
      {{1, 7}, Control::kHello, 1, ETIMEDOUT},
  };
  const std::string path = directory_.root() + "/modem.sock";
  const sim::Descriptor server(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
  ASSERT_EQ(qcci::local_bind(server.get(), path), 0);
  ASSERT_EQ(::listen(server.get(), 1), 0);
  for (const auto& row : rows) {
    std::jthread serving([&] {
      const sim::Descriptor one(::accept(server.get(), nullptr, nullptr));
      const auto word = qcci::ControlPacket::of_client(row.word, {row.node, 5});
      qcci::local_frame_write(one.get(), row.from, word.octets());
      char ignored = 0;
      std::ignore = ::read(one.get(), &ignored, 1);
    });
    qcci::Endpoint client;
    qcci::LocalSocketLink link(path);
    EXPECT_EQ(link.open(&client) ? 0 : errno, row.error);
    EXPECT_EQ(client.own.port, row.error == 0 ? 5u : 0u);
  }
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
