#include "common/trace.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/kelvor_utils.h"

namespace {

thread_local const Operation* t_innermost = nullptr;

const char* base_name(const char* file) {
  const char* slash = std::strrchr(file, '/');
  return slash != nullptr ? slash + 1 : file;
}

void to_log(TraceLevel level, const char* file, int line, const char* function,
            const char* message) {
  const auto write = level == kTraceError ? kelvor_utils_syslog_err : kelvor_utils_syslog_dbg;
  if (kelvor_get_qcril_process_instance_id() != KELVOR_NO_PROCESS_INSTANCE) {
    write("SUB[%d][%s:%d] %s: %s", kelvor_get_qcril_process_instance_id(), file, line, function,
          message);
  } else {
    write("[%s][%s:%d] %s: %s", kelvor_get_current_pid_name(), file, line, function, message);
  }
}

void to_shell(TraceLevel level, const char* file, int line, const char* function,
              const char* message) {
  if (level == kTraceUsage) {
    std::printf("%s\n", message);
  } else {
    std::printf("RIL[%s:%d] %s: %s\n", file, line, function, message);
  }
}

}  // namespace

void trace_write(TraceLevel level, const char* file, int line, const char* function,
                 const char* format, ...) {
  const bool log = kelvor_hal_get_logcat_print_flag(level);
  const bool shell = kelvor_hal_get_shell_print_flag(level);
  if (!log && !shell) return;
  if (const Operation* const operation = t_innermost) {
    const TraceSite& site = operation->site_;
    function = site.function;
    if (std::strcmp(file, site.file) != 0) {
      file = site.file;
      line = site.line;
    }
  }

  char room[1024];
  char* message = room;
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(room, sizeof room, format, arguments);
  if (length < 0) {
    room[0] = '\0';  // a message that cannot be formed is an empty one
  } else if (length >= static_cast<int>(sizeof room)) {
    auto* more = static_cast<char*>(std::malloc(static_cast<size_t>(length) + 1));
    if (more != nullptr) {
      message = more;
      std::vsnprintf(more, static_cast<size_t>(length) + 1, format, again);
    }
  }
  va_end(again);
  va_end(arguments);

  const char* name = base_name(file);
  if (log) to_log(level, name, line, function, message);
  if (shell) to_shell(level, name, line, function, message);
  if (message != room) std::free(message);
}

Operation::Operation(TraceSite site) : site_(site), outer_(t_innermost) { t_innermost = this; }

Operation::~Operation() { t_innermost = outer_; }

const char* Operation::name(const char* fallback) {
  return t_innermost != nullptr ? t_innermost->site_.function : fallback;
}

TraceScope::TraceScope(TraceSite site) : operation_(site) {
  TRACE_DEBUG("function entry ------------->");
}

TraceScope::~TraceScope() { TRACE_DEBUG("function exit <-------------"); }
