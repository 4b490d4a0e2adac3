#include "traffic/replay/recording.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/qmi_idl.h"
#include "traffic/file/pcapng.h"

namespace traffic {
namespace {

using qcci::Address;
using qcci::Control;
using qcci::ControlPacket;
using qcci::kQmiHeader;
using qcci::QmiHeader;

// Clients, and requests of theirs, whose replies may still come: more than any run has at a time.
constexpr size_t kMostOpen = 4096;
// What a frame takes beside its octets, about.
constexpr size_t kFrameOctets = 160;
// A reply that came later came from another run of a modem.
constexpr int64_t kLatestNs = int64_t{3600} * 1'000'000'000;

// Of a response that may be cut, whose header QmiHeader does not take; null for other messages.
uint8_t* transaction_in(std::vector<uint8_t>& octets) {
  return octets.size() >= 3 && octets[0] == QMI_IDL_RESPONSE ? octets.data() + 1 : nullptr;
}

template <class Map>
void make_room(Map& map) {
  if (map.size() >= kMostOpen) map.clear();
}

}  // namespace

std::vector<uint8_t> Reply::to(uint16_t transaction) const {
  std::vector<uint8_t> message = octets;
  if (uint8_t* const at = transaction_in(message)) {
    uint16_t difference = 0;
    std::memcpy(&difference, at, sizeof difference);
    transaction = static_cast<uint16_t>(transaction + difference);
    std::memcpy(at, &transaction, sizeof transaction);
  }
  return message;
}

bool Recording::read(const std::string& path, std::string* why) {
  path_ = path;
  // Anything else may let its reader wait, or have no end.
  struct stat status {};
  Reader reader;
  if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    *why = path + ": not a regular file";
    return false;
  }
  if (!reader.open(path)) {
    *why = path + ": " + std::strerror(errno);
    return false;
  }
  Frame frame;
  Reader::Result result = Reader::Result::kEnd;
  while ((result = reader.next(&frame)) == Reader::Result::kFrame && !full_) add(frame);
  last_of_.clear();
  by_transaction_.clear();
  skipped_ = reader.skipped();
  if (result == Reader::Result::kTorn || result == Reader::Result::kBad) damage_ = reader.what();
  if (result != Reader::Result::kBad || !services_.empty()) return true;
  *why = path + ": " + damage_;
  return false;
}

std::vector<std::string> Recording::left_out() const {
  std::vector<std::string> lines;
  const auto add = [&](const std::string& line) { lines.push_back(path_ + ": " + line); };
  const auto messages = [](uint64_t n) {
    return std::to_string(n) + (n == 1 ? " message" : " messages");
  };
  if (!damage_.empty()) add(damage_ + "; what stands before is replayed");
  if (skipped_ != 0) add(std::to_string(skipped_) + " packets that are not vex's were skipped");
  if (without_request_ != 0) add(messages(without_request_) + " without a request are left out");
  if (other_services_ != 0) add(messages(other_services_) + " of more services are left out");
  if (full_) {
    add("too large: what stands behind the first " + std::to_string(recorded_) +
        " requests is left out");
  }
  return lines;
}

bool Recording::knows(uint32_t service) const {
  return looked_for_.contains(service) ||
         std::ranges::any_of(services_, [&](const auto& s) { return s.service == service; });
}

void Recording::add(const Frame& frame) {
  if (frame.kind == Kind::kControl) add_control(frame);
  if (frame.kind != Kind::kMessage) return;
  if (!frame.to_client) {
    add_request(frame);
  } else {
    add_reply(frame);
  }
}

bool Recording::has_room_for(size_t octets) {
  full_ = full_ || octets_ + octets + kFrameOctets > kMostOctets;
  if (!full_) octets_ += octets + kFrameOctets;
  return !full_;
}

