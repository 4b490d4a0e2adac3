// Trace output: one message, up to two sinks.
//
// A message goes to the system log and to the shell (standard output), each as the platform's
// switches for its level say. Usage-level lines appear bare on the shell; the others carry source,
// line and function. Every message gets one line end added; one that ends in a line end is followed
// by an empty line.
//
// May be called from any thread; a line is written by one call. Results for calling scripts and the
// decoding of statistics are printed without it.
#pragma once

#include <cstdint>

enum TraceLevel : uint32_t {
  kTraceError = 1,
  kTraceInfo = 2,
  kTraceDebug = 4,
  kTraceUsage = 8,
};

// A message of that function, or of the operation that it helps.
__attribute__((format(printf, 5, 6))) void trace_write(TraceLevel level, const char* file, int line,
                                                       const char* function, const char* format,
                                                       ...);

#define TRACE_AT(level, ...) trace_write(level, __FILE__, __LINE__, __func__, __VA_ARGS__)
#define TRACE_ERROR(...) TRACE_AT(kTraceError, __VA_ARGS__)
#define TRACE_INFO(...) TRACE_AT(kTraceInfo, __VA_ARGS__)
#define TRACE_DEBUG(...) TRACE_AT(kTraceDebug, __VA_ARGS__)
#define TRACE_USAGE(...) TRACE_AT(kTraceUsage, __VA_ARGS__)

// A failure's message, and then its result: if (size > kMost) return TRACED_ERROR(-1, "too long");
#define TRACED_ERROR(result, ...) (TRACE_ERROR(__VA_ARGS__), (result))
#define TRACED_DEBUG(result, ...) (TRACE_DEBUG(__VA_ARGS__), (result))

// A function that messages are to name, and where it stands: by default, where its name is given.
struct TraceSite {
  TraceSite(const char* name, const char* source = __builtin_FILE(),  // NOLINT: reads as the name
            int source_line = __builtin_LINE())
      : function(name), file(source), line(source_line) {}

  const char* function;  // the strings live as long as the program
  const char* file;
  int line;
};

// The operation that the calling thread is in, whose name its messages bear. Every function whose
// name the trace shows opens one; functions that help it just trace. Operations nest, and the
// innermost counts. On a thread without one, as in a callback, messages bear the name of the
// function that they stand in.
//
// File and line belong to the name: they are the message's own in the operation's source, and where
// the operation was opened for a message from another source.
class Operation {
 public:
  explicit Operation(TraceSite site);
  ~Operation();
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  // The name that messages bear here; `fallback` on a thread without an operation.
  static const char* name(const char* fallback);

 private:
  friend decltype(trace_write) trace_write;

  const TraceSite site_;
  const Operation* const outer_;
};

// An operation that writes "function entry ------------->" when it begins and
// "function exit <-------------" when it ends.
class TraceScope {
 public:
  explicit TraceScope(TraceSite site);
  ~TraceScope();

 private:
  const Operation operation_;
};

// Runs an operation's body and returns its result, which the last line shows:
// "function exit, ret = %d <-------------".
template <class Body>
auto traced(TraceSite site, Body body) {
  const Operation operation(site);
  TRACE_DEBUG("function entry ------------->");
  const auto result = body();
  TRACE_DEBUG("function exit, ret = %d <-------------", result);
  return result;
}
