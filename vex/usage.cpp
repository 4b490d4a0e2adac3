#include "vex/usage.h"

namespace vex {

int print_section(int selector, int command, std::span<const UsageRow> rows, TraceSite site) {
  if (selector != 0 && selector != command) return selector;
  for (const UsageRow& row : rows) {
    // The table's own check stands for the compiler's: every conversion is %d, and two at most.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    TRACE_FROM(site, kTraceUsage, row.text, row.number_first ? row.number : command, row.number);
#pragma GCC diagnostic pop
  }
  return selector;
}

}  // namespace vex
