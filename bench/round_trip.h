// What the benchmarks of both links share: one exchange with the modem, and a whole EFS transfer.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/idl/vendor.h"
#include "platform/idl/vendor_payload.h"
#include "platform/kelvor_utils.h"
#include "qmi/kelvor_extend_api.h"
#include "qmi/kelvor_extend_nvefs.h"

namespace bench {

// A phone that goes with the process, and no trace output.
class QuietPhone {
 public:
  QuietPhone() {
    if (::mkdtemp(name_.data()) == nullptr) std::abort();
    ::setenv("VEX_PHONE", name_.c_str(), 1);
    kelvor_hal_close_print();
    kelvor_extend_set_trace(0);
  }
  ~QuietPhone() {
    std::error_code ignored;
    std::filesystem::remove_all(name_, ignored);
  }
  const std::string& root() const { return name_; }

 private:
  std::string name_ = std::filesystem::temp_directory_path() / "vex-bench-XXXXXX";
};

inline void vendor_round_trip(benchmark::State& state) {
  const kelvor_common_raw_req request{KELVOR_COMMON_STATS_LOG_LIST, 0, {}};
  kelvor_common_rsp response;
  for (auto _ : state) {
    uint32_t length = sizeof response;
    if (kelvor_extend_qmi_send_sync(REQUEST_ID_COMMON, &request, sizeof request, &response,
                                    &length) != 0) {
      state.SkipWithError("no answer");
      break;
    }
  }
}

// Of so many full chunks, up to what one transfer can carry.
inline void efs_transfer(benchmark::State& state, bool write) {
  const auto octets = static_cast<uint32_t>(state.range(0)) * KELVOR_NVEFS_CHUNK_MAX;
  static const char kPath[] = "/bench";
  std::vector<uint8_t> data(octets, 0x5A);
  int32_t result = kelvor_efs_write(0, kPath, sizeof kPath - 1, data.data(), octets);
  for (auto _ : state) {
    uint32_t length = octets;
    result |= write ? kelvor_efs_write(0, kPath, sizeof kPath - 1, data.data(), octets)
                    : kelvor_efs_read(0, kPath, sizeof kPath - 1, data.data(), &length);
  }
  if (result != 0) state.SkipWithError("transfer failed");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * octets);
}

inline void register_round_trips(const std::string& link) {
  const auto name = [&link](const char* what) { return link + "/" + what; };
  benchmark::RegisterBenchmark(name("vendor_round_trip").c_str(), vendor_round_trip)->UseRealTime();
  for (const bool write : {false, true}) {
    benchmark::RegisterBenchmark(name(write ? "efs_write" : "efs_read").c_str(), efs_transfer,
                                 write)
        ->ArgsProduct({{1, 10, 100, KELVOR_NVEFS_EXCHANGES_MAX}})
        ->UseRealTime();
  }
}

inline int run(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

}  // namespace bench
