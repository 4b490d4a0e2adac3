#include "vex/kelvor_vex_vireo_unpack.h"

#include <cstdio>
#include <cstring>
#include <iterator>

#include "common/result.h"

const unsigned char* g_unpk_data_ptr;
int32_t g_unpk_data_base;
int32_t g_unpk_data_base_bit;
int32_t g_unpk_data_cnt;
UnpackOptions g_unpk;
ModemStatsRecord g_modem_stats_record;

namespace unpack {
namespace {

constexpr int32_t kDataBound = 2000;  // no read begins at or beyond it, whatever the position limit
constexpr int32_t kSpanWord = 64;     // bits of each half of the span
constexpr int32_t kSpanBits = 2 * kSpanWord;

// "0x" and the octets of a value as they lie in memory, without the zeros at the end.
class HexText {
 public:
  explicit HexText(uint64_t value) {
    unsigned char octets[sizeof value];
    std::memcpy(octets, &value, sizeof value);
    size_t n = sizeof octets;
    while (n > 0 && octets[n - 1] == 0) --n;
    for (size_t i = 0; i < n; ++i) std::snprintf(text_ + 2 + 2 * i, 3, "%02X", octets[i]);
  }
  const char* text() const { return text_; }

 private:
  char text_[50] = "0x";
};

uint64_t ones(int32_t bits) { return ~uint64_t{0} >> (64 - bits); }

// What a message calls a value: a name with a suffix, in the cursor's own room. It is put together
// where a message is printed, since nearly all values are read without one.
class ValueName {
 public:
  ValueName(const char* name, const char* suffix) {
    std::snprintf(text_, sizeof text_, "%s%s", name, suffix);
  }
  const char* text() const { return text_; }

