// A phone's directory that somebody put links, pipes and locks into, as the library meets it.

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>

#include "sim/phone/scratch.h"
#include "support/desk.h"

namespace {

using namespace std::chrono_literals;

struct PhoneDirectory : testing::Test {
  desk::PhoneDirectory directory_;
};

TEST_F(PhoneDirectory, ScratchFilesThatWereLeftAreRemovedAndNothingElse) {
  std::string why;
  ASSERT_TRUE(directory_.phone().prepare(&why)) << why;
  const struct {
    const char* name;
    bool old, removed;
  } rows[] = {
      {".vex-scratch/write-0123456789abcdef", true, true},
      {".vex-scratch/write-fedcba9876543210", false, false},
      {".vex-scratch/write-0123456789abcde", true, false},
      {".vex-scratch/write-0123456789abcdeg", true, false},
      {".vex-scratch/notes", true, false},
      {".vex-scratch/write-0000000000000001/write-0123456789abcdef", true, false},
      {"tmp/write-0123456789abcdef", true, false},
  };
  const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::minutes(11);
  for (const auto& row : rows) {
    directory_.write(row.name, "x");
    if (row.old) std::filesystem::last_write_time(directory_.root() + "/" + row.name, old);
  }
  const std::string link = ".vex-scratch/write-00000000000000ff";
  std::filesystem::create_symlink("notes", directory_.root() + "/" + link);
  sim::clear_scratch(directory_.phone().descriptor());
  for (const auto& row : rows) EXPECT_EQ(directory_.has(row.name), !row.removed) << row.name;
  EXPECT_TRUE(directory_.has(link));
}

TEST_F(PhoneDirectory, ALockThatSomebodyKeepsIsWaitedForFiveSeconds) {
  desk::TestClock& clock = desk::TestClock::install();
  clock.run_by_itself();
  std::string why;
  ASSERT_TRUE(directory_.phone().prepare(&why)) << why;
  const sim::Phone phone = directory_.phone();
  const sim::FileLock held = phone.lock();
  ASSERT_TRUE(held.held()) << held.why();
  const auto begun = clock.now();
  testing::internal::CaptureStderr();
  EXPECT_FALSE(phone.lock().held());
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "hostile_phone_test: " + phone.path(".lock") + ": locked by process " +
                std::to_string(::getpid()) + " (hostile_phone_t) for more than 5 s\n");
  EXPECT_GE(clock.now() - begun, 5s);
  EXPECT_LT(clock.now() - begun, 6s);
  std::string item;
  EXPECT_EQ(phone.nv().read("0/550", &item), 0) << "what needs no lock takes none";
}

// Makes openat2 fail, as a kernel does that has no such call.
void forget_openat2() {
  sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat2, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program{std::size(filter), filter};
  ASSERT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
  ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
}

struct Walk : testing::TestWithParam<const char*> {
  desk::PhoneDirectory directory_;
};

TEST_P(Walk, NothingLeadsOutOfTheFolder) {
  if (GetParam() == std::string("BySteps")) forget_openat2();
  std::string why;
  ASSERT_TRUE(directory_.phone().prepare(&why)) << why;
  const sim::Folder efs = directory_.phone().efs().quiet();
  directory_.write("secret", "s");
  std::filesystem::create_symlink(directory_.root(), directory_.root() + "/efs/link");
  std::filesystem::create_symlink("../secret", directory_.root() + "/efs/leaf");
  ASSERT_EQ(::mkfifo((directory_.root() + "/efs/pipe").c_str(), 0600), 0);
  std::string read;
  static const struct {
    std::string path;
    int read, write;
  } kRows[] = {
      {"../secret", EINVAL, EINVAL},
      {"0/../../secret", EINVAL, EINVAL},
      {"./x", EINVAL, EINVAL},
      {"", EINVAL, EINVAL},
      {"///", EINVAL, EINVAL},
      {std::string("a\0b", 3), EINVAL, EINVAL},
      {"link/secret", ELOOP, ELOOP},
      {"link/new/folder", ELOOP, ELOOP},
      {"leaf", ELOOP, ELOOP},
      {"pipe", ENXIO, ENXIO},
      {std::string(256, 'n'), ENAMETOOLONG, ENAMETOOLONG},
      {"0", ENOENT, 0},
      {"0/below/a/file", ENOTDIR, ENOTDIR},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(efs.read(row.path, &read), row.read) << row.path;
    EXPECT_EQ(efs.write(row.path, "w"), row.write) << row.path;
    EXPECT_EQ(row.write == 0 ? 0 : efs.remove(row.path), row.write) << row.path;
  }
  EXPECT_EQ(directory_.file("secret"), "s");
  EXPECT_EQ(efs.write("d/f", "w"), 0);
  EXPECT_EQ(efs.write("d", "w"), EISDIR);
  EXPECT_EQ(efs.remove("d"), EISDIR);
  EXPECT_TRUE(std::filesystem::is_empty(directory_.root() + "/.vex-scratch")) << "nothing is left";
  std::string listed;
  efs.list([&](const std::string& path, size_t) { listed += path + " "; });
  EXPECT_EQ(listed, "0 d/f ");
  const sim::Folder loud = directory_.phone().efs();
  testing::internal::CaptureStderr();
  for (const char* path : {"leaf", "pipe", "leaf", "pipe"}) EXPECT_NE(loud.read(path, &read), 0);
  EXPECT_EQ(std::ranges::count(testing::internal::GetCapturedStderr(), '\n'), 2) << "once each";
}

INSTANTIATE_TEST_SUITE_P(OfPaths, Walk, testing::Values("ByTheKernel", "BySteps"),
                         [](const auto& row) { return std::string(row.param); });

}  // namespace
