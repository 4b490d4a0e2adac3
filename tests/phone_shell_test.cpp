// vex-phone shell, as a person at a terminal runs it.

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/desk.h"

namespace {

using desk::Ran;
using desk::run;

struct PhoneShell : testing::Test {
  void SetUp() override {
    const Ran ran = run("bwrap --ro-bind / / --unshare-pid --proc /proc --dev /dev true");
    if (ran.status != 0) {
      GTEST_SKIP() << "vex-phone shell IS NOT TESTED HERE: bubblewrap cannot make namespaces: "
                   << ran.output;
    }
  }
  desk::PhoneDirectory directory_;
};

// A person at a terminal, in which a line runs.
class Person {
 public:
  explicit Person(const std::string& line) {
    if (child_ = ::forkpty(&terminal_, nullptr, nullptr, nullptr); child_ != 0) return;
    ::execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
    std::_Exit(127);
  }
  ~Person() {
    ::close(terminal_);
    ::waitpid(child_, nullptr, 0);
  }
  Person(const Person&) = delete;
  Person& operator=(const Person&) = delete;

  void types(const std::string& keys) const {
    EXPECT_EQ(::write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  }
  // Whether the text appears, behind what was seen last.
  bool sees(const std::string& text) {
    char octets[1024];
    pollfd polled{terminal_, POLLIN, 0};
    size_t at;
    while ((at = shown_.find(text)) == std::string::npos) {
      if (::poll(&polled, 1, 20000) != 1) return false;
      const ssize_t n = ::read(terminal_, octets, sizeof octets);
      if (n <= 0) return false;
      shown_.append(octets, static_cast<size_t>(n));
    }
    shown_.erase(0, at + text.size());
    return true;
  }
  const std::string& shown() const { return shown_; }

 private:
  int terminal_ = -1;
  pid_t child_;
  std::string shown_;
};

TEST_F(PhoneShell, AnInteractiveShellHasTheTerminalAndItsKeys) {
  // The quotes keep what is typed, which the terminal shows, from what is printed.
  const std::string line = std::string(::getenv("BIN")) +
                           "/vex-phone shell bash --norc -i; echo left-$?; read x; echo read-$x";
  Person person(line);
  const std::pair<const char*, const char*> rows[] = {
      {"echo r''eady\n", "ready"},
      {"sh -c 'echo b\"\"egun; exec sleep 100'\n", "begun"},
      {"\x03", "^C"},
      {"echo w''as-$?\n", "was-130"},
      {"sh -c 'echo a\"\"gain; exec sleep 100'\n", "again"},
      {"\x1A", "Stopped"},
      {"disown -a; exit 5\n", "left-5"},
      {"y\n", "read-y"},
  };
  for (const auto& [keys, text] : rows) {
    person.types(keys);
    ASSERT_TRUE(person.sees(text)) << text << " not in " << person.shown();
  }
}

TEST_F(PhoneShell, ACommandThatIsInterruptedInterruptsItsCaller) {
  Person person(
      "trap : INT; bash -c '" + std::string(::getenv("BIN")) +
      "/vex-phone shell sh -c \"echo begun; exec sleep 100\"; echo n\"\"ot'; echo left-$?");
  ASSERT_TRUE(person.sees("begun"));
  person.types("\x03");
  ASSERT_TRUE(person.sees("left-130")) << person.shown();
  EXPECT_EQ(person.shown().find("not"), std::string::npos);
}

}  // namespace
