// A modem that answers from a capture. (The sweep replays what real runs captured.)

#include <optional>

#include "platform/idl/nas.h"
#include "sim/replay/replay_modem.h"
#include "support/capture_files.h"

namespace traffic {
namespace {

// What a client of a replayed modem gets: the services that go and come, and messages.
class Asker final : public sim::Port {
 public:
  explicit Asker(sim::ModemBus& modem) : modem_(modem), address_(modem.attach(*this)) {
    const qcci::ControlPacket look_up{qcci::Control::kNewLookup};
    modem_.send(address_, sim::Bus::kControl, look_up.octets());
  }
  ~Asker() override { modem_.detach(address_); }
  void deliver(sim::Address from, std::span<const uint8_t> octets) override {
    qcci::ControlPacket packet;
    if (from != sim::Bus::kControl) {
      got += desk::hex(octets) + "\n";
    } else if (qcci::ControlPacket::parse(octets, &packet) && !packet.ends_list()) {
      const bool up = packet.command == qcci::Control::kNewServer;
      got += (up ? "up " : "gone ") + std::to_string(packet.service) + "\n";
      if (up) at_ = packet.server();
    }
  }
  // Asks the last service that came; what has come since the last call.
  std::string ask(const char* request) {
    modem_.send(address_, at_, desk::unhex(request));
    return more();
  }
  std::string more() {
    modem_.run_due();
    return std::exchange(got, {});
  }
  std::string got;

 private:
  sim::ModemBus& modem_;
  sim::Address at_;
  const sim::Address address_;
};

class Replays : public Files {
 protected:
  // A message of one of two clients, so many ms later than the one before; a control packet.
  void add(int client, qmi_idl_message_type type, const char* octets, int ms = 0) {
    Frame frame = frame_of(NAS_SERVICE_ID, type, 0, 0, {});
    frame.octets = desk::unhex(octets);
    add(frame, client, ms);
  }
  void add(qcci::Control command, uint32_t port, int ms = 0) {
    Frame frame = frame_of(0, QMI_IDL_INDICATION, 0, 0, {});
    frame.kind = Kind::kControl;
    const qcci::ControlPacket it{command, NAS_SERVICE_ID, qcci::instance_field(1, 0), 1, port};
    frame.octets.assign(it.octets().begin(), it.octets().end());
    add(frame, 0, ms);
  }
  void add(Frame frame, int client, int ms) {
    frame.time_ns = time_ns_ += int64_t{ms} * 1'000'000;
    (frame.to_client ? frame.to : frame.from).port += static_cast<uint32_t>(client);
    capture_ += packet(frame);
  }
  void start(sim::ReplayModem::Timing timing) {
    std::string why;
    Recording recording;
    EXPECT_TRUE(recording.read(write("capture", capture_), &why)) << why;
    const auto log = [this](const std::string& line) { log_ += line + "\n"; };
    modem_.emplace(std::move(recording), timing, log, nullptr);
  }
  std::string said() { return std::exchange(log_, {}); }

