// One measurement, from the getter to the modem inside the process and back.

#include <errno.h>

#include "round_trip.h"
#include "vireo/modem_api/modem_vireo_getters.h"
#include "vireo/modem_api/modem_vireo_mgr.h"

namespace {

void lte_serving_cell(benchmark::State& state) {
  modem_vireo_lte_srv_meas_info info{};
  for (auto _ : state) {
    if (!modem_vireo_lte_srv_meas_info_get_for_pcc(0, &info)) {
      state.SkipWithError("no record");
      break;
    }
  }
}
BENCHMARK(lte_serving_cell)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  program_invocation_short_name = const_cast<char*>("vex");  // the framework knows whom it serves
  const bench::QuietPhone phone;
  ::setenv("VEX_MODEM", "embedded", 1);
  if (modem_vireo_api_init() == 0) return 1;
  const int result = bench::run(argc, argv);
  modem_vireo_api_deinit();
  return result;
}
