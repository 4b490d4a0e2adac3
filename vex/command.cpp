#include "vex/command.h"

#include "common/result.h"

namespace vex {
namespace {

// Whether the words of the call are as many as the command takes, and name it.
bool in_order(const Call& call) {
  const Command& command = call.command;
  const bool own = call.argc > 1 && call.number(1) == command.number;
  const bool counted = call.argc >= command.least_words && call.argc <= command.most_words;
  if (!counted && (own || !command.number_first)) {
    TRACE_ERROR("%s", command.wrong_count);
  } else if (!own) {
    TRACE_ERROR("note: the first parameters should be %d, Pls refer to the following cmd:",
                command.number);
  }
  return counted && own && (command.admit == nullptr || command.admit(call));
}

int run_row(const Call& call) {
  const int number = call.number(kWordRow);
  const Row* row = call.command.find(number);
  if (row == nullptr && call.command.row_word != nullptr) {
    TRACE_ERROR("invalid %s = %d", call.command.row_word, number);
  } else if (row == nullptr) {
    TRACE_ERROR("note: the second parameters is invalid, Pls refer to the following cmd:");
  }
  if (row == nullptr) return call.refuse();
  const int result = row->run(call);
  if (call.command.reports_errors && result != 0) {
    TRACE_ERROR("note: Error happen! error_code(%d)", result);
  }
  return result;
}

}  // namespace

bool Call::has(int words) const {
  if (argc >= words) return true;
  TRACE_ERROR("note: Too few parameters, Pls refer to the following cmd:");
  return false;
}

bool Call::has_exactly(int words) const {
  if (argc == words) return true;
  TRACE_ERROR("note: need %d inputs, Pls refer to the following cmd:", words);
  return false;
}

int Call::refuse() const {
  result::usage();
  command.show_help(command.number);
  return command.refused;
}

const Row* Command::find(int row_number) const {
  for (const Row& row : rows) {
    if (row.usage.number == row_number) return &row;
  }
  return nullptr;
}

int dispatch(TraceSite handler, const Command& command, int argc, char** argv) {
  const Operation operation(handler);
  const Call call{argc, argv, command};
  if (!in_order(call)) return call.refuse();
  return command.run != nullptr ? command.run(call) : run_row(call);
}

int show(TraceSite printer, const Command& command, int selector) {
  if (selector != 0 && selector != command.number) return selector;
  const Operation operation(printer);
  print(command.title, command.number);
  for (const Row& row : command.rows) {
    print(row.usage, command.number);
    for (const UsageRow& more : row.more) print(more, command.number);
  }
  return selector;
}

}  // namespace vex
