#include "sim/serving/embedded_link.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>

#include "base/mutex.h"

namespace sim {
namespace {

using qcci::Datagram;
using qcci::EndpointId;
using qcci::Received;

class EmbeddedLink final : public qcci::Link {
 public:
  explicit EmbeddedLink(std::shared_ptr<ModemBus> modem) : modem_(std::move(modem)) {}

  ~EmbeddedLink() override {
    for (const auto& [id, end] : ends_) modem_->detach(end->address);
  }

  bool open(qcci::Endpoint* endpoint) override {
    auto end = std::make_unique<End>(*this);
    end->address = modem_->attach(*end);
    const base::Lock lock(mutex_);
    end->id = ++last_;
    *endpoint = {end->id, end->address};
    ends_.emplace(end->id, std::move(end));
    return true;
  }

  // Detaches without this link's mutex: the modem takes its own first, then, to deliver, this one.
  void close(EndpointId endpoint) override {
    std::unique_ptr<End> end;
    {
      const base::Lock lock(mutex_);
      const auto found = ends_.find(endpoint);
      if (found == ends_.end()) return;
      end = std::move(found->second);
      ends_.erase(found);
    }
    modem_->detach(end->address);
    const base::Lock lock(mutex_);
    std::erase_if(queue_, [&](const Datagram& d) { return d.endpoint == endpoint; });
  }

  qcci::Sent send(EndpointId endpoint, qcci::Address to, std::span<const uint8_t> octets) override {
    Address from;
    {
      const base::Lock lock(mutex_);
      const auto found = ends_.find(endpoint);
      if (found == ends_.end()) return qcci::Sent::kCut;
      from = found->second->address;
    }
    modem_->send(from, to, octets);
    modem_->run_due();
    // Who waits already must not wait beyond what the modem is going to do.
    if (modem_->next_due() != platform::kNever) wake();
    return qcci::Sent::kSent;
  }

  void wait(platform::Time deadline, uint64_t wakes) override {
    base::Lock lock(mutex_);
    while (queue_.empty() && wakes == wakes_) {
      lock.unlock();
      modem_->run_due();
      const platform::Time due = std::min(deadline, modem_->next_due());
      lock.lock();
      if (!queue_.empty() || wakes != wakes_ || platform::clock().now() >= deadline) return;
      platform::clock().wait_until(arrived_, lock, due);
    }
  }

  Received take(Datagram* datagram) override {
    const base::Lock lock(mutex_);
    if (queue_.empty()) return Received::kNothing;
    *datagram = std::move(queue_.front());
    queue_.pop_front();
    return Received::kDatagram;
  }

  void wake() override {
    const base::Lock lock(mutex_);
    ++wakes_;
    arrived_.notify_all();
  }

  uint64_t wakes() const override { return wakes_; }

 private:
  struct End final : Port {
    explicit End(EmbeddedLink& owner) : link(owner) {}
    void deliver(Address from, std::span<const uint8_t> octets) override {
      link.queue({id, from, {octets.begin(), octets.end()}});
    }
    EmbeddedLink& link;
    EndpointId id = 0;
    Address address;
  };

  void queue(Datagram datagram) {
    const base::Lock lock(mutex_);
    queue_.push_back(std::move(datagram));
    arrived_.notify_all();
  }

  const std::shared_ptr<ModemBus> modem_;
  base::Mutex mutex_;
  std::condition_variable arrived_;
  std::atomic<uint64_t> wakes_{0};  // changed with the mutex held
  EndpointId last_ GUARDED_BY(mutex_) = 0;
  std::map<EndpointId, std::unique_ptr<End>> ends_ GUARDED_BY(mutex_);
  std::deque<Datagram> queue_ GUARDED_BY(mutex_);
};

}  // namespace

std::unique_ptr<qcci::Link> make_embedded_link(std::shared_ptr<ModemBus> modem) {
  return std::make_unique<EmbeddedLink>(std::move(modem));
}

}  // namespace sim
