// What a restart of the modem leaves of its items and files.

#include "sim/phone/storage.h"

#include <filesystem>
#include <sstream>

#include "support/desk.h"

namespace {

// Steps: "a=1" writes file a, "a+1" adds to it, "a!" deletes it, "sync" and "restart".
struct Row {
  const char* name;
  const char* steps;
  const char *lost, *survives;  // the files at the end, in either kind of phone

  friend void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }
};
const Row kRows[] = {
    {"ANewFileGoes", "a=1 restart", "", "a=1"},
    {"AnOldFileComesBackAsItWasAtTheSync", "a=1 sync a=2 a=3 restart", "a=1", "a=3"},
    {"ADeletedFileComesBack", "a=1 sync a! restart", "a=1", ""},
    {"ANewFileThatIsDeletedStaysAway", "a=1 a! restart", "", ""},
    {"WhatIsSyncedStays", "a=1 b=2 sync restart restart", "a=1 b=2", "a=1 b=2"},
    {"ADeletionThatIsSyncedStays", "a=1 sync a! sync restart", "", ""},
    {"OnlyTheSecondChangeIsLost", "a=1 sync b=2 restart a=3 sync b=4 restart", "a=3", "a=3 b=4"},
    {"FilesBelowFoldersToo", "d/e/f=1 sync d/e/f=2 d/g=3 restart", "d/e/f=1", "d/e/f=2 d/g=3"},
    {"WhatIsAddedGoes", "a=1 sync a+2 a+3 b+4 restart", "a=1", "a=123 b=4"},
    {"NoFileIsNoChange", "a! sync a! restart", "", ""},
};

struct Unsynced : testing::TestWithParam<Row> {
  std::string after(bool loses) {
    const desk::PhoneDirectory directory;
    std::string why;
    EXPECT_TRUE(directory.phone().prepare(&why)) << why;
    std::istringstream steps(GetParam().steps);
    for (std::string step; steps >> step;) {
      // Each step in a storage of its own: another process might do it.
      const sim::Storage storage(directory.phone(), loses);
      const size_t at = step.find_first_of("=+");
      if (step == "sync") {
        EXPECT_EQ(storage.sync(), 0);
      } else if (step == "restart") {
        EXPECT_EQ(storage.restart(), 0);
      } else if (at != std::string::npos) {
        const std::string file = step.substr(0, at);
        const std::string octets = step.substr(at + 1);
        const auto added = [&](const std::string& old) { return old + octets; };
        EXPECT_EQ(
            step[at] == '=' ? storage.efs.write(file, octets) : storage.efs.update(file, added), 0);
      } else {
        (void)storage.efs.remove(step.substr(0, step.size() - 1));  // there may be none
      }
    }
    std::string files;
    directory.phone().efs().list([&](const std::string& path, size_t) {
      files += (files.empty() ? "" : " ") + path + "=" + directory.file("efs/" + path);
    });
    return files;
  }
};

size_t open_files() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(files), end(files)));
}

TEST_P(Unsynced, IsWhatTheRowSaysAndLeavesNoFileOpen) {
  EXPECT_EQ(after(true), GetParam().lost);
  const size_t before = open_files();
  EXPECT_EQ(after(false), GetParam().survives);
  EXPECT_EQ(open_files(), before);
}

INSTANTIATE_TEST_SUITE_P(Rows, Unsynced, testing::ValuesIn(kRows),
                         [](const auto& row) { return row.param.name; });

constexpr bool kLoses = true;
constexpr bool kKeeps = false;

TEST(Storage, AnOwnersChangeOfMindSettlesWhatIsKept) {
  const desk::PhoneDirectory directory;
  std::string why;
  ASSERT_TRUE(directory.phone().prepare(&why)) << why;
  ASSERT_EQ(sim::Storage(directory.phone(), kLoses).nv.write("0/1", "x"), 0);
  EXPECT_EQ(sim::Storage(directory.phone(), kKeeps).restart(), 0) << "a phone that loses nothing";
  EXPECT_EQ(sim::Storage(directory.phone(), kLoses).restart(), 0);
  EXPECT_EQ(directory.file("nv/0/1"), "x");
}

}  // namespace
