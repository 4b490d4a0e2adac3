#include <cinttypes>
#include <cstdio>
#include <map>
#include <optional>

#include "commands.h"
#include "frames.h"
#include "qcci/wire/octets.h"

namespace traffic {
namespace {

// The exchanges of a file, in the order in which they end: a request with its response, a request
// without one at the next use of its transaction or the end, an indication.
class Exchanges {
 public:
  explicit Exchanges(const std::string& path) { open_ = file_.open(path); }

  [[nodiscard]] int status() const { return file_.status(); }
  [[nodiscard]] uint64_t count() const { return count_; }

  // Nothing at the end. Without times, addresses and transactions, which differ in any two runs.
  std::optional<std::string> next() {
    Frame frame;
    while (open_ && file_.next(&frame)) {
      if (frame.kind != Kind::kMessage) continue;
      if (const auto done = take(frame)) return count(*done);
    }
    open_ = false;
    if (waiting_.empty()) return std::nullopt;
    const auto first = waiting_.begin();
    const std::string text = first->second + kUnanswered;
    waiting_.erase(first);
    return count(text);
  }

 private:
  static constexpr const char* kUnanswered = "    (no response)\n";
  static constexpr size_t kMostWaiting = 4096;

  std::string count(std::string text) {
    ++count_;
    return text;
  }

  std::optional<std::string> take(const Frame& frame) {
    Decoded& d = decoder_.decode(frame);
    std::string text = "    ";
    text += d.service != nullptr ? d.service->name : std::to_string(frame.service);
    text += std::string(" ") +
            (d.service != nullptr ? d.service->message_name(d.header.message) : "?") + " " +
            type_name(d.header.type) + ": ";
    if (d.problem.empty()) {
      append_values(d, SIZE_MAX, &text);
    } else {
      text.append("(").append(d.problem).append(") ");
      text += qcci::to_hex(frame.octets, " ");
    }
    text += '\n';
    if (d.header.type == QMI_IDL_INDICATION) return text;
    const Key key{frame.client(), frame.server(), d.header.transaction};
    const auto asked = waiting_.find(key);
    std::optional<std::string> done;
    if (d.header.type == QMI_IDL_RESPONSE) {
      done = asked != waiting_.end() ? asked->second + text : "    (no request)\n" + text;
      if (asked != waiting_.end()) waiting_.erase(asked);
      return done;
    }
    if (asked != waiting_.end()) done = asked->second + kUnanswered;
    if (!done && waiting_.size() >= kMostWaiting) {
      done = waiting_.begin()->second + kUnanswered;
      waiting_.erase(waiting_.begin());
    }
    waiting_[key] = text;
    return done;
  }

  struct Key {
    qcci::Address client, server;
    uint16_t transaction;
    auto operator<=>(const Key&) const = default;
  };

  FrameFile file_;
  bool open_ = false;
  Decoder decoder_;
  std::map<Key, std::string> waiting_;
  uint64_t count_ = 0;
};

void show(const char* which, const std::optional<std::string>& exchange) {
  std::printf("%s\n%s", which, exchange ? exchange->c_str() : "    (it has ended)\n");
}

}  // namespace

int diff_files(const std::string& a, const std::string& b) {
  Exchanges first(a), second(b);
  uint64_t at = 0, different = 0;
  if (first.status() != 0 || second.status() != 0) return kFailed;
  for (;;) {
    const auto one = first.next(), two = second.next();
    if (!one && !two) break;
    ++at;
    if (one == two) continue;
    if (different++ == 0) {
      std::printf("exchange %" PRIu64 " is the first that differs\n", at);
      show(a.c_str(), one);
      show(b.c_str(), two);
    }
  }
  std::printf("%" PRIu64 " exchanges in %s, %" PRIu64 " in %s, %" PRIu64 " differ\n", first.count(),
              a.c_str(), second.count(), b.c_str(), different);
  return different != 0 || first.status() != 0 || second.status() != 0 ? kFailed : 0;
}

}  // namespace traffic
