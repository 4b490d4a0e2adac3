// Trace output: one message, up to two sinks.
//
// A message goes to the system log and to the shell (standard output), each as the platform's
// switches for its level say. Usage-level lines appear bare on the shell; the others carry source,
// line and function. Every message gets one line end added; one that ends in a line end is followed
// by an empty line.
//
// May be called from any thread; a line is written by one call. Nothing but this module and the
// result lines for calling scripts writes to standard output.
#ifndef COMMON_TRACE_H_
#define COMMON_TRACE_H_

#include <cstdint>

enum TraceLevel : uint32_t {
  kTraceError = 1,
  kTraceInfo = 2,
  kTraceDebug = 4,
  kTraceUsage = 8,
};

__attribute__((format(printf, 5, 6))) void trace_write(TraceLevel level, const char* file, int line,
                                                       const char* function, const char* format,
                                                       ...);

#define TRACE_AT(level, ...) trace_write(level, __FILE__, __LINE__, __func__, __VA_ARGS__)
#define TRACE_ERROR(...) TRACE_AT(kTraceError, __VA_ARGS__)
#define TRACE_INFO(...) TRACE_AT(kTraceInfo, __VA_ARGS__)
#define TRACE_DEBUG(...) TRACE_AT(kTraceDebug, __VA_ARGS__)
#define TRACE_USAGE(...) TRACE_AT(kTraceUsage, __VA_ARGS__)

// A place that messages come from.
struct TraceSite {
  const char* file;
  int line;
  const char* function;
};
#define TRACE_SITE() \
  TraceSite { __FILE__, __LINE__, __func__ }
// A message of a helper, which bears the name of the function that it helps.
#define TRACE_FROM(site, level, ...) \
  trace_write(level, __FILE__, __LINE__, (site).function, __VA_ARGS__)

// Writes "function entry ------------->" now and "function exit <-------------" at the end of its
// life.
class TraceScope {
 public:
  explicit TraceScope(TraceSite site);
  ~TraceScope();
  TraceScope(const TraceScope&) = delete;
  TraceScope& operator=(const TraceScope&) = delete;

 private:
  TraceSite site_;
};

// The same with the value that is about to be returned: "function exit, ret = %d <-------------".
// The value is read when the scope ends.
class TraceResultScope {
 public:
  TraceResultScope(TraceSite site, const int32_t& result);
  ~TraceResultScope();
  TraceResultScope(const TraceResultScope&) = delete;
  TraceResultScope& operator=(const TraceResultScope&) = delete;

 private:
  TraceSite site_;
  const int32_t& result_;
};

#endif  // COMMON_TRACE_H_