  static constexpr auto kAtOnce = sim::ReplayModem::Timing::kAtOnce;
  desk::TestClock& clock_ = desk::TestClock::install();
  std::string capture_ = section_of("test", "");
  int64_t time_ns_ = 1'700'000'000'000'000'000;
  std::string log_;
  std::optional<sim::ReplayModem> modem_;
};

TEST_F(Replays, WhatFollowedARequestFollowsItAgain) {
  add(0, QMI_IDL_INDICATION, "04 00 00 51 00 00 00");  // of a request before the capture
  add(0, QMI_IDL_REQUEST, "00 07 00 21 00 00 00");
  add(1, QMI_IDL_REQUEST, "00 07 00 21 00 00 00", 5);  // the same again, of another client
  add(1, QMI_IDL_RESPONSE, "02 07 00 21 00 01 00 BB", 5);
  add(0, QMI_IDL_RESPONSE, "02 07 00 21 00 01 00 AA", 90);
  add(0, QMI_IDL_INDICATION, "04 00 00 51 00 00 00", 900);
  add(0, QMI_IDL_REQUEST, "00 09 00 21 00 01 00 01");
  add(0, QMI_IDL_RESPONSE, "02 0B 00 21 00 00 00");  // of another transaction
  add(0, QMI_IDL_RESPONSE, "02 09");                 // cut
  add(0, QMI_IDL_REQUEST, "00 0C 00 22 00 00 00");   // never answered
  start(sim::ReplayModem::Timing::kRecorded);
  EXPECT_EQ(said(), directory_.root() + "/capture: 1 message without a request are left out\n");
  Asker first(*modem_), second(*modem_);
  EXPECT_EQ(first.ask("00 41 42 21 00 00 00"), "up 3\n");
  EXPECT_EQ(second.ask("00 43 44 21 00 00 00"), "up 3\n");
  clock_.advance(std::chrono::milliseconds(5));
  EXPECT_EQ(second.more(), "02 43 44 21 00 01 00 BB\n");
  clock_.advance(std::chrono::milliseconds(94));
  EXPECT_EQ(first.more(), "");
  clock_.advance(std::chrono::milliseconds(1));
  EXPECT_EQ(first.more(), "02 41 42 21 00 01 00 AA\n");
  EXPECT_EQ(modem_->next_due() - clock_.now(), std::chrono::milliseconds(900));
  clock_.advance(std::chrono::milliseconds(900));
  EXPECT_EQ(first.more(), "04 00 00 51 00 00 00\n");
  EXPECT_EQ(second.ask("00 01 00 21 00 01 00 01"), "02 03 00 21 00 00 00\n02 09\n");
  EXPECT_EQ(second.ask("00 02 00 22 00 00 00"), "");
  EXPECT_EQ(said(), "");
}

TEST_F(Replays, WhatWasNotRecordedIsRefused) {
  add(0, QMI_IDL_REQUEST, "00 07 00 85 00 00 00");
  for (const char* sim : {"00", "00", "01"}) {
    add(0, QMI_IDL_REQUEST, (std::string("00 07 00 45 00 04 00 01 01 00 ") + sim).c_str());
  }
  start(kAtOnce);
  Asker asker(*modem_);
  const std::string refusal = "02 01 00 45 00 07 00 02 04 00 01 00 5E 00\n";
  EXPECT_EQ(asker.ask("00 01 00 45 00 04 00 01 01 00 01"), "up 3\n");
  EXPECT_EQ(asker.ask("00 01 00 45 00 04 00 01 01 00 01"), refusal);
  EXPECT_EQ(asker.ask("00 01 00 45 00 04 00 01 01 00 02"), refusal);
  EXPECT_EQ(asker.ask("00 01 00 03 00 00 00").size(), refusal.size());
  const qcci::ControlPacket look_up{.command = qcci::Control::kNewLookup, .service = 0x11};
  for (int i = 0; i < 2; ++i) modem_->send({}, sim::Bus::kControl, look_up.octets());
  const std::string bind = "nas 0x0045 bind subscription request: ";
  EXPECT_EQ(said(), "recorded only once: " + bind + "subscription=1 (secondary)\n" +
                        "not recorded: " + bind + "subscription=2 (tertiary); nearest: " + bind +
                        "subscription=0 (primary)\n" +
                        "not recorded: nas 0x0003 indication register request; nearest: nas "
                        "0x0085 incremental scan request\n" +
                        "not recorded: look-up of sar 0x0011\n");
  EXPECT_EQ(modem_->not_asked(),
            (std::vector<std::string>{"not asked: nas 0x0085 incremental scan request",
                                      "not asked, 2 times: " + bind + "subscription=0 (primary)"}));
}

TEST_F(Replays, AServiceGoesAndComesAsItDid) {
  add(qcci::Control::kNewServer, 7);
  add(0, QMI_IDL_REQUEST, "00 07 00 21 00 00 00");
  add(qcci::Control::kDelServer, 7);
  add(qcci::Control::kDelServer, 7);  // says another process
  add(qcci::Control::kNewServer, 9);
  add(qcci::Control::kNewServer, 9);
  add(qcci::Control::kDelServer, 7);  // and a third one, late
  add(1, QMI_IDL_REQUEST, "00 07 00 22 00 00 00");
  add(qcci::Control::kDelServer, 9);
  start(kAtOnce);
  Asker asker(*modem_);
  EXPECT_EQ(asker.ask("00 01 00 21 00 00 00"), "up 3\ngone 3\nup 3\n");
  EXPECT_EQ(asker.ask("00 01 00 22 00 00 00"), "gone 3\n");
  EXPECT_EQ(modem_->next_due(), platform::kNever);
}

}  // namespace
}  // namespace traffic
