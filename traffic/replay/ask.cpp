// A recording that is asked: what matches, what comes nearest, what is left.

#include <algorithm>
#include <tuple>
#include <utility>

#include "platform/qmi_idl.h"
#include "qcci/wire/octets.h"
#include "traffic/replay/recording.h"
#include "traffic/view/print.h"

namespace traffic {
namespace {

using qcci::kQmiHeader;
using qcci::QmiHeader;

// Requests that are compared to find the nearest: one that was not recorded must not take long.
constexpr size_t kMostCompared = 1000;

// The octets in which they differ.
size_t distance(std::span<const uint8_t> a, std::span<const uint8_t> b) {
  const size_t few = std::min(a.size(), b.size());
  size_t differ = std::max(a.size(), b.size()) - few;
  for (size_t i = 0; i < few; ++i) differ += a[i] != b[i] ? 1u : 0u;
  return differ;
}

std::string times(size_t n) { return n == 1 ? "once" : std::to_string(n) + " times"; }

}  // namespace

std::string Recording::words(const Request& request, size_t most_octets) {
  Frame frame;
  frame.service = request.service;
  frame.octets.resize(kQmiHeader + request.tlvs.size());
  QmiHeader{.type = QMI_IDL_REQUEST,
            .message = request.message,
            .length = static_cast<uint16_t>(request.tlvs.size())}
      .write(frame.octets.data());
  std::ranges::copy(request.tlvs, frame.octets.begin() + kQmiHeader);
  Decoder decoder;
  Decoded& decoded = decoder.decode(frame);
  std::string line;
  append_name(decoded, &line);
  line += ": ";
  append_contents(decoded, most_octets, &line);
  if (line.ends_with(": ")) line.resize(line.size() - 2);
  return line;
}

// Of the same message, else of the same service; rather one that was not asked yet.
Recording::Requests::const_iterator Recording::nearest(const Request& to) const {
  const auto of_message = [&](uint16_t message) {
    return requests_.lower_bound({to.service, message, {}});
  };
  auto first = of_message(to.message);
  const auto same = [&](auto at) {
    return at != requests_.end() && at->first.service == to.service &&
           at->first.message == to.message;
  };
  const bool message = same(first);
  if (!message) first = of_message(0);
  auto best = requests_.end();
  std::tuple<size_t, bool> least;
  size_t compared = 0;
  for (auto at = first; at != requests_.end() && at->first.service == to.service; ++at) {
    if (++compared > kMostCompared || (message && !same(at))) break;
    const std::tuple now(distance(qcci::as_octets(at->first.tlvs), qcci::as_octets(to.tlvs)),
                         at->second.all_asked());
    if (best != requests_.end() && least <= now) continue;
    best = at;
    least = now;
  }
  return best;
}

const std::vector<Reply>* Recording::ask(uint32_t service, std::span<const uint8_t> request,
                                         std::string* line) {
  QmiHeader header;
  if (!QmiHeader::parse(request, &header)) return nullptr;
  Request asked{service, header.message, {}};
  asked.tlvs.assign(request.begin() + kQmiHeader, request.end());
  const auto found = requests_.find(asked);
  if (found != requests_.end() && !found->second.all_asked()) {
    return &found->second.recorded[found->second.asked++].replies;
  }
  if (found != requests_.end()) {
    *line = "recorded only " + times(found->second.asked) + ": " + words(asked, kShownOctets);
    return nullptr;
  }
  const auto near = nearest(asked);
  std::string what = words(asked, kShownOctets);
  if (near == requests_.end()) {
    *line = "not recorded: " + what + "; nor is any other of that service";
    return nullptr;
  }
  std::string instead = words(near->first, kShownOctets);
  if (instead == what) {
    what = words(asked, SIZE_MAX);
    instead = words(near->first, SIZE_MAX);
  }
  *line = "not recorded: " + what + "; nearest" +
          (near->second.all_asked() ? ", asked already: " : ": ") + instead;
  return nullptr;
}

std::vector<std::string> Recording::not_asked() const {
  std::vector<std::pair<size_t, Requests::const_pointer>> left;
  size_t requests = 0;
  for (const auto& entry : requests_) {
    const Equal& equal = entry.second;
    if (equal.all_asked()) continue;
    left.emplace_back(equal.recorded[equal.asked].number, &entry);
    requests += equal.recorded.size() - equal.asked;
  }
  std::ranges::sort(left);
  std::vector<std::string> lines;
  for (const auto& [number, entry] : left) {
    if (lines.size() + 1 == kMostLines && left.size() > kMostLines) {
      lines.push_back("not asked: " + std::to_string(requests) + " others");
      break;
    }
    const size_t count = entry->second.recorded.size() - entry->second.asked;
    requests -= count;
    lines.push_back("not asked" + (count == 1 ? "" : ", " + times(count)) + ": " +
                    words(entry->first, kShownOctets));
  }
  return lines;
}

}  // namespace traffic
