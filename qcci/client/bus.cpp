#include "qcci/client/bus.h"

#include <exception>

namespace qcci {
namespace {

using platform::Time;

// The pause after a bus that accepts connections but does not answer. Each attempt blocks a caller,
// so it is as long as the longest of them (a look-up's).
constexpr auto kUnresponsiveBackoff = std::chrono::seconds(5);
// An attempt that failed after more than this was not refused but left without an answer.
constexpr auto kSlowConnect = std::chrono::milliseconds(200);

}  // namespace

bool try_open(Link& link, Endpoint* endpoint) {
  try {
    return link.open(endpoint);
  } catch (const std::exception&) {
    return false;
  }
}

bool Bus::connect(base::Mutex& mutex, base::Lock& lock) {
  while (state_ == State::kConnecting) {
    platform::clock().wait_until(connected_, lock, platform::kNever);
  }
  if (state_ == State::kUp) return true;
  const Time begun = platform::clock().now();
  if (state_ == State::kBackedOff && begun < off_until_) return false;
  state_ = State::kConnecting;
  Endpoint endpoint;
  bool is_open = false;
  {
    const base::Unlock unlocked(mutex);
    is_open = try_open(link_, &endpoint);
  }
  state_ = is_open ? State::kUp : State::kOff;
  connected_.notify_all();
  if (is_open) {
    control_ = endpoint;
    shared_ = false;
    return true;
  }
  const Time now = platform::clock().now();
  if (now - begun > kSlowConnect) {
    state_ = State::kBackedOff;
    off_until_ = now + kUnresponsiveBackoff;
  }
  return false;
}

bool Bus::share(Endpoint* endpoint) {
  if (!up() || shared_) return false;
  shared_ = true;
  *endpoint = control_;
  return true;
}

Sent Bus::look_up(uint32_t service) {
  if (registry_.service(service).asked) return Sent::kSent;
  const ControlPacket packet{.command = Control::kNewLookup, .service = service};
  const Sent sent = link_.send(control_.id, {control_.own.node, kControlPort}, packet.octets());
  if (sent == Sent::kSent) registry_.asked(service);
  return sent;
}

const uint32_t* Bus::missing_look_up() const {
  for (const auto& [id, state] : registry_.services()) {
    if (!state.asked) return &id;
  }
  return nullptr;
}

std::vector<ServiceChange> Bus::lose(platform::Duration pause) {
  if (up()) link_.close(control_.id);
  // A thread that connects meanwhile connects to the next bus.
  if (state_ != State::kConnecting) {
    state_ = State::kBackedOff;
    off_until_ = platform::clock().now() + pause;
  }
  ++losses_;
  return registry_.lose_all();
}

void Bus::leave() {
  if (!up() || !shared_) return;
  link_.close(control_.id);
  state_ = State::kOff;
  registry_ = Registry();
}

}  // namespace qcci
