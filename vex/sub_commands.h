// A command family's sub-commands: a row each, with its usage beside its handler.
#ifndef VEX_SUB_COMMANDS_H_
#define VEX_SUB_COMMANDS_H_

#include <span>

#include "common/trace.h"
#include "vex/usage.h"

namespace vex {

// A handler gets the whole argument vector; its own words begin at argv[kSubCommandWords]. Words
// that are not in order are its own to refuse: it prints its note, and its family's section, and
// returns 0. Any other result is reported.
inline constexpr int kSubCommandWords = 3;

struct SubCommand {
  UsageRow usage;  // its number is the sub-command's
  int (*run)(int argc, char** argv);
  std::span<const UsageRow> more = {};  // rows of usage below the first
};

struct Family {
  int command;
  UsageRow title;
  std::span<const SubCommand> sub_commands;
  bool number_first = false;  // the command number is checked before the count of words

  // Runs the sub-command that argv[2] names; the notes bear the site's function. What the handler
  // returned; 0 when there was none to run.
  int run(int argc, char** argv, TraceSite site) const;
  // Prints the notes' section when the selector is 0 or the family's command. Returns the selector.
  int show_help(int selector, TraceSite site) const;
};

}  // namespace vex

#endif  // VEX_SUB_COMMANDS_H_
