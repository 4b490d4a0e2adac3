// A link whose other end is the test: it answers look-ups, notes what is sent, and says whatever
// the test wants, in order or not.
#ifndef TESTS_SUPPORT_SCRIPTED_LINK_H_
#define TESTS_SUPPORT_SCRIPTED_LINK_H_

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>

#include "qcci/link/link.h"

namespace desk {

class ScriptedLink final : public qcci::Link {
 public:
  static constexpr qcci::Address kControl{1, qcci::kControlPort};

  struct Sent {
    qcci::EndpointId endpoint;
    qcci::Address to;
    std::vector<uint8_t> octets;
  };

  // The services that look-ups find; service id to address.
  std::map<uint32_t, qcci::Address> services;
  uint32_t instance = 1;  // of every service: its version, and its number above
  bool answers = true;    // look-ups
  // What becomes of the next look-ups, before they are sent as usual.
  std::deque<qcci::Sent> lookup_outcomes;
  // What becomes of a datagram that is no look-up.
  qcci::Sent outcome = qcci::Sent::kSent;
  // Called for every datagram that is no look-up, on the sender's thread.
  std::function<void(const Sent&)> on_request;

  bool open(qcci::Endpoint* endpoint) override {
    const std::lock_guard lock(mutex_);
    ++last_;
    *endpoint = {last_, {1, static_cast<uint32_t>(100 + last_)}};
    return true;
  }
  void close(qcci::EndpointId) override {}

  qcci::Sent send(qcci::EndpointId endpoint, qcci::Address to,
                  std::span<const uint8_t> octets) override {
    qcci::ControlPacket packet;
    if (to == kControl && qcci::ControlPacket::parse(octets, &packet)) {
      if (!lookup_outcomes.empty()) {
        const qcci::Sent outcome_now = lookup_outcomes.front();
        lookup_outcomes.pop_front();
        return outcome_now;
      }
      if (packet.command == qcci::Control::kNewLookup && answers) {
        control_ = endpoint;
        if (const auto at = services.find(packet.service); at != services.end()) {
          announce(qcci::Control::kNewServer, packet.service, at->second);
        }
        control(kControl, {qcci::Control::kNewServer, 0, 0, 0, 0});
      }
      return qcci::Sent::kSent;
    }
    if (on_request) on_request({endpoint, to, {octets.begin(), octets.end()}});
    return outcome;
  }

  void announce(qcci::Control command, uint32_t service, qcci::Address at) {
    control(kControl, {command, service, instance, at.node, at.port});
  }
  // A control packet to whoever looked up last, from any address.
  void control(qcci::Address from, const qcci::ControlPacket& packet) {
    say(control_, from, {packet.octets().begin(), packet.octets().end()});
  }
  void say(qcci::EndpointId endpoint, qcci::Address from, std::vector<uint8_t> octets) {
    const std::lock_guard lock(mutex_);
    platform::clock().hold();
    queue_.push_back({endpoint, from, std::move(octets)});
    arrived_.notify_all();
  }
  // Everything said so far has been taken and handled.
  void settle() {
    std::unique_lock lock(mutex_);
    while (!queue_.empty() || !idle_) handled_.wait(lock);
  }

  qcci::Received receive(qcci::Datagram* datagram, platform::Time deadline) override {
    std::unique_lock lock(mutex_);
    if (in_flight_) platform::clock().release();
    in_flight_ = false;
    idle_ = true;
    handled_.notify_all();
    while (queue_.empty() && !woken_ && platform::clock().now() < deadline) {
      platform::clock().wait_until(arrived_, lock, deadline);
    }
    idle_ = false;
    woken_ = false;
    if (queue_.empty()) return qcci::Received::kNothing;
    *datagram = std::move(queue_.front());
    queue_.pop_front();
    in_flight_ = true;
    return qcci::Received::kDatagram;
  }
  void wake() override {
    const std::lock_guard lock(mutex_);
    woken_ = true;
    arrived_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::condition_variable handled_;
  std::deque<qcci::Datagram> queue_;
  bool woken_ = false;
  bool idle_ = false;
  bool in_flight_ = false;
  qcci::EndpointId last_ = 0;
  qcci::EndpointId control_ = 0;
};

}  // namespace desk

#endif  // TESTS_SUPPORT_SCRIPTED_LINK_H_
