// Command 11: the shared memory and the timer.

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>
#include <tuple>

#include "support/command.h"
#include "vex/kelvor_vex_smart_test.h"

namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

constexpr const char kSource[] = "kelvor_vex_smart_test.cpp";
struct Smart : desk::Desk {};

Texts with(Texts first, const Texts& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// ---- shared memory

// The lines of one run, with what differs from run to run taken out.
Texts shared_memory_says(const std::string& path) {
  g_share_memory_file_path = path.c_str();
  Texts texts = desk::messages_of(kSource, desk::run_command(kelvor_smart_test_do, "11 7"));
  for (std::string& text : texts) {
    if (text.starts_with("open, fd: ") && text != "open, fd: -1") text = "open, fd: N";
    if (text.starts_with("mmap, data_ptr: 0x") && text.size() == 26) text = "mmap, data_ptr: N";
  }
  return texts;
}

Texts probe(const std::string& path, const Texts& says) {
  return with(
      with({"share_memory", "function entry ------------->", "g_share_memory_file_path: " + path},
           says),
      {"function exit <-------------"});
}
size_t open_files() {
  size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

TEST_F(Smart, ASharedMemoryThatIsCutWhileItIsReadIsNoted) {
  const std::string path = directory_.root() + "/share_memory";
  directory_.write("share_memory", "");
  std::atomic<bool> noted{false};
  std::thread other([&] {
    while (!noted) std::ignore = ::truncate(path.c_str(), 0);
  });
  const Texts cut = probe(path, {"open, fd: N", "ftruncate, ret: 0", "mmap, data_ptr: N",
                                 "data_ptr error", "munmap, ret: 0", "close fd"});
  for (int i = 0; i < 5000 && !noted; ++i) noted = shared_memory_says(path) == cut;
  EXPECT_TRUE(noted.exchange(true));
  other.join();
}

// A file that takes its size but no writer of its octets.
TEST_F(Smart, ASharedMemoryThatCannotBeMappedIsNotedAndClosed) {
  const int sealed = ::memfd_create("sealed", MFD_ALLOW_SEALING);
  ASSERT_EQ(::fcntl(sealed, F_ADD_SEALS, F_SEAL_FUTURE_WRITE), 0);
  const std::string path = "/proc/self/fd/" + std::to_string(sealed);
  const Texts says = probe(
      path, {"open, fd: N", "ftruncate, ret: 0", "mmap, data_ptr: N", "mmap error", "close fd"});
  EXPECT_EQ(shared_memory_says(path), says);
  const size_t before = open_files();
  EXPECT_EQ(shared_memory_says(path), says);
  EXPECT_EQ(open_files(), before);
}

// ---- timer

struct Timer : Smart, testing::WithParamInterface<int> {};

TEST_P(Timer, CountsTheSecondsUntilItExpires) {
  const int timeout = GetParam();
  std::thread time([&] {
    for (int second = 1; second <= timeout; ++second) {
      clock_.await_waiter(1s, second < timeout ? 1 : 2);  // the last one is the timer's as well
      clock_.advance(1s);
    }
    clock_.run_by_itself();
  });
  Texts texts = desk::messages_of(
      kSource, desk::run_command(kelvor_smart_test_do, "11 8 " + std::to_string(timeout)));
  time.join();
  const std::string expired = "The timer expired with ID 1";
  const auto at = std::find(texts.begin(), texts.end(), expired);
  ASSERT_NE(at, texts.end());
  texts.erase(at);  // another thread's
  // The poll that is due with the timer may come before it.
  ASSERT_GE(texts.size(), 3u);
  const auto polls = static_cast<int>(texts.size()) - 3;
  EXPECT_GE(polls, timeout);
  Texts expected = {"Timer test start, timeout_s = " + std::to_string(timeout),
                    "Start one timer(timer_id 1), will pause until this timer is expired ..."};
  for (int n = 1; n <= polls; ++n) {
    expected.push_back(n == 1 ? "1 second has passed" : std::to_string(n) + " seconds have passed");
  }
  expected.push_back("Timer test done");
  EXPECT_EQ(texts, expected);
  EXPECT_EQ(clock_.passed(), std::chrono::seconds(polls));
}

INSTANTIATE_TEST_SUITE_P(Seconds, Timer, testing::Values(0, 1, 30));

}  // namespace
