#include "sim/replay/replay_modem.h"

#include <algorithm>
#include <utility>

#include "sim/modem/answer.h"
#include "traffic/view/print.h"

namespace sim {
namespace {

using base::Lock;
using qcci::QmiHeader;
using traffic::Reply;

// Services whose lack is reported: more than any client looks for.
constexpr size_t kMostMissed = 64;

}  // namespace

ReplayModem::ReplayModem(traffic::Recording recording, Timing timing, Log log, Tap tap)
    : timing_(timing),
      log_(std::move(log)),
      tap_(std::move(tap)),
      recording_(std::move(recording)),
      up_(recording_.services().size()) {
  for (const std::string& line : recording_.left_out()) log_(line);
  const Lock lock(mutex_);
  for (size_t i = 0; i < up_.size(); ++i) {
    if (recording_.services()[i].from_start) publish(i);
  }
}

void ReplayModem::publish(size_t service) {
  if (up_[service] != Address{}) return;
  const auto& [id, instance, from_start] = recording_.services()[service];
  up_[service] = bus_.publish(id, instance & 0xFF, instance >> 8);
}

Address ReplayModem::attach(Port& port) {
  const Lock lock(mutex_);
  return bus_.attach(port);
}

void ReplayModem::detach(Address client) {
  const Lock lock(mutex_);
  bus_.detach(client);
}

// A service that the recording says nothing of is waited for, perhaps for long: say why.
void ReplayModem::look_up(std::span<const uint8_t> octets) {
  qcci::ControlPacket packet;
  if (!qcci::ControlPacket::parse(octets, &packet) || packet.command != qcci::Control::kNewLookup ||
      packet.service == 0 || recording_.knows(packet.service) || missed_.size() == kMostMissed ||
      !missed_.insert(packet.service).second) {
    return;
  }
  log_("not recorded: look-up of " + traffic::service_words(packet.service));
}

void ReplayModem::send(Address client, Address to, std::span<const uint8_t> octets) {
  const Lock lock(mutex_);
  if (to == Bus::kControl) {
    look_up(octets);
    bus_.control(client, octets);
    return;
  }
  const auto id = bus_.service_at(to);
  QmiHeader header;
  if (!id || !QmiHeader::parse(octets, &header) || header.type != QMI_IDL_REQUEST) return;
  show(false, client, to, octets);
  const platform::Time now = platform::clock().now();
  std::string line;
  const std::vector<Reply>* const replies = recording_.ask(*id, octets, &line);
  if (replies == nullptr) {
    log_(line);
    std::vector<uint8_t> refusal = answer_error(header, QMI_ERROR_NOT_SUPPORTED);
    due_.emplace(now, Due{Reply::What::kMessage, 0, std::move(refusal), client, to});
    return;
  }
  // From run_due, at the earliest: services may not come and go before.
  for (const Reply& reply : *replies) {
    const auto after = std::chrono::nanoseconds(timing_ == Timing::kRecorded ? reply.after_ns : 0);
    due_.emplace(now + after,
                 Due{reply.what, reply.service, reply.to(header.transaction), client, to});
  }
}

void ReplayModem::carry_out(const Due& due) {
  switch (due.what) {
    case Reply::What::kMessage:
      if (!bus_.attached(due.client) || !bus_.service_at(due.server)) return;  // gone meanwhile
      show(true, due.client, due.server, due.octets);
      bus_.deliver(due.server, due.client, due.octets);
      return;
    case Reply::What::kServiceGone:
      bus_.withdraw(std::exchange(up_[due.service], {}));
      return;
    case Reply::What::kServiceUp:
      publish(due.service);
      return;
  }
}

void ReplayModem::show(bool to_client, Address client, Address server,
                       std::span<const uint8_t> octets) {
  const auto at = std::ranges::find(up_, server);
  if (!tap_ || at == up_.end()) return;
  const auto& known = recording_.services()[static_cast<size_t>(at - up_.begin())];
  traffic::FrameHead head;
  head.to_client = to_client;
  head.service = known.service;
  head.instance = known.instance;
  head.from = to_client ? server : client;
  head.to = to_client ? client : server;
  tap_(head, octets);
}

platform::Time ReplayModem::next_due() {
  const Lock lock(mutex_);
  return due_.empty() ? platform::kNever : due_.begin()->first;
}

void ReplayModem::run_due() {
  const Lock lock(mutex_);
  while (!due_.empty() && due_.begin()->first <= platform::clock().now()) {
    const auto next = due_.extract(due_.begin());
    carry_out(next.mapped());
  }
}

std::vector<std::string> ReplayModem::not_asked() {
  const Lock lock(mutex_);
  return recording_.not_asked();
}

}  // namespace sim
