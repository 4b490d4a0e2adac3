// What a run comes to, for its result record: collected here by whoever knows it, and written by
// the program that runs commands (vex/record.h).
//
// Nothing is kept unless start() has been called, so that these functions cost other programs next
// to nothing.
//
// Threads: start() before any other thread is there; everything else from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/qmi_idl.h"

namespace result {

// Whose number a result code is. vex/codes/result_codes.h has the codes of each.
enum class Layer : uint8_t {
  kTool,    // a verdict of the command itself
  kNvefs,   // NV and EFS operations
  kVendor,  // the client of the vendor service
  kModem,   // a function of the modem: an errno number, negated
  kUim,     // card operations
  kNas,     // network requests
  kSar,     // the SAR state
  kPdc,     // carrier configurations
  kVireo,   // the statistics framework
  kDiag,    // the diag library
  kClient,  // the QMI client library
  kQmi,     // a service's standard result
  kShell,   // a program's wait status
};

// Layer kQmi: the response says success, but lacks what was asked for.
inline constexpr int32_t kIncomplete = -1;

enum class Outcome : uint8_t { kOk, kFailed, kUsage, kUnsupported };

struct Code {
  Layer layer = Layer::kTool;
  int32_t code = 0;
};

// A value that was read. A number is kept as JSON has it.
struct Value {
  std::string name, of, text;
  const char* unit = "";
  bool number = false;
};

struct Record {
  Outcome outcome = Outcome::kOk;
  Code code;
  bool has_cause = false;
  Code cause;  // what the failed layer got from below
  std::vector<std::string> errors;
  uint32_t errors_dropped = 0;
  std::vector<Value> values;
};

// Whether a record is collected.
inline bool g_wanted = false;
inline bool wanted() { return g_wanted; }

void start();
// The end of the collection.
[[nodiscard]] Record take();

// The first of these says what the run's outcome is. A code of 0 is no failure. fail() returns the
// code.
int32_t fail(Layer layer, int32_t code);
void usage();
void unsupported();

// What a failure above has its reason in; the last one counts.
void cause(Layer layer, int32_t code);
// As fail(), with the cause in place of the code when there is one.
void fail_by_cause(Layer layer, int32_t code);

// Notes what a service's response says: an error, or that it lacks what was asked for. The last one
// counts. "No effect" is no error: what was asked for is so already.
void answered(const qmi_standard_result& resp, bool complete = true);
// Fails when the last response was an error.
void fail_if_refused();

// Values, each under a name; `of` says what it belongs to, where that is not clear.
void number(std::string_view name, int64_t value, const char* unit = "", std::string_view of = "");
void decimal(std::string_view name, double value, const char* unit = "", std::string_view of = "");
void text(std::string_view name, std::string_view value);
void octets(std::string_view name, const uint8_t* octets, size_t count, std::string_view of = "");

// A line of the trace at error level.
void error_line(const char* function, std::string_view message);

}  // namespace result
