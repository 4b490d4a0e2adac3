// Running a command of the tool inside the test's process.
#ifndef TESTS_SUPPORT_COMMAND_H_
#define TESTS_SUPPORT_COMMAND_H_

#include <functional>
#include <sstream>
#include <thread>

#include "platform/idl/vendor.h"
#include "support/desk.h"
#include "vex/commands.h"

namespace desk {

using Handler = int (*)(int argc, char** argv);

// Runs a family's handler with the words behind "vex"; returns what it writes to standard output.
inline std::string run_command(Handler handler, std::vector<std::string> words,
                               int* result = nullptr) {
  words.insert(words.begin(), "vex");
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  int ignored = 0;
  return output_of([&] {
    *(result != nullptr ? result : &ignored) = handler(static_cast<int>(words.size()), argv.data());
  });
}

inline std::vector<std::string> split(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

// The same for the words of a line.
inline std::string run_command(Handler handler, const std::string& line, int* result = nullptr) {
  return run_command(handler, split(line), result);
}

// The trace messages of one source file.
inline std::vector<std::string> messages_of(const std::string& source, const std::string& output) {
  std::istringstream in(output);
  std::string own;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("RIL[" + source + ":")) own += line + "\n";
  }
  return trace_messages(own);
}

// Advances the clock over one wait of the calling thread that has that length. `begun` returns true
// once no other wait of that length can come before it.
class PassOne {
 public:
  PassOne(TestClock& clock, platform::Duration wait, std::function<bool()> begun)
      : thread_([&clock, wait, begun = std::move(begun), who = std::this_thread::get_id()] {
          while (!begun()) std::this_thread::yield();
          clock.await_waiter(wait, who);
          clock.advance(wait);
        }) {}
  ~PassOne() { thread_.join(); }
  PassOne(const PassOne&) = delete;
  PassOne& operator=(const PassOne&) = delete;

 private:
  std::thread thread_;
};

// A request to the vendor service, as the modem received it.
struct VendorRequest {
  uint32_t id;
  std::vector<uint8_t> data;  // of the length that the request says

  std::string begins(size_t octets) const { return hex(std::span(data).first(octets)); }
};
inline std::vector<VendorRequest> vendor_requests(const std::vector<Message>& messages) {
  constexpr size_t kId = 7 + 3, kLength = kId + 4 + 3, kData = kLength + 4 + 3;
  const auto word = [](const Message& message, size_t at) {
    return static_cast<uint32_t>(message.octets.at(at) | message.octets.at(at + 1) << 8 |
                                 message.octets.at(at + 2) << 16 | message.octets.at(at + 3) << 24);
  };
  std::vector<VendorRequest> requests;
  for (const Message& message : messages) {
    if (message.service != "vendor" || message.kind != sim::FaultKind::kRequest) continue;
    const auto from = message.octets.begin() + kData;
    requests.push_back({word(message, kId), {from, from + word(message, kLength)}});
  }
  return requests;
}

}  // namespace desk

#endif  // TESTS_SUPPORT_COMMAND_H_
