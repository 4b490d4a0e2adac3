// The list of carrier configurations, of modems that have ever more of them, over the local socket.

#include <cstdio>
#include <fstream>
#include <vector>

#include "common/qcril_mem.h"
#include "mbn/pdc_utils.h"
#include "round_trip.h"
#include "served_modem.h"

namespace {

bool write_phone(const std::string& root, int64_t configurations) {
  std::ofstream toml(root + "/phone.toml");
  char id[64];
  for (int64_t i = 0; i < configurations; ++i) {
    std::snprintf(id, sizeof id, "[[configuration]]\ntype = \"software\"\nid = \"EE%06X\"\n",
                  static_cast<unsigned>(i));
    toml << id;
  }
  return static_cast<bool>(toml.flush());
}

void list(benchmark::State& state, const std::string& root) {
  const auto expected = static_cast<unsigned int>(state.range(0));
  if (!write_phone(root, state.range(0))) return state.SkipWithError("no phone");
  const bench::ServedModem modem(root);
  if (!modem.good() || pdc_init() != 0) return state.SkipWithError("no modem");
  std::vector<pdc_config_info*> elements(expected);
  for (auto _ : state) {
    unsigned int count = expected;
    const int error = pdc_list_configs(PDC_CONFIG_TYPE_SOFTWARE, elements.data(), &count);
    if (error != 0 || count != expected) {
      state.SkipWithError("no list");
      break;
    }
    for (unsigned int i = 0; i < count; ++i) qcril_free(elements[i]);
  }
  pdc_clean();
}

}  // namespace

int main(int argc, char** argv) {
  const bench::QuietPhone phone;
  ::setenv("VEX_MODEM", ("unix:" + phone.root() + "/modem.sock").c_str(), 1);
  benchmark::RegisterBenchmark("socket/pdc_list",
                               [&](benchmark::State& state) { list(state, phone.root()); })
      ->ArgsProduct({{1, 10, 100, 500}})
      ->UseRealTime();
  return bench::run(argc, argv);
}
