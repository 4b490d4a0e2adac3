// The simulated AT channel: what it answers and logs, and its terminal.

#include "sim/shell/at_channel.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

#include <thread>

#include "sim/phone/phone_config.h"
#include "sim/shell/at_terminal.h"
#include "support/desk.h"

namespace {

using Texts = std::vector<std::string>;

constexpr const char kOk[] = "\r\nOK\r\n";
constexpr const char kError[] = "\r\nERROR\r\n";

std::string says(const std::string& line) { return "\r\n" + line + "\r\n" + kOk; }

struct Channel : testing::Test {
  // The channel of a phone of which a test says only what matters to it; the default one else.
  sim::AtChannel channel(const char* toml = nullptr) {
    if (toml != nullptr) directory_.write("phone.toml", toml);
    sim::PhoneConfig config;
    std::string why;
    EXPECT_TRUE(sim::read_phone(directory_.phone(), &config, &why)) << why;
    return {directory_.phone(), config, [this](const std::string& line) { log_.push_back(line); }};
  }
  desk::PhoneDirectory directory_;
  Texts log_;
};

TEST_F(Channel, ACommandIsAnsweredByItsLine) {
  const std::pair<const char*, std::string> rows[] = {
      {"AT\r", kOk},
      {"at\r", kOk},
      {"ATI\r", "\r\nvex simulated phone\r\nIMEI: 123456789012347\r\n" + std::string(kOk)},
      {"AT+CGSN\r", says("123456789012347")},
      {"At+cGsn\r\n", says("123456789012347")},
      {"AT+CSQ\n", says("+CSQ: 29,99")},
      {"AT+COPS?\r", says("+COPS: 0,0,\"Test One\",7")},
      {"AT+CSQ?\r", kError},
      {"AT+COPS\r", kError},
      {" AT\r", kError},
      {"AT \r", kError},
      {"ATD112;\r", kError},
      {"hello\r", kError},
      {"\xFF\x01\r", kError},
      {"\r\n\r\n", ""},
      {"AT", ""},
  };
  for (const auto& [octets, reply] : rows) {
    sim::AtChannel fresh = channel();
    EXPECT_EQ(fresh.take(octets), reply.empty() ? Texts{} : Texts{reply}) << octets;
  }
}

TEST_F(Channel, LinesMayComeInPiecesAndTogether) {
  sim::AtChannel one = channel();
  EXPECT_EQ(one.take("A"), Texts{});
  EXPECT_EQ(one.take("T\rAT+C"), Texts{kOk});
  EXPECT_EQ(one.take("SQ\r\nbad\rAT\r"), (Texts{says("+CSQ: 29,99"), kError, kOk}));
  EXPECT_EQ(one.take(std::string(1 << 20, 'A')), Texts{});
  EXPECT_EQ(one.take("\rAT\r"), (Texts{kError, kOk}));
  EXPECT_LT(log_[log_.size() - 4].size(), 3000u) << "a line without an end is not kept";
}

TEST_F(Channel, WhatCameAndWhatWentIsLogged) {
  channel().take("AT+CSQ\rx\x1B\xFF\r");
  EXPECT_EQ(log_, (Texts{"< AT+CSQ", "> +CSQ: 29,99", "> OK", "< x\\x1B\\xFF", "> ERROR"}));
}

TEST_F(Channel, TheImeiIsTheItemOfTheMoment) {
  sim::AtChannel one = channel();
  const std::pair<std::string, std::string> rows[] = {
      {"\x08\x9A\x10\x32\x54\x76\x98\x10\x32", says("901234567890123")},
      {"\x08\x9A\x10\x32\x54\x76\x98\x10\x32 more", says("901234567890123")},
      {"\x08\x9A\x10\x32\x54\x76\x98\x10", kError},
      {"\x07\x9A\x10\x32\x54\x76\x98\x10\x32", kError},
      {"\x08\x99\x10\x32\x54\x76\x98\x10\x32", kError},
      {"\x08\x9A\x10\x32\x54\xA6\x98\x10\x32", kError},
      {"\x08\x9A\x10\x32\x54\x76\x98\x10\xF2", kError},
      {"", kError},
  };
  for (const auto& [item, reply] : rows) {
    directory_.write("nv/0/550", item);
    EXPECT_EQ(one.take("AT+CGSN\r"), Texts{reply}) << reply;
  }
  ::unlink((directory_.root() + "/nv/0/550").c_str());
  EXPECT_EQ(one.take("AT+CGSN\r"), Texts{kError});
  EXPECT_EQ(one.take("ATI\r"), Texts{says("vex simulated phone")});
}

TEST_F(Channel, SignalQualityIsTheBestChainOfTheTechnologyInUse) {
  const std::pair<const char*, const char*> rows[] = {
      {"", "99"},
      {"rat = \"none\"", "99"},
      {"rat = 77", "99"},
      {"rat = \"lte\"", "99"},
      {"rat = 9\nlte_pcc.rssi = [-80.0, -62.5, -64.0, -110.0]\nlte_pcc.rsrp = [0.0, 0.0, "
       "0.0, 0.0]",
       "25"},
      {"rat = \"lte\"\nnr_agc.rssi = [-60.0, -60.0, -60.0, -60.0]", "99"},
      {"rat = \"nr\"\nnr_agc.rssi = [-90.0, -81.0, -82.0, -83.0]", "16"},
      {"rat = \"wcdma\"\nwcdma.rx_agc = [-93.0, -78.0]", "17"},
      {"rat = \"gsm\"\ngsm.prx = -109.0\ngsm.drx = -60.0", "2"},
      {"rat = \"gsm\"\ngsm.prx = -111.1", "0"},
      {"rat = \"gsm\"\ngsm.prx = -111.0", "1"},
      {"rat = \"gsm\"\ngsm.prx = -53.0", "30"},
      {"rat = \"gsm\"\ngsm.prx = -51.1", "30"},
      {"rat = \"gsm\"\ngsm.prx = -20.0", "31"},
      {"rat = \"gsm\"\ngsm.prx = nan", "99"},
      {"rat = \"nr\"\nraw.\"0x5E\" = \"01 00 00 00 00 00 00\"", "99"},
      {"raw.\"0x2C\" = \"01 03 00\"", "99"},
  };
  for (const auto& [sub, rssi] : rows) {
    const std::string toml = std::string("[measurements.sub0]\n") + sub + "\n";
    EXPECT_EQ(channel(toml.c_str()).take("AT+CSQ\r"),
              Texts{says("+CSQ: " + std::string(rssi) + ",99")})
        << sub;
  }
}

TEST_F(Channel, TheOperatorIsTheServingNetwork) {
  const std::string other = "[[network]]\nname = \"Other\"\nin_use = \"available\"\n";
  const std::string serving = "[[network]]\nin_use = \"serving\"\nname = ";
  const std::pair<std::string, const char*> rows[] = {
      {"", "+COPS: 0"},
      {other, "+COPS: 0"},
      {other + serving + "\"One\"\nrat = \"nr\"\n", "+COPS: 0,0,\"One\",11"},
      {serving + "\"One\"\nrat = \"gsm\"\n" + other, "+COPS: 0,0,\"One\",0"},
      {serving + "\"One\"\nrat = \"umts\"\nroaming = true\nforbidden = true\n",
       "+COPS: 0,0,\"One\",2"},
      {serving + "\"A \\\"b\\\"\\n c\"\nrat = \"tdscdma\"\n", "+COPS: 0,0,\"A b c\",2"},
  };
  for (const auto& [toml, line] : rows) {
    EXPECT_EQ(channel(toml.c_str()).take("AT+COPS?\r"), Texts{says(line)}) << toml;
  }
}

// ---- the terminal

struct Terminal : Channel {
  Terminal() {
    std::string why;
    EXPECT_TRUE(terminal_.open(&why)) << why;
    thread_ = std::thread([this] { terminal_.run(channel_, stop_.get()); });
  }
  ~Terminal() override { end(); }
  // The log is read behind it.
  void end() {
    ::eventfd_write(stop_.get(), 1);
    if (thread_.joinable()) thread_.join();
  }
  sim::Descriptor user() const {
    return sim::Descriptor(::open(terminal_.path().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  }
  static void write(const sim::Descriptor& to, const std::string& octets) {
    ASSERT_EQ(::write(to.get(), octets.data(), octets.size()), static_cast<ssize_t>(octets.size()));
  }
  // What can be read, up to `size` octets.
  static std::string read(const sim::Descriptor& from, size_t size) {
    std::string all;
    char octet;
    pollfd polled{from.get(), POLLIN, 0};
    while (all.size() < size && ::poll(&polled, 1, 5000) == 1 && ::read(from.get(), &octet, 1) == 1)
      all += octet;
    return all;
  }
  sim::AtTerminal terminal_;
  sim::AtChannel channel_ = channel();
  sim::Descriptor stop_{::eventfd(0, EFD_CLOEXEC)};
  std::thread thread_;
};

TEST_F(Terminal, CarriesOctetsAsTheyAreAndEchoesNothing) {
  const std::string csq = says("+CSQ: 29,99");
  for (int i = 0; i < 3; ++i) {  // each a user of its own, as the shell's lines are
    write(user(), "AT+CSQ\r\n");
    EXPECT_EQ(read(user(), csq.size()), csq);
  }
  const sim::Descriptor both = user();
  write(both, "AT+CSQ\rAT");
  EXPECT_EQ(read(both, csq.size()), csq);
  write(both, "\r");  // an octet of its own
  EXPECT_EQ(read(both, sizeof kOk - 1), kOk);
  write(both, "AT\x03\x04\x11\x13\r");
  EXPECT_EQ(read(both, sizeof kError - 1), kError);
  end();
  EXPECT_EQ(log_.at(log_.size() - 2), "< AT\\x03\\x04\\x11\\x13");
}

TEST_F(Terminal, DoesNotAnswerItsOwnRepliesWhenItIsSetToEcho) {
  const sim::Descriptor echoing = user();
  termios settings{};
  ASSERT_EQ(::tcgetattr(echoing.get(), &settings), 0);
  settings.c_lflag |= ECHO;
  ASSERT_EQ(::tcsetattr(echoing.get(), TCSANOW, &settings), 0);
  write(echoing, "AT\r");
  EXPECT_EQ(read(echoing, sizeof kOk - 1), kOk);
  write(echoing, "ATI\r");
  read(echoing, says("vex simulated phone").size());
  end();
  EXPECT_EQ(log_, (Texts{"< AT", "> OK", "< ATI", "> vex simulated phone",
                         "> IMEI: 123456789012347", "> OK"}));
}

TEST_F(Terminal, LosesOldRepliesThatNobodyReadsAndNotTheNewest) {
  constexpr int kTimes = 3000;
  constexpr int kEach = 10;
  std::string lines;
  for (int i = 0; i < kEach; ++i) lines += "AT+CSQ\r";
  const sim::Descriptor one = user();
  for (int i = 0; i < kTimes; ++i) write(one, lines);
  write(one, "AT+CGSN\r");
  const std::string newest = says("123456789012347");
  std::string unread;
  while (!unread.ends_with(newest)) {
    const std::string octet = read(one, 1);
    ASSERT_FALSE(octet.empty()) << unread.size();
    unread += octet;
  }
  EXPECT_LT(unread.size(), kTimes * kEach * says("+CSQ: 29,99").size() / 2);
}

}  // namespace
