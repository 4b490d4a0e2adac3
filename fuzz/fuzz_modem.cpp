// The simulated modem with two hostile clients. Their requests are filled by the rows; what means
// something to a service is in the corpus. Some are spoilt, and any datagrams come between them.
// Time passes, clients leave, fault rules act.

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "input.h"
#include "qcci/idl/codec.h"
#include "sim/phone/phone_config.h"
#include "sim/services/make_modem.h"
#include "support/random_message.h"

namespace {

using fed::below;
using fed::octet;
namespace fs = std::filesystem;

class Clock final : public platform::Clock {
 public:
  platform::Time now() override { return now_; }
  void sleep_until(platform::Time deadline) override { now_ = std::max(now_, deadline); }
  bool wait_until(std::condition_variable&, std::unique_lock<std::mutex>&,
                  platform::Time) override {
    std::abort();
  }
  int poll_until(pollfd*, nfds_t, platform::Time) override { std::abort(); }

 private:
  platform::Time now_{std::chrono::hours(1)};
};
Clock g_clock;

// A client that looks up every service.
class Client final : public sim::Port {
 public:
  explicit Client(sim::Modem& modem) : modem_(modem), address_(modem.attach(*this)) {
    send(sim::Bus::kControl, qcci::ControlPacket{.command = qcci::Control::kNewLookup}.octets());
  }
  ~Client() override { modem_.detach(address_); }

  void send(sim::Address to, std::span<const uint8_t> octets) { modem_.send(address_, to, octets); }
  sim::Address server(uint32_t service) { return servers_[service]; }

 private:
  void deliver(sim::Address from, std::span<const uint8_t> octets) override {
    qcci::ControlPacket packet;
    if (from != sim::Bus::kControl || !qcci::ControlPacket::parse(octets, &packet)) return;
    if (packet.command == qcci::Control::kNewServer) servers_[packet.service] = packet.server();
  }

  sim::Modem& modem_;
  const sim::Address address_;
  std::map<uint32_t, sim::Address> servers_;
};

// ---- datagrams

void send_request(Client& client) {
  const auto services = qcci::idl::all_services();
  const qmi_idl_service_object& service = *services[octet() % services.size()];
  const qcci::idl::MessageRow& row = service.rows[octet() % service.rows.size()];
  if (!row.request) return;
  const std::vector<uint8_t> c = desk::RandomMessage(below).fill(*row.request);
  std::vector<uint8_t> datagram(qcci::kQmiHeader + row.request->max_encoded);
  const auto encoded = qcci::idl::encode(*row.request, c.data(), c.size(),
                                         std::span(datagram).subspan(qcci::kQmiHeader));
  datagram.resize(qcci::kQmiHeader + encoded.length);
  qcci::QmiHeader{QMI_IDL_REQUEST, 1, row.id, static_cast<uint16_t>(encoded.length)}.write(
      datagram.data());
  if (octet() % 16 == 15) datagram[octet() % datagram.size()] = octet();
  client.send(client.server(service.id), datagram);
}

void send_anything(Client& client) {
  const uint8_t port = octet();
  const size_t length = octet();
  client.send({1, port % 8 == 7 ? qcci::kControlPort : port % 8}, fed::octets(length));
}

// ---- the phone

struct Directory {
  Directory() {
    if (::mkdtemp(name.data()) == nullptr) std::abort();
  }
  ~Directory() { fs::remove_all(name); }
  // What the modem has written.
  void empty() const {
    for (const char* written : {"nv", "efs", "pdc", "dump", "cards", "unsynced"}) {
      fs::remove_all(name + "/" + written);
    }
  }
  std::string name = fs::temp_directory_path() / "vex-fuzz-XXXXXX";
};

sim::PhoneConfig read_config(const sim::Phone& phone) {
  sim::PhoneConfig config;
  std::string why;
  if (!sim::read_phone(phone, &config, &why)) std::abort();
  uint8_t id = 0;
  for (sim::CarrierConfig& carrier : config.pdc.configurations) carrier.id = {id++};
  return config;
}

sim::FaultRule any_rule() {
  sim::FaultRule rule;
  rule.kind = static_cast<sim::FaultKind>(below(3));
  rule.action = static_cast<sim::FaultAction>(below(10));
  rule.nth = octet() % 4;
  rule.delay = std::chrono::milliseconds(octet());
  rule.code = rule.at = rule.keep = octet();
  const auto octets = fed::octets(octet() % 4);
  rule.octets.assign(octets.begin(), octets.end());
  return rule;
}

}  // namespace

// A sync takes long, and what it does shows when the power is lost only.
extern "C" int fsync(int) { return 0; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Directory directory;
  static const sim::Phone phone(directory.name);
  static const sim::PhoneConfig usual = read_config(phone);
  if (size > 4096) return 0;
  fed::g_input = {data, size};
  platform::set_clock(&g_clock);
  sim::PhoneConfig config = usual;
  const uint8_t kind = octet();
  config.modem.loses_unsynced = (kind & 1) != 0;
  for (int rules = kind >> 6; rules > 0; --rules) config.faults.push_back(any_rule());
  {
    const auto modem = sim::make_modem(phone, config);
    // On the heap, so that the sanitizer sees a delivery to one that is gone.
    std::unique_ptr<Client> clients[] = {std::make_unique<Client>(*modem),
                                         std::make_unique<Client>(*modem)};
    while (!fed::g_input.empty()) {
      const uint8_t what = octet();
      std::unique_ptr<Client>& client = clients[what & 1];
      if (what < 0xD0) {
        send_request(*client);
      } else if (what < 0xE0) {
        send_anything(*client);
      } else if (what < 0xF8) {
        g_clock.sleep_until(g_clock.now() + std::chrono::milliseconds(100 * octet()));
        modem->run_due();
      } else {
        client = std::make_unique<Client>(*modem);
      }
    }
  }
  directory.empty();
  return 0;
}
