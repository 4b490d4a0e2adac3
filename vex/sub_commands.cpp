#include "vex/sub_commands.h"

#include <cstdlib>

namespace vex {

// Notes come from the place in the family's own source.
#define NOTE(...) trace_write(kTraceError, site.file, site.line, site.function, __VA_ARGS__)

int Family::run(int argc, char** argv, TraceSite site) const {
  const bool own = argc > 1 && std::atoi(argv[1]) == command;
  if (argc < kSubCommandWords && (own || !number_first)) {
    NOTE("note: Too few parameters, Pls refer to the following cmd:");
  } else if (!own) {
    NOTE("note: the first parameters should be %d, Pls refer to the following cmd:", command);
  } else {
    const int number = std::atoi(argv[2]);
    for (const SubCommand& known : sub_commands) {
      if (known.usage.number != number) continue;
      const int result = known.run(argc, argv);
      if (result != 0) {
        NOTE("note: Error happen! error_code(%d)", result);
      }
      return result;
    }
    NOTE("note: the second parameters is invalid, Pls refer to the following cmd:");
  }
  show_help(command, site);
  return 0;
}

int Family::show_help(int selector, TraceSite site) const {
  print_section(selector, command, std::span(&title, 1), site);
  for (const SubCommand& sub_command : sub_commands) {
    print_section(selector, command, std::span(&sub_command.usage, 1), site);
    print_section(selector, command, sub_command.more, site);
  }
  return selector;
}

}  // namespace vex
