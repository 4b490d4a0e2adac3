#include "progress.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

namespace run {

Progress::Progress(std::string what)
    : what_(std::move(what)), terminal_(::isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
  if (shown_) std::fputs("\033[K", stderr);
}

void Progress::show(std::chrono::seconds passed) {
  if (!terminal_ || passed.count() == 0) return;
  shown_ = true;
  std::fprintf(stderr, "\r\033[K%s: %lld s\r", what_.c_str(),
               static_cast<long long>(passed.count()));
}

}  // namespace run
