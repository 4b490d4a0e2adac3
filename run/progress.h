// A line on a terminal's standard error that says how long a run takes; nothing elsewhere.
#pragma once

#include <chrono>
#include <string>

namespace run {

class Progress {
 public:
  explicit Progress(std::string what);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Shows the time, which the next line of output overwrites. Not before the first second is over.
  void show(std::chrono::seconds passed);

 private:
  const std::string what_;
  const bool terminal_;
  bool shown_ = false;
};

}  // namespace run
