// A command of the tool inside the test's process.
#ifndef TESTS_SUPPORT_COMMAND_H_
#define TESTS_SUPPORT_COMMAND_H_

#include <sstream>
#include <string>
#include <vector>

#include "support/desk.h"
#include "vex/commands.h"

namespace desk {

// What a family's handler writes to standard output, given the words behind "vex".
inline std::string run_command(int (*handler)(int argc, char** argv), const std::string& line) {
  std::vector<std::string> words{"vex"};
  std::istringstream in(line);
  for (std::string word; in >> word;) words.push_back(word);
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  return output_of([&] { handler(static_cast<int>(argv.size()), argv.data()); });
}

}  // namespace desk

#endif  // TESTS_SUPPORT_COMMAND_H_
