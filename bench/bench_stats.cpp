// Statistics records decoded, with their summary lines alone and with every step shown. What is
// shown goes to /dev/null, the results to standard error.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <iostream>

#include "vex/kelvor_vex_vireo_unpack.h"

namespace {

// A serving cell of the longest version, and the room behind its last field.
constexpr size_t kRecord = 4 + 344 / 8 + 16;

void serving_cell(benchmark::State& state, uint8_t print) {
  unsigned char record[kRecord];
  for (size_t i = 0; i < sizeof record; ++i) record[i] = static_cast<unsigned char>(i * 7);
  constexpr uint32_t kVersion = 0x30002;
  std::memcpy(record, &kVersion, sizeof kVersion);
  g_unpk.print = print;
  for (auto _ : state) {
    kelvor_test_modem_stats_parsing_process_do(record);
    benchmark::DoNotOptimize(g_modem_stats_record);
  }
  if (g_modem_stats_record.data == nullptr) state.SkipWithError("no record");
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_CAPTURE(serving_cell, summary, uint8_t{0});
BENCHMARK_CAPTURE(serving_cell, every_step, uint8_t{1});

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
  benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
  reporter.SetOutputStream(&std::cerr);
  reporter.SetErrorStream(&std::cerr);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
