// A capture as one page for a browser, which needs nothing else: no network, no other file.
//
// The page's data is JSON in an element of its own. It is written as the frames come, so that a
// report takes no more memory than its largest message.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "traffic/view/decoder.h"

namespace traffic {

class Report {
 public:
  // Messages, notes and the like of one report: more than a browser can be expected to open.
  static constexpr uint64_t kMostEvents = 100000;

  // `name`: of the capture, for its reader.
  explicit Report(const std::string& name);

  // Each returns the next part of the page, which holds until the next call.
  const std::string& section(const std::string& command_line);
  const std::string& frame(const Frame& frame);
  // `damage`: why the capture was not read to its end; empty when it was.
  const std::string& end(const std::string& damage);

  // Events beyond the most.
  [[nodiscard]] uint64_t left_out() const { return left_out_; }

 private:
  [[nodiscard]] bool is_full();
  void add(const nlohmann::json& event);
  void add_message(const Frame& frame);

  Decoder decoder_;
  std::string part_;
  int64_t begun_ns_ = 0;
  bool begun_ = false;
  uint64_t events_ = 0;
  uint64_t left_out_ = 0;
};

}  // namespace traffic
