// A command: its usage and its handlers in one table, and what all commands do with theirs.
//
// A handler speaks to the user by trace lines alone. Its result is 0 or an error's number, which
// the trace may show and nothing else depends on. One command runs at a time, on one thread.
//
// VEX_COMMAND writes a table's two functions, the handler and the section printer that the list in
// commands.h names.
#pragma once

#include <climits>
#include <cstdlib>
#include <span>

#include "common/trace.h"
#include "vex/usage.h"

namespace vex {

struct Command;

// Words of the argument vector: argv[1] is the command number, argv[2] names a row of the command's
// table where it has several.
inline constexpr int kWordRow = 2;
inline constexpr int kWordOwn = 3;  // the first word of the row's own

// One call of a command: the tool's whole argument vector.
struct Call {
  int argc;
  char** argv;
  const Command& command;

  int number(int word) const { return std::atoi(argv[word]); }
  // Whether there are so many words; notes that there are too few.
  [[nodiscard]] bool has(int words) const;
  // Whether there are exactly so many words; notes how many it needs.
  [[nodiscard]] bool has_exactly(int words) const;
  // What follows the note on wrong words: prints the command's section. The command's result.
  int refuse() const;
};

// A row of usage, and the handler of the words that it shows. A handler checks its own words; for
// wrong ones it traces a note and refuses the call.
struct Row {
  UsageRow usage;  // its number is the one that argv[2] names
  int (*run)(const Call& call) = nullptr;
  std::span<const UsageRow> more = {};  // rows of usage below the first
};

struct Command {
  int number;
  UsageRow title;
  std::span<const Row> rows;
  int (*show_help)(int selector);  // the section printer

  int least_words = kWordOwn;
  int most_words = INT_MAX;
  const char* wrong_count = "note: Too few parameters, Pls refer to the following cmd:";
  bool number_first = false;  // the command number is checked before the count of words
  // Further checks of the words before a row is looked for; one that fails traces a note.
  bool (*admit)(const Call& call) = nullptr;
  // Runs every call, whatever its words are; null: the row that argv[2] names runs.
  int (*run)(const Call& call) = nullptr;
  const char* row_word = nullptr;  // what the note on a word that names no row calls it
  bool reports_errors = false;     // a row's result other than 0 gets a note
  int refused = 0;                 // the result of a refused call

  const Row* find(int row_number) const;
};

// Checks the words that all commands have and runs what they name. The result is the handler's.
int dispatch(TraceSite handler, const Command& command, int argc, char** argv);
// Prints the command's section when the selector is 0 or its number. Returns the selector.
int show(TraceSite printer, const Command& command, int selector);

}  // namespace vex

#define VEX_SECTION_PRINTER(name, command) \
  extern "C" int name(int selector) { return vex::show(__func__, command, selector); }
#define VEX_COMMAND(handler, section_printer, command)   \
  extern "C" int handler(int argc, char** argv) {        \
    return vex::dispatch(__func__, command, argc, argv); \
  }                                                      \
  VEX_SECTION_PRINTER(section_printer, command)
