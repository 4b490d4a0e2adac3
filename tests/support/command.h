// Running a command of the tool inside the test's process.
#pragma once

#include <sstream>

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

}  // namespace desk
