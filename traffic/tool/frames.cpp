#include "frames.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace traffic {
namespace {

// Between two looks at a file that is followed: as soon as a person would notice.
constexpr useconds_t kFollowPauseUs = 50000;

}  // namespace

void say(const std::string& line) { std::fprintf(stderr, "vex-traffic: %s\n", line.c_str()); }

int fail(const std::string& why) {
  say(why);
  return kFailed;
}

bool FrameFile::open(const std::string& path) {
  path_ = path;
  if (reader_.open(path)) return true;
  status_ = fail(path + ": " + std::strerror(errno));
  return false;
}

bool FrameFile::next(Frame* frame) {
  for (;;) {
    switch (reader_.next(frame)) {
      case Reader::Result::kFrame:
        return true;
      case Reader::Result::kBad:
        status_ = fail(path_ + ": " + reader_.what());
        finish();
        return false;
      case Reader::Result::kTorn:
        if (before_wait_) break;
        say(path_ + ": " + reader_.what());
        finish();
        return false;
      case Reader::Result::kEnd:
        if (before_wait_) break;
        finish();
        return false;
    }
    before_wait_();
    ::usleep(kFollowPauseUs);
  }
}

void FrameFile::finish() {
  if (reader_.skipped() == 0) return;
  say(path_ + ": " + std::to_string(reader_.skipped()) +
      " packets that are not vex's were skipped");
}

}  // namespace traffic
