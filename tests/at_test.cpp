// Command 8: the shell line that it runs, what a shell makes of it, and the reply's side.

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>

#include "platform/shell.h"
#include "support/command.h"
#include "vex/kelvor_vex_at_cmd.h"

namespace {

constexpr std::string_view kChannel = "/dev/smd8";

std::vector<std::string> g_lines;  // that the command gave to the shell
std::string g_channel;             // what stands for the phone's channel; empty: no shell

}  // namespace

// In place of the desk's: the same shell, with the test's file in the channel's place.
extern "C" int platform_shell(const char* line) {
  g_lines.emplace_back(line);
  std::string run = line;
  if (g_channel.empty() || !run.ends_with(kChannel)) return -1;
  run.replace(run.size() - kChannel.size(), kChannel.size(), g_channel);
  return std::system(run.c_str());
}

namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

constexpr const char kStarted[] = "The thread to receive data from serial is started";
constexpr const char kNotOpened[] = "The at channel is not opened, g_at_serial_fd 0";

struct At : desk::Desk {
  At() { g_channel = directory_.root() + "/channel"; }
  static std::string at(const std::string& text) {
    return desk::run_command(kelvor_test_at_cmd_do, {"8", text});
  }
  // The messages of the command's thread, and of the receiver's.
  static Texts said(const std::string& output, Texts* received = nullptr) {
    std::string own, others;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) {
      const bool receiver = line.find("] kelvor_test_at_cmd_receive: ") != std::string::npos;
      (receiver ? others : own) += line + "\n";
    }
    if (received != nullptr) *received = desk::trace_messages(others);
    return desk::messages_of("kelvor_vex_at_cmd.cpp", own);
  }
};

TEST_F(At, TheFirstWordReachesTheChannelWithACarriageReturn) {
  clock_.run_by_itself();
  const std::string longest = "AT+" + std::string(97, 'x');
  const struct {
    std::string word;
    int count;
    std::string text, arrives;
  } rows[] = {
      {"AT+CSQ", 1, "AT+CSQ", "AT+CSQ"},
      {"AT+COPS? and more", 1, "AT+COPS?", "AT+COPS?"},
      {" \tAT\r", 1, "AT", "AT"},
      {"AT+CGDCONT=1,'IP';&|<>*#", 1, "AT+CGDCONT=1,'IP';&|<>*#", "AT+CGDCONT=1,'IP';&|<>*#"},
      {longest, 1, longest, longest},
      {"", -1, "", ""},
      // What a shell expands in double quotes.
      {"AT$((1+1))", 1, "AT$((1+1))", "AT2"},
      {"AT`expr${IFS}7`", 1, "AT`expr${IFS}7`", "AT7"},
      {"AT$none", 1, "AT$none", "AT"},
  };
  for (const auto& row : rows) {
    g_lines.clear();
    Texts received;
    const Texts texts = said(at(row.word), &received);
    const std::string line = "echo \"" + row.text + "\r\" > /dev/smd8";
    EXPECT_EQ(texts,
              (Texts{"At cmd you input: sscanf(" + std::to_string(row.count) + "), len (" +
                         std::to_string(row.text.size()) + "), " + row.text,
                     "Will create a thread to receive data from serial", "at shell cmd: " + line,
                     "echo, ret_sys: 0", "Success to send at shell cmd"}));
    EXPECT_EQ(received, (Texts{kStarted, kNotOpened}));
    EXPECT_EQ(g_lines, Texts{line});
    EXPECT_EQ(directory_.file("channel"), row.arrives + "\r\n");
  }
}

TEST_F(At, ALineThatFailsIsNoted) {
  clock_.run_by_itself();
  const auto ends = [](const std::string& output, const std::string& status) {
    const Texts texts = said(output);
    ASSERT_GE(texts.size(), 2u);
    EXPECT_EQ(texts[texts.size() - 2], "echo, ret_sys: " + status);
    EXPECT_EQ(texts.back(), "Fail to send at shell cmd");
  };
  ends(at("AT\";exit\"\"3;\""), std::to_string(127 << 8));  // "exit3;<CR>", no command
  const std::string none = directory_.root() + "/none/channel";
  g_channel = none;
  ends(at("AT"), std::to_string(std::system((": > " + none + " 2>&1").c_str())));
  g_channel.clear();
  ends(at("AT"), "-1");
}

// ---- with a channel that somebody has opened

TEST_F(At, AReplyIsReadOnceAndTheChannelClosed) {
  clock_.run_by_itself();
  const struct {
    std::string reply, shown;
  } rows[] = {
      {"+CSQ: 20,99", "+CSQ: 20,99"},
      {std::string(511, 'r'), std::string(511, 'r')},
      {std::string(600, 'r'), std::string(511, 'r')},
      {"", ""},
  };
  for (const auto& row : rows) {
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    ASSERT_EQ(::write(ends[1], row.reply.data(), row.reply.size()),
              static_cast<ssize_t>(row.reply.size()));
    ::close(ends[1]);
    g_at_serial_fd = ends[0];
    Texts received;
    const Texts texts = said(at("AT"), &received);
    EXPECT_EQ(texts.back(), "Will close channel: /dev/smd8");
    EXPECT_EQ(g_at_serial_fd, 0);
    EXPECT_EQ(::fcntl(ends[0], F_GETFD), -1) << "closed";
    if (row.shown.empty()) {
      EXPECT_EQ(received, (Texts{kStarted, "Failed to receive bytes from server"}));
    } else {
      const std::string length = std::to_string(row.shown.size());
      EXPECT_EQ(received,
                (Texts{kStarted, "Receive the AT reponse: len(" + length + ")", row.shown}));
    }
  }
}

}  // namespace
