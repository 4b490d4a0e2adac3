// Decoding of the modem's statistics records.
//
// Everything here prints to standard output as it goes, and keeps its state process-wide: one
// decode at a time, from one thread.
#pragma once

#include <cstddef>
#include <cstdint>

// ---- counter blocks: packed little-endian numbers, whose tail grows with the version

extern "C" {

// Each prints a block's fields and returns the octets that it has at that version: 25 to 57, 43 to
// 95, 58, 10. Null prints a note and returns 0.
int kelvor_modem_stats_main_info_unpk(const unsigned char* data, int version);
int kelvor_modem_stats_diag_info_unpk(const unsigned char* data, int version);
int kelvor_modem_stats_cm_info_unpk(const unsigned char* data, int version);
int kelvor_modem_stats_uim_info_unpk(const unsigned char* data, int version);

// Prints the status block (26 octets) and the verdict on it; for a verdict of FAIL the modem is
// asked for the diag logs to upgrade.
void kelvor_modem_stats_support_status_check(const unsigned char* data);

// ---- the bit cursor

// Decodes one record that begins at `payload`. The buffer has 16 octets of room from the first
// octet of the record's last field.
void kelvor_test_modem_stats_parsing_process_do(const unsigned char* payload);

// The serving-cell record under the cursor; what it decodes is left in g_modem_stats_record.
void modem_stats_parse_xxxx_diag_xxxx(void);

}  // extern "C"

// The cursor. All byte positions are relative to the byte base, all bit positions to the bit base.
extern const unsigned char* g_unpk_data_ptr;  // the record being decoded
extern int32_t g_unpk_data_base;
extern int32_t g_unpk_data_base_bit;
extern int32_t g_unpk_data_cnt;  // byte position of the next read

struct UnpackOptions {
  uint32_t id;             // of the record; shown in every message of a failed check
  int32_t position_limit;  // a set position lies below it
  uint8_t print;           // not 0: every step is printed
};
extern UnpackOptions g_unpk;

namespace unpack {

// The cursor's operations. False, with its message printed, when a check fails: the whole decode
// ends there.
bool unpk_i(const char* name, int size, uint64_t* value);  // 4 or 8 octets
void base_with_bit(int32_t bit);
bool unpk_set_bit(int32_t bit_start);
void print_cnt(const char* name, int32_t bit_start, int32_t bit_num);
// The field between bits low and high (counted from 1) of the 128 bits tmp1, tmp2; width: 8, 16, 32
// or 64.
bool unpk_mid(const char* name, uint64_t tmp1, uint64_t tmp2, int32_t low, int32_t high, int width,
              uint64_t* value);
// A whole field: `width` is that of its type, bit_num that of the field.
bool unpk_at(const char* name, int32_t bit_start, int32_t bit_num, int width, uint64_t* value);

}  // namespace unpack

// A decoded serving cell.
struct __attribute__((packed)) ModemStatsServingCell {
  uint32_t version;
  uint16_t mcc;
  uint16_t mnc;
  uint32_t tac;
  uint64_t cgi;
  uint16_t pci;
  uint16_t freq_band_ind;
  uint32_t dl_earfcn;
  uint16_t dl_bw;
  uint32_t ul_earfcn;
  uint16_t ul_bw;
  uint8_t allow_access;
  uint8_t scs;  // always 0
};
static_assert(sizeof(ModemStatsServingCell) == 38);
static_assert(offsetof(ModemStatsServingCell, allow_access) == 36);

// The last record that was decoded, and its length; null and 0 before the first.
struct ModemStatsRecord {
  const ModemStatsServingCell* data;
  int32_t length;
};
extern ModemStatsRecord g_modem_stats_record;
