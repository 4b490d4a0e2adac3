#include "common/result.h"

#include <cmath>
#include <cstdio>
#include <utility>

#include "base/mutex.h"

namespace result {
namespace {

// A modem that floods must not make the record grow.
constexpr size_t kErrorsMax = 100;
constexpr size_t kValuesMax = 1000;
constexpr size_t kTextMax = 1000;  // octets

base::Mutex g_mutex;
Record g_record GUARDED_BY(g_mutex);
bool g_decided GUARDED_BY(g_mutex) = false;
int32_t g_refusal GUARDED_BY(g_mutex) = 0;  // a QMI error, or kIncomplete

void decide(Outcome outcome, Code code) EXCLUDES(g_mutex) {
  if (!wanted()) return;
  const base::Lock lock(g_mutex);
  if (std::exchange(g_decided, true)) return;
  g_record.outcome = outcome;
  g_record.code = code;
}

void keep(Value value) EXCLUDES(g_mutex) {
  const base::Lock lock(g_mutex);
  if (g_record.values.size() < kValuesMax) g_record.values.push_back(std::move(value));
}

}  // namespace

void start() {
  const base::Lock lock(g_mutex);
  g_record = {};
  g_decided = false;
  g_refusal = 0;
  g_wanted = true;
}

Record take() {
  const base::Lock lock(g_mutex);
  g_wanted = false;
  return std::move(g_record);
}

int32_t fail(Layer layer, int32_t code) {
  if (code != 0) decide(Outcome::kFailed, {layer, code});
  return code;
}

void usage() { decide(Outcome::kUsage, {}); }

void unsupported() { decide(Outcome::kUnsupported, {}); }

void cause(Layer layer, int32_t code) {
  if (!wanted() || code == 0) return;
  const base::Lock lock(g_mutex);
  g_record.has_cause = true;
  g_record.cause = {layer, code};
}

void fail_by_cause(Layer layer, int32_t code) {
  if (!wanted()) return;
  Code found{layer, code};
  {
    const base::Lock lock(g_mutex);
    if (std::exchange(g_record.has_cause, false)) found = g_record.cause;
  }
  fail(found.layer, found.code);
}

void answered(const qmi_standard_result& resp, bool complete) {
  if (!wanted()) return;
  int32_t refusal = complete ? 0 : kIncomplete;
  if (resp.result != 0) refusal = static_cast<int32_t>(resp.error);
  if (resp.result != 0 && resp.error == QMI_ERROR_NONE) refusal = kIncomplete;
  if (resp.result != 0 && resp.error == QMI_ERROR_NO_EFFECT) refusal = 0;
  cause(Layer::kQmi, refusal);
  const base::Lock lock(g_mutex);
  g_refusal = refusal;
}

void fail_if_refused() {
  if (!wanted()) return;
  int32_t refusal = 0;
  {
    const base::Lock lock(g_mutex);
    refusal = g_refusal;
  }
  fail(Layer::kQmi, refusal);
}

void number(std::string_view name, int64_t value, const char* unit, std::string_view of) {
  if (!wanted()) return;
  keep({std::string(name), std::string(of), std::to_string(value), unit, true});
}

void decimal(std::string_view name, double value, const char* unit, std::string_view of) {
  if (!wanted()) return;
  constexpr int kDigits = 9;  // what a float has
  char text[32] = "null";     // JSON has no other number for what is none
  if (std::isfinite(value)) std::snprintf(text, sizeof text, "%.*g", kDigits, value);
  keep({std::string(name), std::string(of), text, unit, true});
}

void text(std::string_view name, std::string_view value) {
  if (!wanted()) return;
  keep({std::string(name), "", std::string(value.substr(0, kTextMax)), "", false});
}

void octets(std::string_view name, const uint8_t* octets, size_t count, std::string_view of) {
  if (!wanted()) return;
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string hex;
  for (size_t i = 0; i < count; ++i) {
    hex.push_back(kDigits[octets[i] >> 4]);
    hex.push_back(kDigits[octets[i] & 15]);
  }
  keep({std::string(name), std::string(of), std::move(hex), "hex", false});
}

void error_line(const char* function, std::string_view message) {
  const base::Lock lock(g_mutex);
  if (g_record.errors.size() >= kErrorsMax) {
    ++g_record.errors_dropped;
    return;
  }
  std::string line = std::string(function) + ": ";
  g_record.errors.push_back(line.append(message.substr(0, kTextMax)));
}

}  // namespace result
