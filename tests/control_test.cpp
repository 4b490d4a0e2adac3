// Control requests, sound and not, as the library and the socket take them.

#include "sim/control/control.h"

#include <sys/socket.h>

#include <random>

#include "qcci/link/local_socket.h"
#include "sim/control/control_server.h"
#include "sim/phone/phone_config.h"
#include "sim/services/make_modem.h"
#include "support/desk.h"

namespace {

using nlohmann::json;

// A phone, its modem and what takes its requests.
struct Controlled {
  Controlled()
      : settings(read(directory)), modem(make_modem(directory.phone(), settings.config())) {}
  static sim::Settings read(const desk::PhoneDirectory& directory) {
    sim::Settings settings;
    std::string toml, why;
    EXPECT_TRUE(directory.phone().prepare(&why) &&
                sim::read_phone_toml(directory.phone(), &toml, &why) && settings.parse(toml, &why))
        << why;
    return settings;
  }
  json ask(const std::string& line) { return json::parse(control.answer(line).line); }

  desk::TestClock& clock = desk::TestClock::install();
  desk::PhoneDirectory directory;
  sim::Settings settings;
  std::unique_ptr<sim::Modem> modem;
  sim::Control control{directory.phone(), *modem, settings};
};

std::string random_request(std::mt19937& random, const std::vector<std::string>& keys) {
  static const char* const kValues[] = {"0",   "1",  "-7.5", "300", "true", "lte",       "[1, 2]",
                                        "nan", "[[", "\"x",  "{}",  "",     "[1,2,3,4]", "a = 1"};
  static const char* const kRequests[] = {
      R"("do":"get","key":"sar")",
      R"("do":"act","action":"restart")",
      R"("do":"act","action":"card","slot":2,"in":false)",
      R"("do":"act","action":"service","service":"nas","up":false)",
      R"("do":"act","action":"add-fault","rule":"{action = \"drop\", nth = 9}")",
      R"("do":"act","action":"clear-faults")",
      R"("do":"watch","keys":[1])",
      R"("do":"act","action":"indicate","service":"nas","message":"0x85","fields":{"status":"1"}})"};
  const auto any = [&](size_t count) { return random() % count; };
  std::string line = R"({"version":1,)";
  if (any(4) == 0) {
    line += kRequests[any(std::size(kRequests))];
  } else {
    json values;
    for (size_t n = any(3) + 1; n > 0; --n) values[keys[any(keys.size())]] = kValues[any(14)];
    line += R"("do":"set","values":)" + values.dump();
  }
  line += "}";
  for (size_t n = any(4) == 0 ? any(4) : 0; n > 0; --n) {
    line[any(line.size())] = static_cast<char>(random());
  }
  return line;
}

TEST(Control, StateAfterRandomRequestsIsThatOfTheAcceptedOnes) {
  Controlled phone;
  Controlled replayed;
  std::vector<std::string> keys;
  for (const auto& [key, value] : phone.settings.all()) keys.push_back(key);
  std::mt19937 random(18);
  size_t refused = 0;
  std::vector<std::string> accepted;
  for (int i = 0; i < 1000; ++i) {
    const std::string line = random_request(random, keys);
    const json answer = phone.ask(line);
    ASSERT_EQ(answer["version"], 1) << line;
    answer.contains("error") ? void(++refused) : accepted.push_back(line);
    phone.modem->run_due();
  }
  EXPECT_GT(refused, 50U);
  EXPECT_GT(accepted.size(), 50U);
  for (const std::string& line : accepted) {
    EXPECT_FALSE(replayed.ask(line).contains("error")) << line;
    replayed.modem->run_due();
  }
  const std::string get = R"({"version":1,"do":"get"})";
  EXPECT_EQ(phone.ask(get), replayed.ask(get));
  EXPECT_EQ(phone.modem->fault_counts(), replayed.modem->fault_counts());
}

TEST(Control, NoPeerKeepsAnotherFromItsAnswer) {
  Controlled phone;
  sim::Poller poller;
  sim::ControlServer server(*phone.modem, phone.control, poller);
  std::string why;
  ASSERT_TRUE(server.listen(phone.directory.phone(), &why)) << why;
  const auto turns = [&] {
    for (int i = 0; i < 200; ++i) {
      poller.wait(phone.clock.now());
      poller.handle();
    }
  };
  const auto connect = [&] {
    sim::Descriptor peer(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    EXPECT_EQ(qcci::local_connect(peer.get(), phone.directory.root() + "/control.sock"), 0);
    turns();
    return peer;
  };
  const auto send = [&](const sim::Descriptor& peer, const std::string& text) {
    const bool sent = ::send(peer.get(), text.data(), text.size(), MSG_NOSIGNAL) > 0;
    turns();
    return sent;
  };
  const auto received = [&](const sim::Descriptor& peer) {
    std::string all;
    char octets[4096];
    for (ssize_t got; (got = ::recv(peer.get(), octets, sizeof octets, 0)) >= 0;) {
      if (got == 0) return all + "END";
      all.append(octets, static_cast<size_t>(got));
      turns();
    }
    return all;
  };
  const std::string get = R"({"version":1,"id":7,"do":"get","key":"sar.state"})";
  const std::string got = R"({"id":7,"values":{"sar.state":"0"},"version":1})";

  const sim::Descriptor half = connect();
  send(half, get.substr(0, 20));
  const sim::Descriptor endless = connect();
  for (int i = 0; i < 5; ++i) send(endless, std::string(4000, '['));
  EXPECT_EQ(received(endless), R"({"error":"a line of more than 16384 octets","version":1})"
                               "\nEND");
  const sim::Descriptor deaf = connect();
  send(deaf, R"({"version":1,"do":"watch"})"
             "\n");
  const sim::Descriptor good = connect();
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(phone.modem->change([] { return 0; }, "", {{"state", std::string(50000, 'x')}}), 0);
  }
  turns();
  EXPECT_TRUE(received(deaf).ends_with("END")) << "does not read";
  std::vector<sim::Descriptor> many;
  while (many.size() < sim::ControlServer::kPeersMax - 2) many.push_back(connect());
  EXPECT_EQ(received(many.back()), "");
  EXPECT_EQ(received(connect()),
            R"({"error":"the phone has as many peers as it serves","version":1})"
            "\nEND");
  send(good, get + "\n" + get + "\n");
  EXPECT_EQ(received(good), got + "\n" + got + "\n");
  send(half, get.substr(20) + "\n");
  EXPECT_EQ(received(half), got + "\n");
}

}  // namespace
