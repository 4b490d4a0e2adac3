// What a capture holds for somebody who asks it again: the services, and the requests with what
// followed each of them.
//
// A request is known by its service, message and contents. What follows it is: the responses to its
// transaction; until the same client asks the same server again, the indications to it and the
// responses to nobody's transaction; until anybody asks anything, the services that go and come.
//
// Threads: one at a time.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "qcci/wire/packet.h"
#include "traffic/file/frame.h"

namespace traffic {

struct RecordedService {
  uint32_t service = 0;
  uint32_t instance = 0;   // version and instance in one field, as control packets have them
  bool from_start = true;  // it was up before the first request, or nothing says that it was not
};

// One thing that followed a request.
struct Reply {
  enum class What : uint8_t { kMessage, kServiceGone, kServiceUp };
  What what = What::kMessage;
  size_t service = 0;    // which of Recording::services, unless it is a message
  int64_t after_ns = 0;  // since the request, and not less than that of the reply before it
  // Of a message: the datagram. A response has the difference between its transaction and the
  // request's, which is 0 unless the modem was wrong.
  std::vector<uint8_t> octets;

  // The datagram as it follows a request with this transaction.
  [[nodiscard]] std::vector<uint8_t> to(uint16_t transaction) const;
};

class Recording {
 public:
  // Bounds of what is kept: more than any run has, and no more than a host has memory for.
  static constexpr size_t kMostOctets = size_t{256} << 20;
  static constexpr size_t kMostServices = 64;

  // Reads a capture. False, and why, when there is nothing in it that can be read.
  [[nodiscard]] bool read(const std::string& path, std::string* why);
  // Adds a frame, in the file's order.
  void add(const Frame& frame);

  [[nodiscard]] const std::vector<RecordedService>& services() const { return services_; }
  // Whether the service is there, or was looked for.
  [[nodiscard]] bool knows(uint32_t service) const;
  // What of the file is not replayed: a line for each reason.
  [[nodiscard]] std::vector<std::string> left_out() const;

  // What followed the first equal request that was not asked yet. Null, and a line that says what
  // was asked and what came nearest, when there is none. `request`: a whole message.
  [[nodiscard]] const std::vector<Reply>* ask(uint32_t service, std::span<const uint8_t> request,
                                              std::string* line);
  // A line for each request that was not asked, in the file's order; at most kMostLines.
  [[nodiscard]] std::vector<std::string> not_asked() const;
  static constexpr size_t kMostLines = 20;

 private:
  struct Request {
    uint32_t service = 0;
    uint16_t message = 0;
    std::string tlvs;  // octets
    auto operator<=>(const Request&) const = default;
  };
  struct Recorded {
    size_t number = 0;  // in the file's order
    std::vector<Reply> replies;
  };
  struct Equal {
    std::vector<Recorded> recorded;
    size_t asked = 0;  // of them, from the first on
    bool all_asked() const { return asked == recorded.size(); }
  };
  using Requests = std::map<Request, Equal>;

  // A request whose replies are still being read. Its Equal stays where it is.
  struct Open {
    Equal* equal = nullptr;
    size_t index = 0;
    int64_t time_ns = 0;
    uint16_t transaction = 0;
  };
  struct Ends {
    qcci::Address client, server;
    uint32_t service = 0;
    auto operator<=>(const Ends&) const = default;
  };
  // Where a service was last seen.
  struct Seen {
    qcci::Address at;
    bool up = true;
  };

  [[nodiscard]] bool has_room_for(size_t octets);
  void add_request(const Frame& frame);
  void add_reply(const Frame& frame);
  void add_control(const Frame& frame);
  void append(const Open& to, Reply reply, int64_t time_ns);
  // The service, made if it was not known; services_.size() when there are too many.
  size_t service_index(uint32_t service, uint32_t instance, qcci::Address at);
  void service_changed(size_t index, bool up, qcci::Address at, int64_t time_ns);
  [[nodiscard]] Requests::const_iterator nearest(const Request& to) const;
  [[nodiscard]] static std::string words(const Request& request, size_t most_octets);

  std::string path_;
  std::vector<RecordedService> services_;
  std::vector<Seen> seen_;  // of each of services_
  std::set<uint32_t> looked_for_;
  Requests requests_;
  size_t recorded_ = 0;  // requests
  size_t octets_ = 0;
  Open last_;  // of all; none when its equal is null
  std::map<Ends, Open> last_of_;
  std::map<std::pair<Ends, uint16_t>, Open> by_transaction_;

  std::string damage_;
  bool full_ = false;
  uint64_t skipped_ = 0, without_request_ = 0, other_services_ = 0;
};

}  // namespace traffic
