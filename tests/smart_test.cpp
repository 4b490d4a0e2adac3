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

}  // namespace
