#include "sim/services/counters.h"

namespace sim {
namespace {

constexpr uint8_t kVersion = 4;

class Packer {
 public:
  Packer& add(uint64_t value, size_t width) {
    octets_.append(reinterpret_cast<const char*>(&value), width);
    return *this;
  }
  Packer& zeros(size_t octets) {
    octets_.append(octets, '\0');
    return *this;
  }
  std::string take() { return std::move(octets_); }

 private:
  std::string octets_;
};

// Octets of the blocks at version 4, and of the main block's first counters.
constexpr size_t kMain = 57;
constexpr size_t kMainFirst = 1 + 3 * 8;
constexpr size_t kDiag = 95;
constexpr size_t kCm = 58;
constexpr size_t kUim = 10;

}  // namespace

std::string statistics_counters(const PhoneConfig& config) {
  Packer packer;
  packer.add(kVersion, 1)
      .add(config.statistics.enabled ? 1 : 0, 1)
      .add(config.statistics.outdated_logs.size(), 8)
      .add(config.statistics.cmd_ok_count, 8)
      .add(config.statistics.cmd_fail_count, 8)
      .zeros(kMain - kMainFirst)
      .zeros(kDiag)
      .zeros(kCm)
      .zeros(kUim);
  return packer.take();
}

}  // namespace sim
