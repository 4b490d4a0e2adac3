// The modem's statistics on the tool's side: records decoded bit by bit, and the feature's
// counters.

#include <climits>
#include <cstring>

#include "support/desk.h"
#include "vex/kelvor_vex_vireo_unpack.h"

namespace {

using desk::output_of;
using desk::trace_messages;
using Lines = std::vector<std::string>;
using Octets = std::vector<uint8_t>;

Lines lines_of(const std::function<void()>& call) { return trace_messages(output_of(call)); }

// ---- records

// A record of one version with fields where that version has them on a ground of one octet, and not
// an octet more than the decoder may read.
struct Layout {
  uint32_t version;
  size_t mcc, mnc_num, mnc, tac, cgi, pci, band, dl_earfcn, dl_bw, ul_earfcn, ul_bw, access;
};
constexpr Layout kLayouts[] = {
    {4, 176, 192, 200, 224, 112, 0, 256, 16, 80, 48, 96, 216},
    {0x30000, 240, 256, 264, 288, 176, 0, 320, 80, 144, 112, 160, 280},
    {0x30001, 250, 266, 274, 298, 186, 10, 330, 90, 154, 122, 170, 290},
    {0x30002, 264, 280, 288, 312, 200, 24, 344, 104, 168, 136, 184, 304},
};

void put(Octets* octets, size_t bit, size_t width, uint64_t value) {
  for (size_t i = 0; i < width; ++i, ++bit, value >>= 1) {
    uint8_t& octet = octets->at(bit / 8);
    octet = static_cast<uint8_t>((octet & ~(1u << bit % 8)) | (value & 1) << bit % 8);
  }
}

Octets record(const Layout& at, uint8_t ground = 0xA5) {
  constexpr size_t kVersion = 32;
  Octets octets((kVersion + at.band) / 8 + 16, ground);
  put(&octets, 0, 32, at.version);
  const auto field = [&](size_t bit, size_t width, uint64_t value) {
    put(&octets, kVersion + bit, width, value);
  };
  field(at.mcc, 16, 0xF1CC);
  field(at.mnc_num, 8, 0x83);
  field(at.mnc, 16, 0x8001);
  field(at.tac, 32, 0x8000'0001);
  field(at.cgi, 64, 0xFEDC'BA98'7654'3210);
  field(at.pci, 16, 0x81F7);
  field(at.band, 16, 0xC003);
  field(at.dl_earfcn, 32, 0xFFFF'FFFF);
  field(at.dl_bw, 16, 0x9669);
  field(at.ul_earfcn, 32, 0x7FFF'FFFE);
  field(at.ul_bw, 16, 0x6996);
  field(at.access, 8, 0xC1);
  return octets;
}

Lines decode(const Octets& octets, uint8_t print) {
  g_unpk.print = print;
  return lines_of([&] { kelvor_test_modem_stats_parsing_process_do(octets.data()); });
}

TEST(Record, OfEveryVersionIsDecodedWholeWhetherStepsAreShownOrNot) {
  for (const Layout& layout : kLayouts) {
    SCOPED_TRACE(layout.version);
    for (const auto& [print, ground] : {std::pair{0, 0x00}, {0, 0xFF}, {1, 0xA5}}) {
      const Octets octets = record(layout, static_cast<uint8_t>(ground));
      g_modem_stats_record = {};
      const Lines shown = decode(octets, static_cast<uint8_t>(print));
      ASSERT_EQ(shown.size(), print == 0 ? 2u : 2u + 12 * 8 + 2u);
      EXPECT_EQ(
          shown[shown.size() - 2],
          "version = " + std::to_string(layout.version) +
              ", mcc = 61900, mnc_num 131, mnc 32769, tac -2147483647, cgi 18364758544493064720, "
              "pci 33271");
      EXPECT_EQ(shown.back(),
                "freq_band_ind = 49155, dl_earfcn = -1, dl_bw 38505, ul_earfcn 2147483646, ul_bw "
                "27030, allow_access 193, scs 0");
      ASSERT_EQ(g_modem_stats_record.length, 38);
      Octets packed(38);
      std::memcpy(packed.data(), g_modem_stats_record.data, packed.size());
      put(&packed, 0, 32, 0);
      EXPECT_EQ(desk::hex(packed),
                "00 00 00 00 CC F1 01 80 01 00 00 80 10 32 54 76 98 BA DC FE F7 81 03 C0 "
                "FF FF FF FF 69 96 FE FF FF 7F 96 69 C1 00");
      EXPECT_EQ(g_modem_stats_record.data->version, layout.version);
    }
  }
}

TEST(Record, ThatCannotBeDecodedLeavesTheOneBefore) {
  decode(record(kLayouts[0]), 0);
  const Octets unknown = {5, 0, 0, 0};
  EXPECT_EQ(decode(unknown, 0), Lines{});
  EXPECT_EQ(decode(unknown, 1),
            Lines{"    UNPK_I, name: version, val: 5(0x05), val_size: 4, unpk_cnt: 4, data_base: "
                  "0, base_bit: 0"});

  g_unpk.print = 0;
  EXPECT_EQ(lines_of([] { kelvor_test_modem_stats_parsing_process_do(nullptr); }),
            Lines{"UNPK_START, payload is NULL, id(0x123)"});
  EXPECT_EQ(lines_of(modem_stats_parse_xxxx_diag_xxxx),
            Lines{"DATA_UNPK, g_unpk_data_ptr is NULL, name: version, id(0x123)"});

  // Ten fields fit below the limit.
  const Octets other = record(kLayouts[3]);
  g_unpk_data_ptr = other.data();
  g_unpk_data_base = g_unpk_data_base_bit = g_unpk_data_cnt = 0;
  g_unpk.position_limit = 43;
  EXPECT_EQ(lines_of(modem_stats_parse_xxxx_diag_xxxx),
            Lines{"UNPK_SET_BIT, pos(43) should be[0, 43), id(0x123)"});
  ASSERT_EQ(g_modem_stats_record.length, 38);
  EXPECT_EQ(g_modem_stats_record.data->version, 4u);
}

// ---- the cursor

struct Cursor : testing::Test {
  Cursor() {
    g_unpk = {0x123, 2000, 0};
    at(0, 0, 0);
  }
  static void at(int32_t base, int32_t base_bit, int32_t cnt) {
    g_unpk_data_base = base;
    g_unpk_data_base_bit = base_bit;
    g_unpk_data_cnt = cnt;
  }
};

TEST_F(Cursor, AFieldLiesWithinItsSpanAndItsType) {
  constexpr uint64_t kTmp1 = 0x7877665544332211;
  constexpr uint64_t kTmp2 = 0x80FFEEDDCCBBAA99;
  const struct {
    int32_t low, high;
    int width;
    uint64_t value;
    const char* message;  // null: the field has the value
  } rows[] = {
      {1, 64, 64, kTmp1, nullptr},
      {1, 1, 8, 1, nullptr},
      {1, 3, 8, 1, nullptr},
      {63, 63, 8, 1, nullptr},
      {2, 65, 64, 0xBC3BB32AA2199108, nullptr},
      {8, 23, 16, 0x6644, nullptr},
      {60, 75, 16, 0x532F, nullptr},
      {64, 127, 64, 0x01FFDDBB99775532, nullptr},
      {65, 128, 64, 0xF8FFEEDDCCBBAA99, nullptr},  // one half over the other
      {1, 0, 8, 0, "UNPK_MID, high(0) should be in [1, 64] for f, id(0x123)"},
      {1, 65, 64, 0, "UNPK_MID, high(65) should be in [1, 64] for f, id(0x123)"},
      {0, 8, 8, 0, "UNPK_MID, low(0) should be in [1, 128] for f, id(0x123)"},
      {INT_MIN, 8, 8, 0, "UNPK_MID, low(-2147483648) should be in [1, 128] for f, id(0x123)"},
      {129, 200, 8, 0, "UNPK_MID, low(129) should be in [1, 128] for f, id(0x123)"},
      {2, 0, 8, 0, "UNPK_MID, high(0) should be in [1, 128] for f, id(0x123)"},
      {66, 129, 64, 0, "UNPK_MID, high(129) should be in [1, 128] for f, id(0x123)"},
      {70, 69, 8, 0, "UNPK_MID, low(70) should <= high(69) for f, id(0x123)"},
      {66, 70, 8, 0, "UNPK_HIGH, bit_num(63) should be in [64, 128] for f, id(0x123)"},
      {128, 128, 8, 0, "UNPK_HIGH, bit_num(1) should be in [64, 128] for f, id(0x123)"},
      {1, 9, 8, 0, "UNPK_LOW, bit_num(9) should be in [1, 8] for f, id(0x123)"},
      {3, 19, 16, 0, "UNPK_LOW, bit_num(17) should be in [1, 16] for f, id(0x123)"},
      {65, 97, 32, 0, "UNPK_LOW, bit_num(33) should be in [1, 32] for f, id(0x123)"},
      {2, 66, 64, 0, "UNPK_LOW, bit_num(65) should be in [1, 64] for f, id(0x123)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.low << " to " << row.high << " in " << row.width);
    uint64_t value = 0;
    const Lines shown = lines_of([&] {
      EXPECT_EQ(unpack::unpk_mid("f", kTmp1, kTmp2, row.low, row.high, row.width, &value),
                row.message == nullptr);
    });
    EXPECT_EQ(shown, row.message == nullptr ? Lines{} : Lines{row.message});
    if (row.message == nullptr) {
      EXPECT_EQ(value, row.value);
    }
  }
  g_unpk.print = 1;
  uint64_t value = 0;
  EXPECT_EQ(lines_of([&] { unpack::unpk_mid("f", kTmp1, kTmp2, 1, 3, 8, &value); }),
            (Lines{"UNPK_HIGH, old_val: 8680519323182375441, new_val: 17, bit_num: 64, name: f, "
                   "id(0x123)",
                   "UNPK_LOW, old_val: 1, new_val: 1, bit_num: 3, mask_max(0xff), old_size(1), "
                   "name: f, id(0x123)",
                   "UNPK_MID, old_val: 8680519323182375441, new_val: 1, low: 1, high: 3, name: f, "
                   "id(0x123)"}));
}

TEST_F(Cursor, PositionsHaveBounds) {
  const Octets octets(2016, 0x5A);
  g_unpk_data_ptr = octets.data();
  uint64_t value = 0;
  const auto set = [](int32_t bit) { return [bit] { return unpack::unpk_set_bit(bit); }; };
  const auto read = [&] { return unpack::unpk_i("f", 8, &value); };
  const auto field = [&] { return unpack::unpk_at("f", 15904, 8, 8, &value); };
  const struct {
    const char* rule;
    int32_t base, base_bit, cnt, limit;
    std::function<bool()> call;
    int32_t cnt_after;
    const char* message;  // null: it succeeds
  } rows[] = {
      {"the last position", 4, 32, 7, 2000, set(15999), 1999, nullptr},
      {"at the limit", 4, 32, 7, 2000, set(16000), 7,
       "UNPK_SET_BIT, pos(2000) should be[0, 2000), id(0x123)"},
      {"a limit of its own", 4, 32, 7, 10, set(80), 7,
       "UNPK_SET_BIT, pos(10) should be[0, 10), id(0x123)"},
      {"before the base", 4, 32, 7, 2000, set(-40), 7,
       "UNPK_SET_BIT, pos(-5) should be[0, 2000), id(0x123)"},
      {"division goes towards zero", 0, 0, 7, 2000, set(-7), 0, nullptr},
      {"the last read", 4, 32, 1995, 9999, read, 2003, nullptr},
      {"a read at the bound", 4, 32, 1996, 9999, read, 1996,
       "DATA_UNPK, (base + cnt)(2000) is can not >= 2000 for f, id(0x123)"},
      {"the span's second half", 4, 32, 0, 2000, field, 1996,
       "DATA_UNPK, (base + cnt)(2000) is can not >= 2000 for f_tmp2, id(0x123)"},
      {"the span's first half", 12, 96, 0, 2000, field, 1988,
       "DATA_UNPK, (base + cnt)(2000) is can not >= 2000 for f_tmp1, id(0x123)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.rule);
    at(row.base, row.base_bit, row.cnt);
    g_unpk.position_limit = row.limit;
    const Lines shown = lines_of([&] { EXPECT_EQ(row.call(), row.message == nullptr); });
    EXPECT_EQ(shown, row.message == nullptr ? Lines{} : Lines{row.message});
    EXPECT_EQ(g_unpk_data_cnt, row.cnt_after);
  }
  g_unpk_data_ptr = nullptr;
  EXPECT_EQ(lines_of([&] { EXPECT_FALSE(read()); }),
            Lines{"DATA_UNPK, g_unpk_data_ptr is NULL, name: f, id(0x123)"});
}

TEST_F(Cursor, BitBasesAddUpAndNeedNotBeginAnOctet) {
  Octets octets(5 + 16);
  put(&octets, 44, 12, 0xABC);
  g_unpk_data_ptr = octets.data();
  unpack::base_with_bit(32);
  g_unpk_data_cnt = 3;
  unpack::base_with_bit(12);
  EXPECT_EQ(g_unpk_data_cnt, 0);
  uint64_t value = 0;
  EXPECT_TRUE(unpack::unpk_at("f", 0, 12, 16, &value));
  EXPECT_EQ(value, 0xABCu);
}

}  // namespace
