// vex-phone shell, as a person runs it.

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "support/desk.h"

namespace {

using desk::Ran;
using desk::run;
using desk::said;

// The words after "vex-phone shell", with VEX_SHELL_LEVELS as it is without debug lines.
constexpr const char kShell[] = "VEX_SHELL_LEVELS=11 $BIN/vex-phone shell ";

struct PhoneShell : testing::Test {
  void SetUp() override {
    const Ran ran = run("bwrap --ro-bind / / --unshare-pid --proc /proc --dev /dev true");
    if (ran.status != 0) {
      GTEST_SKIP() << "vex-phone shell IS NOT TESTED HERE: bubblewrap cannot make namespaces: "
                   << ran.output;
    }
  }
  static Ran shell(const std::string& script) { return run(kShell + ("sh -c '" + script + "'")); }
  std::vector<std::string> modem_log() const {
    std::vector<std::string> lines;
    std::istringstream in(directory_.file("log/modem.log"));
    for (std::string line; std::getline(in, line);) lines.push_back(line.substr(24));
    return lines;
  }
  desk::PhoneDirectory directory_;
};

TEST_F(PhoneShell, ThePhoneStandsAtItsDevicePaths) {
  const Ran ran = shell(
      "test -c /dev/smd8 && test -w /dev/smd8 && command -v vex && echo $VEX_PHONE;"
      "printf abcde >/data/vendor/modem/share_memory; pwd; id -u;"
      "for d in / /dev/ /data/; do touch ${d}x 2>/dev/null && echo $d; done;"
      "$BIN/vex-phone shell test -c /dev/smd8 2>/dev/null && echo and again inside");
  EXPECT_EQ(ran.output, std::filesystem::canonical(::getenv("BIN")).string() + "/vex\n" +
                            directory_.root() + "\n" + std::filesystem::current_path().string() +
                            "\n" + std::to_string(::getuid()) + "\nand again inside\n");
  EXPECT_EQ(directory_.file("data/vendor/modem/share_memory"), "abcde");
}

TEST_F(PhoneShell, AnAtCommandReachesTheModemAndVexShowsNoReply) {
  const Ran ran = shell("vex 8 AT+CSQ; vex 8 AT+CFUN=1; head -n 6 /dev/smd8 | tr -d \"\\r\\n\"");
  EXPECT_TRUE(said(ran.output, "echo, ret_sys: 0")) << ran.output;
  EXPECT_TRUE(said(ran.output, "The at channel is not opened, g_at_serial_fd 0")) << ran.output;
  EXPECT_TRUE(ran.output.ends_with("\n+CSQ: 29,99OKERROR")) << ran.output;
  EXPECT_EQ(ran.output.find("+CSQ: 29"), ran.output.rfind("+CSQ: 29")) << ran.output;
  EXPECT_EQ(modem_log(), (std::vector<std::string>{"< AT+CSQ", "> +CSQ: 29,99", "> OK",
                                                   "< AT+CFUN=1", "> ERROR"}));
}

TEST_F(PhoneShell, TheSharedMemoryIsWhatAnotherProcessLeftThere) {
  const Ran ran =
      run("export VEX_SHELL_LEVELS=15; $BIN/vex-phone shell sh -c 'vex 11 7; echo again; "
          "printf \"\\1\\2\\3\\4\\377\" >$VEX_PHONE/data/vendor/modem/share_memory; vex 11 7; "
          "rm -r ${VEX_PHONE:?}/data/vendor/modem' && $BIN/vex-phone shell vex 11 7");
  const size_t again = ran.output.find("again");
  EXPECT_TRUE(said(ran.output.substr(0, again), "data_ptr[4]: 0")) << ran.output;
  EXPECT_TRUE(said(ran.output.substr(again), "data_ptr[0]: 1")) << ran.output;
  EXPECT_TRUE(said(ran.output.substr(again), "data_ptr[4]: 255")) << ran.output;
  EXPECT_TRUE(said(ran.output.substr(again), "shm_open error")) << "what was removed stays so";
}

TEST_F(PhoneShell, AllItsProcessesHaveOneModem) {
  directory_.write("phone.toml",
                   "[[fault]]\nservice = \"vendor\"\nnth = 2\naction = \"qmi-error\"\nerror = 3\n"
                   "[[fault]]\nservice = \"nas\"\naction = \"drop\"\n");
  const Ran ran = run("export VEX_MODEM=embedded; " + std::string(kShell) +
                      "sh -c 'for i in 1 2 3; do echo $i; vex 11 2; done; ls $VEX_PHONE/*.sock'");
  EXPECT_EQ(desk::trace_messages(ran.output),
            (std::vector<std::string>{
                "1", "2", "send msg sync failed:-1", "3", directory_.root() + "/modem.sock",
                "vex-phone: fault rule met no message: phone.toml:6: action = \"drop\" service = "
                "\"nas\""}));
  EXPECT_FALSE(directory_.has("modem.sock"));
}

TEST_F(PhoneShell, AModemThatIsServedAlreadyIsUsedAndLeft) {
  const Ran ran =
      run("$BIN/vex-phone serve --trace >$VEX_PHONE.out 2>&1 & server=$!; "
          "for i in $(seq 200); do grep -qs listening $VEX_PHONE.out && break; sleep 0.02; done; " +
          std::string(kShell) +
          "vex 4 2 0 10 7; $BIN/vex-phone show | grep ^modem; "
          "kill -STOP $server; timeout 20 $BIN/vex-phone shell true; echo status $?; "
          "kill -CONT $server; kill $server; wait $server; cat $VEX_PHONE.out; rm $VEX_PHONE.out");
  EXPECT_NE(ran.output.find("vex-phone: using the modem that another process serves at " +
                            directory_.root() + "/modem.sock\n"),
            std::string::npos)
      << ran.output;
  EXPECT_NE(ran.output.find("served at modem.sock"), std::string::npos) << ran.output;
  EXPECT_NE(ran.output.find("modem.sock: another process serves this phone\nstatus 125\n"),
            std::string::npos)
      << ran.output;
  EXPECT_NE(ran.output.find("vendor 0x0002 generic request"), std::string::npos) << ran.output;
  EXPECT_EQ(directory_.file("nv/0/10"), "\7");
}

TEST_F(PhoneShell, SeveralThatBeginAndEndAtOnceAllRun) {
  const Ran ran =
      run("for i in $(seq 8); do $BIN/vex-phone shell true 2>/dev/null & all=\"$all $!\"; done; "
          "for one in $all; do wait $one || echo $?; done");
  EXPECT_EQ(ran.output, "");
}

TEST_F(PhoneShell, TheStatusIsTheCommands) {
  const std::tuple<std::string, int, std::string> rows[] = {
      {"true", 0, ""},
      {"sh -c 'exit 3'", 3, ""},
      {"-- sh -c 'exit 125'", 125, ""},
      {"sh -c 'kill -TERM $$'", 143, ""},
      {"sh -c 'kill -INT $$'", 130, ""},
      {"echo --help -- -h", 0, "--help -- -h\n"},
      {"nosuch x", 127, "vex-phone: nosuch: No such file or directory\n"},
      {"$VEX_PHONE/phone.toml", 126,
       "vex-phone: " + directory_.root() + "/phone.toml: Permission denied\n"},
  };
  for (const auto& [words, status, output] : rows) {
    const Ran ran = run(kShell + words);
    EXPECT_EQ(ran.status, status) << words;
    EXPECT_EQ(ran.output, output) << words;
  }
  const Ran ran = run("export SHELL=/bin/sh; echo 'echo in $0; exit 4' | " + std::string(kShell));
  EXPECT_EQ(ran.status, 4);
  EXPECT_TRUE(ran.output.ends_with("\nin /bin/sh\n")) << ran.output;
  EXPECT_EQ(run("unset PATH; " + std::string(kShell) + "sh -c 'ls -d /'").output, "/\n");
}

TEST_F(PhoneShell, NothingIsLeftRunningHoweverItEnds) {
  // Whoever still runs holds the lock; a killed shell's processes go a moment later.
  const std::string left =
      "sh -c 'flock $VEX_PHONE/l setsid sleep 600 & flock $VEX_PHONE/l2 "
      "sleep 600 & echo on >$VEX_PHONE/on; ";
  const std::string gone =
      "; for i in $(seq 200); do flock -n $VEX_PHONE/l flock -n $VEX_PHONE/l2 "
      "echo gone && break; sleep 0.02; done";
  const std::string until_on = "until test -e $VEX_PHONE/on; do sleep 0.02; done; sleep 0.1; ";
  for (const std::string& rest :
       {left + "sleep 0.1'", left + "sleep 600' & " + until_on + "kill -9 $!; wait $!",
        left + "sleep 600' & " + until_on + "kill $!; wait $!"}) {
    const Ran ran = run("rm -f $VEX_PHONE/on; " + std::string(kShell) + rest + gone);
    EXPECT_TRUE(ran.output.ends_with("gone\n")) << rest << "\n" << ran.output;
  }
}

TEST_F(PhoneShell, ASignalReachesTheCommandWhichMayHandleIt) {
  for (const char* signal : {"INT", "TERM", "HUP", "QUIT"}) {
    const std::string trap = std::string("trap \"echo got; exit 6\" ") + signal;
    // Of a background job, a script's shell has INT and QUIT ignored.
    const Ran ran = run(
        "rm -f $VEX_PHONE/on; env --default-signal=INT,QUIT $BIN/vex-phone shell sh -c '" + trap +
        "; echo >$VEX_PHONE/on; while :; do sleep 0.02; done' & "
        "until test -e $VEX_PHONE/on; do sleep 0.02; done; kill -" +
        signal + " $!; wait $!");
    EXPECT_EQ(ran.output, "got\n") << signal;
    EXPECT_EQ(ran.status, 6) << signal;
  }
}

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

TEST_F(PhoneShell, AKernelThatRefusesNamespacesIsNoted) {
  const std::string refused = "echo 0 >/proc/sys/user/max_mnt_namespaces && ";
  const Ran ran = run("unshare -Ur sh -c '" + refused + "$BIN/vex-phone shell vex 11 2'");
  EXPECT_EQ(ran.status, 125) << ran.output;
  EXPECT_TRUE(ran.output.starts_with("bwrap: ")) << ran.output;
  EXPECT_TRUE(
      ran.output.ends_with("\nvex-phone: no phone's shell here: bubblewrap could not make "
                           "its namespaces (its message is above)\n"))
      << ran.output;
  EXPECT_FALSE(directory_.has("log/system.log")) << "the command did not run";
}

TEST(PhoneShellAnywhere, WhatItLacksIsNoted) {
  const desk::PhoneDirectory directory;
  const std::tuple<const char*, const char*, std::string> rows[] = {
      {"", "PATH=/none ",
       "vex-phone: bwrap is not on the PATH: the phone's shell needs Debian's "
       "package bubblewrap\n"},
      {"bad = 1\n", "", "vex-phone: " + directory.root() + "/phone.toml:1: unknown key \"bad\"\n"},
      {"", "VEX_PHONE=/dev/null/phone ", "vex-phone: /dev/null/phone: Not a directory\n"},
  };
  for (const auto& [toml, environment, message] : rows) {
    directory.write("phone.toml", toml);
    const Ran ran = run(std::string(environment) + "$BIN/vex-phone shell true");
    EXPECT_EQ(ran.status, 125) << ran.output;
    EXPECT_EQ(ran.output, message);
  }
}

}  // namespace
