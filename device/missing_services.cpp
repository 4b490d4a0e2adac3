#include "device/missing_services.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>

#include "base/mutex.h"
#include "device/report.h"
#include "platform/idl/vendor.h"
#include "qcci/idl/service.h"
#include "qcci/services/services.h"

namespace device {
namespace {

using qcci::Address;
using qcci::Control;
using qcci::ControlPacket;

struct LookedFor {
  base::Mutex mutex;
  std::map<uint32_t, bool> services GUARDED_BY(mutex);  // whether each has been there
};

// Never destroyed: threads may use it while the process ends.
LookedFor& looked_for() {
  static auto* const instance = new LookedFor;
  return *instance;
}

std::string name_of(uint32_t id) {
  char number[16];
  std::snprintf(number, sizeof number, "0x%X", id);
  for (const qmi_idl_service_object* service : qcci::idl::all_services()) {
    if (service->id == id) return std::string(service->name) + " service (" + number + ")";
  }
  return std::string("service ") + number;
}

void report_missing() {
  LookedFor& looked = looked_for();
  const base::Lock lock(looked.mutex);
  for (const auto& [id, found] : looked.services) {
    if (found) continue;
    report(
        "the modem has no " + name_of(id) +
        (id == KELVOR_VENDOR_SERVICE_ID
             ? ", which only its maker's phones have; commands 5 5, 5 10, 10 and 12 do not need it"
             : "; if it is restarting, try again"));
  }
}

class WatchedLink final : public qcci::Link {
 public:
  explicit WatchedLink(std::unique_ptr<qcci::Link> link) : link_(std::move(link)) {}

  bool open(qcci::Endpoint* endpoint) override { return link_->open(endpoint); }
  bool never_opens() const override { return link_->never_opens(); }
  void close(qcci::EndpointId endpoint) override { link_->close(endpoint); }
  qcci::Sent send(qcci::EndpointId endpoint, Address to, std::span<const uint8_t> octets) override {
    note(to, octets);
    return link_->send(endpoint, to, octets);
  }
  void wait(platform::Time deadline, uint64_t wakes) override { link_->wait(deadline, wakes); }
  qcci::Received take(qcci::Datagram* datagram) override {
    const qcci::Received received = link_->take(datagram);
    if (received == qcci::Received::kDatagram) note(datagram->from, datagram->octets);
    return received;
  }
  void wake() override { link_->wake(); }
  uint64_t wakes() const override { return link_->wakes(); }

 private:
  static void note(Address other, std::span<const uint8_t> octets) {
    ControlPacket packet;
    if (other.port != qcci::kControlPort || !ControlPacket::parse(octets, &packet)) return;
    LookedFor& looked = looked_for();
    const base::Lock lock(looked.mutex);
    if (packet.command == Control::kNewLookup) looked.services.try_emplace(packet.service, false);
    if (packet.command != Control::kNewServer) return;
    const auto at = looked.services.find(packet.service);
    if (at != looked.services.end()) at->second = true;
  }

  std::unique_ptr<qcci::Link> link_;
};

}  // namespace

std::unique_ptr<qcci::Link> report_missing_services(std::unique_ptr<qcci::Link> link) {
  std::atexit(report_missing);
  return std::make_unique<WatchedLink>(std::move(link));
}

}  // namespace device
