// The decoders of statistics records and of counter blocks, on any octets. Input: one octet, whose
// lowest bit turns printing on and whose rest is the counter blocks' version; then the record,
// which is put into a buffer of exactly the size that the decoder needs.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "vex/kelvor_vex_vireo_unpack.h"

namespace {

// The version, the bits before the last field of the longest record, and that field's span.
constexpr size_t kRecord = 4 + 344 / 8 + 16;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // What is printed is formatted and discarded.
  static const bool muted = std::freopen("/dev/null", "w", stdout) != nullptr;
  if (!muted || size == 0) return 0;
  std::vector<uint8_t> record(kRecord);
  std::copy_n(data + 1, std::min(size - 1, record.size()), record.begin());
  g_unpk.print = data[0] & 1;
  g_modem_stats_record = {};
  kelvor_test_modem_stats_parsing_process_do(record.data());
  uint32_t version = 0;
  for (size_t i = 4; i-- > 0;) version = version << 8 | record[i];
  const bool known = version == 4 || (version >= 0x30000 && version <= 0x30002);
  if (known != (g_modem_stats_record.data != nullptr)) std::abort();
  if (known && g_modem_stats_record.data->version != version) std::abort();

  std::vector<uint8_t> blocks(256);
  std::copy_n(data, std::min(size, blocks.size()), blocks.begin());
  const int blocks_version = data[0] >> 1;
  int at = 0;
  for (const auto unpack : {kelvor_modem_stats_main_info_unpk, kelvor_modem_stats_diag_info_unpk,
                            kelvor_modem_stats_cm_info_unpk, kelvor_modem_stats_uim_info_unpk}) {
    at += unpack(blocks.data() + at, blocks_version);
  }
  if (at > 57 + 95 + 58 + 10) std::abort();
  return 0;
}
