#include "sim/services/counters.h"

#include <cstdint>

namespace sim {
namespace {

// What the record begins with: its version and the main block's first counters.
struct __attribute__((packed)) Head {
  uint8_t version = 4;
  uint8_t enabled;
  uint64_t outdated_logs;
  uint64_t cmd_ok_count;
  uint64_t cmd_fail_count;
};
static_assert(sizeof(Head) == 26);

// Octets of the blocks at that version.
constexpr size_t kMain = 57;
constexpr size_t kDiag = 95;
constexpr size_t kCm = 58;
constexpr size_t kUim = 10;

}  // namespace

std::string statistics_counters(const PhoneConfig& config) {
  const StatisticsConfig& statistics = config.statistics;
  const Head head{.enabled = statistics.enabled,
                  .outdated_logs = statistics.outdated_logs.size(),
                  .cmd_ok_count = statistics.cmd_ok_count,
                  .cmd_fail_count = statistics.cmd_fail_count};
  std::string record(reinterpret_cast<const char*>(&head), sizeof head);
  record.resize(sizeof head.version + kMain + kDiag + kCm + kUim);
  return record;
}

}  // namespace sim
