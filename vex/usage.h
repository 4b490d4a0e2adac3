// Usage text: rows in tables, printed at usage level.
//
// A row's text is passed to the trace operation as it stands; a row whose text ends in a line end
// is therefore followed by an empty line. Its first %d is the section's command, its second the
// row's own number.
#pragma once

namespace vex {

struct UsageRow {
  // A row without a number of its own.
  constexpr UsageRow(const char* row) : UsageRow(row, 0) {}  // NOLINT: rows read as texts
  constexpr UsageRow(const char* row, int own) : text(row), number(own) { check(row); }

  const char* text;
  int number;

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

// Prints a row of the command's section.
void print(const UsageRow& row, int command);

}  // namespace vex
