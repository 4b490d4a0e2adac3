#include "vex/usage.h"

#include "common/trace.h"

namespace vex {

void print(const UsageRow& row, int command) {
  // The table's own check stands for the compiler's: every conversion is %d, and two at most.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  TRACE_USAGE(row.text, command, row.number);
#pragma GCC diagnostic pop
}

}  // namespace vex