 private:
  char text_[64];
};

// Brings bit `low` of the span to bit 0.
bool unpk_high(const char* name, uint64_t tmp1, uint64_t tmp2, int32_t low, int32_t high, int width,
               uint64_t* value) {
  int32_t bits = kSpanWord;
  if (low == 1) {
    if (high < 1 || high > kSpanWord) {
      std::printf("UNPK_MID, high(%d) should be in [1, %d] for %s, id(0x%x)\n", high, kSpanWord,
                  name, g_unpk.id);
      return false;
    }
    *value = tmp1;
  } else {
    if (low < 1 || low > kSpanBits) {
      std::printf("UNPK_MID, low(%d) should be in [1, 128] for %s, id(0x%x)\n", low, name,
                  g_unpk.id);
      return false;
    }
    if (high < 1 || high > kSpanBits) {
      std::printf("UNPK_MID, high(%d) should be in [1, 128] for %s, id(0x%x)\n", high, name,
                  g_unpk.id);
      return false;
    }
    if (low > high) {
      std::printf("UNPK_MID, low(%d) should <= high(%d) for %s, id(0x%x)\n", low, high, name,
                  g_unpk.id);
      return false;
    }
    bits = kSpanBits + 1 - low;
    if (low > kSpanWord + 1) {
      std::printf("UNPK_HIGH, bit_num(%d) should be in [64, 128] for %s, id(0x%x)\n", bits, name,
                  g_unpk.id);
      return false;
    }
    // At 64 the right shift is one by 0: the field is both halves, one over the other.
    const int32_t shift = low - 1;
    *value = tmp1 >> (shift % kSpanWord) | (tmp2 & ones(shift)) << (kSpanWord - shift);
  }
  if (g_unpk.print != 0) {
    std::printf("UNPK_HIGH, old_val: %lu, new_val: %lu, bit_num: %d, name: %s, id(0x%x)\n", *value,
                *value & ones(width), bits, name, g_unpk.id);
  }
  return true;
}

// Keeps the field's bits, from bit 0 on.
bool unpk_low(const char* name, int32_t low, int32_t high, int width, uint64_t* value) {
  const int32_t bits = high - low + 1;
  if (bits - 1 >= width) {
    std::printf("UNPK_LOW, bit_num(%d) should be in [1, %d] for %s, id(0x%x)\n", bits, width, name,
                g_unpk.id);
    return false;
  }
  const uint64_t before = *value;
  *value &= ones(width) >> (width - bits);
  if (g_unpk.print != 0) {
    std::printf(
        "UNPK_LOW, old_val: %lu, new_val: %lu, bit_num: %d, mask_max(0x%lx), old_size(%d), "
        "name: %s, id(0x%x)\n",
        *value, *value, bits, ones(width), width / 8, name, g_unpk.id);
    std::printf("UNPK_MID, old_val: %lu, new_val: %lu, low: %d, high: %d, name: %s, id(0x%x)\n",
                before, *value, low, high, name, g_unpk.id);
  }
  return true;
}

bool read_octets(const char* name, const char* suffix, int size, uint64_t* value) {
  if (g_unpk_data_ptr == nullptr) {
    std::printf("DATA_UNPK, g_unpk_data_ptr is NULL, name: %s, id(0x%x)\n",
                ValueName(name, suffix).text(), g_unpk.id);
    return false;
  }
  const int32_t at = g_unpk_data_base + g_unpk_data_cnt;
  if (at >= kDataBound) {
    std::printf("DATA_UNPK, (base + cnt)(%d) is can not >= %d for %s, id(0x%x)\n", at, kDataBound,
                ValueName(name, suffix).text(), g_unpk.id);
    return false;
  }
  *value = 0;
  std::memcpy(value, g_unpk_data_ptr + at, static_cast<size_t>(size));
  g_unpk_data_cnt += size;
  if (g_unpk.print != 0) {
    std::printf(
        "    UNPK_I, name: %s, val: %lu(%s), val_size: %d, unpk_cnt: %d, data_base: %d, "
        "base_bit: %d\n",
        ValueName(name, suffix).text(), *value, HexText(*value).text(), size, g_unpk_data_cnt,
        g_unpk_data_base, g_unpk_data_base_bit);
  }
  return true;
}

void print_position(const char* operation, int32_t bit) {
  if (g_unpk.print == 0) return;
  std::printf(
      "%s, g_unpk_data_base_bit(%d), g_unpk_data_base(%d), g_unpk_data_cnt(%d), bit(%d), "
      "id(0x%x)\n",
      operation, g_unpk_data_base_bit, g_unpk_data_base, g_unpk_data_cnt, bit, g_unpk.id);
}

// The field's first and last bit, from 1, within the span that begins at the cursor.
int32_t first_bit(int32_t bit_start) {
  return g_unpk_data_base_bit - (g_unpk_data_base + g_unpk_data_cnt) * 8 + bit_start + 1;
}

}  // namespace

bool unpk_i(const char* name, int size, uint64_t* value) {
  return read_octets(name, "", size, value);
}

void base_with_bit(int32_t bit) {
  g_unpk_data_base_bit += bit;
  g_unpk_data_base = g_unpk_data_base_bit / 8;
  g_unpk_data_cnt = 0;
  print_position("BASE_WITH_BIT", bit);
}

bool unpk_set_bit(int32_t bit_start) {
  const int32_t position = (g_unpk_data_base_bit + bit_start) / 8 - g_unpk_data_base;
  if (position < 0 || position >= g_unpk.position_limit) {
    std::printf("UNPK_SET_BIT, pos(%d) should be[0, %d), id(0x%x)\n", position,
                g_unpk.position_limit, g_unpk.id);
    return false;
  }
  g_unpk_data_cnt = position;
  print_position("UNPK_SET_BIT", bit_start);
  return true;
}

void print_cnt(const char* name, int32_t bit_start, int32_t bit_num) {
  if (g_unpk.print == 0) return;
  const int32_t low = first_bit(bit_start);
  std::printf(
      "PRINT_CNT, base_bit: %d, base_byte: %d, data_cnt: %d, low: %d, high: %d, param: %d, "
      "name: %s\n",
      g_unpk_data_base_bit, g_unpk_data_base, g_unpk_data_cnt, low, low + bit_num - 1, bit_start,
      name);
}

bool unpk_mid(const char* name, uint64_t tmp1, uint64_t tmp2, int32_t low, int32_t high, int width,
              uint64_t* value) {
  return unpk_high(name, tmp1, tmp2, low, high, width, value) &&
         unpk_low(name, low, high, width, value);
}

bool unpk_at(const char* name, int32_t bit_start, int32_t bit_num, int width, uint64_t* value) {
  if (!unpk_set_bit(bit_start)) return false;
  print_cnt(name, bit_start, bit_num);
  const int32_t low = first_bit(bit_start);
  const int32_t high = low + bit_num - 1;
  uint64_t tmp1 = 0;
  uint64_t tmp2 = 0;
  if (!read_octets(name, "_tmp1", 8, &tmp1) || !read_octets(name, "_tmp2", 8, &tmp2) ||
      !unpk_mid(name, tmp1, tmp2, low, high, width, value)) {
    return false;
  }
  if (g_unpk.print != 0) {
    std::printf(
        "    UNPK_AT, name: %s, val: %lu(%s), low: %d, high: %d, bit_start: %d, bit_num: %d\n",
        name, *value, HexText(*value).text(), low, high, bit_start, bit_num);
  }
  return true;
}

}  // namespace unpack