void Recording::add_request(const Frame& frame) {
  QmiHeader header;
  if (!QmiHeader::parse(frame.octets, &header) || header.type != QMI_IDL_REQUEST) return;
  // A client that was captured has looked the service up, so one without a number is none of its.
  if (frame.service == 0 ||
      service_index(frame.service, frame.instance, frame.to) == services_.size() ||
      !has_room_for(frame.octets.size())) {
    return;
  }
  Request request{frame.service, header.message, {}};
  request.tlvs.assign(frame.octets.begin() + kQmiHeader, frame.octets.end());
  Equal& equal = requests_[std::move(request)];
  equal.recorded.push_back({recorded_++, {}});
  last_ = {&equal, equal.recorded.size() - 1, frame.time_ns, header.transaction};
  const Ends ends{frame.from, frame.to, frame.service};
  make_room(last_of_);
  make_room(by_transaction_);
  last_of_[ends] = last_;
  by_transaction_[{ends, header.transaction}] = last_;
}

void Recording::add_reply(const Frame& frame) {
  const Ends ends{frame.to, frame.from, frame.service};
  const auto last = last_of_.find(ends);
  if (last == last_of_.end()) {
    ++without_request_;
    return;
  }
  Open to = last->second;
  Reply reply{Reply::What::kMessage, 0, 0, frame.octets};
  if (uint8_t* const at = transaction_in(reply.octets)) {
    uint16_t transaction = 0;
    std::memcpy(&transaction, at, sizeof transaction);
    const auto asked = by_transaction_.find({ends, transaction});
    if (asked != by_transaction_.end()) to = asked->second;
    transaction = static_cast<uint16_t>(transaction - to.transaction);
    std::memcpy(at, &transaction, sizeof transaction);
  }
  append(to, std::move(reply), frame.time_ns);
}

void Recording::append(const Open& to, Reply reply, int64_t time_ns) {
  if (!has_room_for(reply.octets.size())) return;
  std::vector<Reply>& replies = to.equal->recorded[to.index].replies;
  const int64_t before = replies.empty() ? 0 : replies.back().after_ns;
  // Times are the file's, and may be any.
  int64_t after = 0;
  if (__builtin_sub_overflow(time_ns, to.time_ns, &after)) after = 0;
  reply.after_ns = std::clamp(after, before, kLatestNs);
  replies.push_back(std::move(reply));
}

void Recording::add_control(const Frame& frame) {
  ControlPacket packet;
  if (!ControlPacket::parse(frame.octets, &packet)) return;
  if (!frame.to_client) {
    if (packet.command == Control::kNewLookup && looked_for_.size() < kMostServices) {
      looked_for_.insert(packet.service);
    }
    return;
  }
  const bool up = packet.command == Control::kNewServer;
  if ((!up && packet.command != Control::kDelServer) || packet.ends_list()) return;
  const size_t index = service_index(packet.service, packet.instance, packet.server());
  if (index < services_.size()) service_changed(index, up, packet.server(), frame.time_ns);
}

size_t Recording::service_index(uint32_t service, uint32_t instance, Address at) {
  const auto found = std::ranges::find_if(services_, [&](const RecordedService& known) {
    return known.service == service && known.instance == instance;
  });
  const auto index = static_cast<size_t>(found - services_.begin());
  if (found != services_.end()) return index;
  if (services_.size() == kMostServices) {
    ++other_services_;
    return services_.size();
  }
  services_.push_back({service, instance, true});
  seen_.push_back({at, true});
  return index;
}

// Each process that was captured reports the same change. The first report counts; a later one is
// of an address that is known to be gone, or to be there. One process's modem may have the address
// that another's has left.
void Recording::service_changed(size_t index, bool up, Address at, int64_t time_ns) {
  Seen& seen = seen_[index];
  const bool changes = up ? !seen.up : seen.up && seen.at == at;
  if (up || changes) seen = {at, up};
  if (!changes) return;
  if (last_.equal == nullptr) {
    services_[index].from_start = up;
    return;
  }
  append(last_, {up ? Reply::What::kServiceUp : Reply::What::kServiceGone, index, 0, {}}, time_ns);
}

}  // namespace traffic
