// Running a command of the tool inside the test's process.
#pragma once

#include <cerrno>
#include <sstream>

#include "support/desk.h"
#include "vex/commands.h"

namespace desk {

using Handler = int (*)(int argc, char** argv);

inline std::vector<std::string> split(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), {}};
}

// A command line of vex, in this process. The statistics framework admits callers by their names.
class Vex {
 public:
  explicit Vex(std::vector<std::string> words) : words_(std::move(words)) {
    words_.insert(words_.begin(), "vex");
    for (std::string& word : words_) argv_.push_back(word.data());
    argv_.push_back(nullptr);
  }
  explicit Vex(const std::string& line) : Vex(split(line)) {}
  // The program, or a family's handler.
  int run(Handler handler = vex::run) {
    static char name[] = "vex";  // is used until the process ends
    program_invocation_short_name = name;
    return handler(static_cast<int>(words_.size()), argv_.data());
  }

 private:
  std::vector<std::string> words_;
  std::vector<char*> argv_;
};

// What a family's handler writes to standard output.
inline std::string run_command(Handler handler, const std::vector<std::string>& words) {
  return output_of([&] { Vex(words).run(handler); });
}
inline std::string run_command(Handler handler, const std::string& line) {
  return run_command(handler, split(line));
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

}  // namespace desk