namespace {

constexpr uint32_t kRecordId = 0x123;  // for messages only: the payload does not have its id
constexpr int32_t kPositionLimit = 2000;
constexpr int32_t kVersionBits = 32;

// The serving-cell record: a field's width and, per version, the bit where it begins behind the
// version word.
constexpr uint32_t kVersions[] = {4, 0x30000, 0x30001, 0x30002};
struct ServingCellField {
  const char* name;
  int width;
  int32_t bit_start[std::size(kVersions)];
};
enum Field {
  kMcc,
  kMncNum,
  kMnc,
  kTac,
  kCgi,
  kPci,
  kFreqBandInd,
  kDlEarfcn,
  kDlBw,
  kUlEarfcn,
  kUlBw,
  kAllowAccess,
  kFields,
};
constexpr ServingCellField kServingCell[] = {
    {"mcc", 16, {176, 240, 250, 264}},           {"mnc_num", 8, {192, 256, 266, 280}},
    {"mnc", 16, {200, 264, 274, 288}},           {"tac", 32, {224, 288, 298, 312}},
    {"cgi", 64, {112, 176, 186, 200}},           {"pci", 16, {0, 0, 10, 24}},
    {"freq_band_ind", 16, {256, 320, 330, 344}}, {"dl_earfcn", 32, {16, 80, 90, 104}},
    {"dl_bw", 16, {80, 144, 154, 168}},          {"ul_earfcn", 32, {48, 112, 122, 136}},
    {"ul_bw", 16, {96, 160, 170, 184}},          {"allow_access", 8, {216, 280, 290, 304}},
};
static_assert(std::size(kServingCell) == kFields);

// The room that a record has; what is behind the serving cell's last fields is kept clear.
constexpr size_t kRecordRoom = 700;
constexpr size_t kCleared = 664;
static_assert(offsetof(ModemStatsServingCell, allow_access) + kCleared == kRecordRoom);
union RecordStorage {
  ModemStatsServingCell cell;
  unsigned char octets[kRecordRoom];
};
RecordStorage g_storage;

void store(uint32_t version, const uint64_t (&fields)[kFields]) {
  std::memset(g_storage.octets + offsetof(ModemStatsServingCell, allow_access), 0, kCleared);
  g_storage.cell = {version,
                    static_cast<uint16_t>(fields[kMcc]),
                    static_cast<uint16_t>(fields[kMnc]),
                    static_cast<uint32_t>(fields[kTac]),
                    fields[kCgi],
                    static_cast<uint16_t>(fields[kPci]),
                    static_cast<uint16_t>(fields[kFreqBandInd]),
                    static_cast<uint32_t>(fields[kDlEarfcn]),
                    static_cast<uint16_t>(fields[kDlBw]),
                    static_cast<uint32_t>(fields[kUlEarfcn]),
                    static_cast<uint16_t>(fields[kUlBw]),
                    static_cast<uint8_t>(fields[kAllowAccess]),
                    0};
  g_modem_stats_record = {&g_storage.cell, sizeof g_storage.cell};
}

}  // namespace

extern "C" void modem_stats_parse_xxxx_diag_xxxx(void) {
  uint64_t version = 0;
  if (!unpack::unpk_i("version", 4, &version)) return;
  size_t column = 0;
  while (column < std::size(kVersions) && kVersions[column] != version) ++column;
  if (column == std::size(kVersions)) return;
  unpack::base_with_bit(kVersionBits);
  uint64_t fields[kFields] = {};
  for (size_t i = 0; i < kFields; ++i) {
    const ServingCellField& field = kServingCell[i];
    if (!unpack::unpk_at(field.name, field.bit_start[column], field.width, field.width,
                         &fields[i])) {
      return;
    }
  }
  const auto number = [&fields](Field field) { return static_cast<int>(fields[field]); };
  std::printf("version = %d, mcc = %d, mnc_num %d, mnc %d, tac %d, cgi %lu, pci %d\n",
              static_cast<int>(version), number(kMcc), number(kMncNum), number(kMnc), number(kTac),
              fields[kCgi], number(kPci));
  std::printf(
      "freq_band_ind = %d, dl_earfcn = %d, dl_bw %d, ul_earfcn %d, ul_bw %d, allow_access %d, "
      "scs %d\n",
      number(kFreqBandInd), number(kDlEarfcn), number(kDlBw), number(kUlEarfcn), number(kUlBw),
      number(kAllowAccess), 0);
  for (size_t i = 0; i < kFields; ++i) {
    result::number(kServingCell[i].name, static_cast<int64_t>(fields[i]));
  }
  store(static_cast<uint32_t>(version), fields);
}

extern "C" void kelvor_test_modem_stats_parsing_process_do(const unsigned char* payload) {
  g_unpk_data_ptr = payload;
  g_unpk_data_base = g_unpk_data_base_bit = g_unpk_data_cnt = 0;
  g_unpk.id = kRecordId;
  g_unpk.position_limit = kPositionLimit;
  if (payload == nullptr) {
    std::printf("UNPK_START, payload is NULL, id(0x%x)\n", g_unpk.id);
    return;
  }
  modem_stats_parse_xxxx_diag_xxxx();
}
