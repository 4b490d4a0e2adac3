// A link with the test at its other end: it answers look-ups, passes requests to the test, and
// delivers whatever the test wants, in any order.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>

#include "base/mutex.h"
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
  uint32_t instance = 1;  // of every service, as control packets have it
  bool answers = true;    // whether look-ups are answered
  // Results of sending the next look-ups, which are lost then.
  std::deque<qcci::Sent> lookup_outcomes;
  // The result of sending any other datagram.
  qcci::Sent outcome = qcci::Sent::kSent;
  // Called for every other datagram, on the sender's thread.
  std::function<void(const Sent&)> on_request;

  bool open(qcci::Endpoint* endpoint) override {
    const base::Lock lock(mutex_);
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
  // Delivers a control packet, from any address, to the endpoint that looked up last.
  void control(qcci::Address from, const qcci::ControlPacket& packet) {
    say(control_, from, {packet.octets().begin(), packet.octets().end()});
  }
  void say(qcci::EndpointId endpoint, qcci::Address from, std::vector<uint8_t> octets) {
    const base::Lock lock(mutex_);
    queue_.push_back({endpoint, from, std::move(octets)});
    arrived_.notify_all();
  }

  void wait(platform::Time deadline, uint64_t wakes) override {
    base::Lock lock(mutex_);
    while (queue_.empty() && wakes == wakes_ && platform::clock().now() < deadline) {
      platform::clock().wait_until(arrived_, lock, deadline);
    }
  }
  qcci::Received take(qcci::Datagram* datagram) override {
    const base::Lock lock(mutex_);
    if (queue_.empty()) return qcci::Received::kNothing;
    *datagram = std::move(queue_.front());
    queue_.pop_front();
    return qcci::Received::kDatagram;
  }
  void wake() override {
    const base::Lock lock(mutex_);
    ++wakes_;
    arrived_.notify_all();
  }
  uint64_t wakes() const override { return wakes_; }

 private:
  base::Mutex mutex_;
  std::condition_variable arrived_;
  std::deque<qcci::Datagram> queue_ GUARDED_BY(mutex_);
  std::atomic<uint64_t> wakes_{0};
  qcci::EndpointId last_ GUARDED_BY(mutex_) = 0;
  qcci::EndpointId control_ = 0;
};

}  // namespace desk
