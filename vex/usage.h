// Usage text: rows in tables, printed at usage level.
//
// A row's text is passed to the trace operation as it stands; a row whose text ends in a line end
// is therefore followed by an empty line. Its first %d is the section's command, its second the
// row's own number; in a row made by of_number, the first is its own.
#ifndef VEX_USAGE_H_
#define VEX_USAGE_H_

#include <cstdint>
#include <span>

#include "common/trace.h"

namespace vex {

struct UsageRow {
  // A row without a number of its own.
  constexpr UsageRow(const char* row) : UsageRow(row, 0) {}  // NOLINT: rows read as texts
  constexpr UsageRow(const char* row, int own) : text(row), number(own) { check(row); }

  static constexpr UsageRow of_number(const char* row, int own) {
    UsageRow made(row, own);
    made.number_first = true;
    return made;
  }

  const char* text;
  int number;
  bool number_first = false;

 private:
  // Reached only by a row with another conversion than %d, or with more than two: it does not
  // compile.
  static void bad_row();
  static constexpr void check(const char* row) {
    int conversions = 0;
    for (const char* c = row; *c != '\0'; ++c) {
      if (*c == '%' && (*++c != 'd' || ++conversions > 2)) bad_row();
    }
  }
};

// Prints the rows when the selector is 0 or the section's own command. Returns the selector.
int print_section(int selector, int command, std::span<const UsageRow> rows, TraceSite site);

}  // namespace vex

#define PRINT_SECTION(selector, command, rows) \
  vex::print_section(selector, command, rows, TRACE_SITE())

#endif  // VEX_USAGE_H_
