#include "sim/config/measurements.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

#include "platform/idl/vs.h"
#include "sim/config/key.h"

namespace sim {
namespace {

constexpr uint8_t kVersion = 1;         // the first octet of a record; readers accept any
constexpr uint32_t kTechnology = 0x2C;  // the record of the technology in use

// The widths of a record's numbers, each with what it holds.
constexpr Range kU8{0, UINT8_MAX};
constexpr Range kU16{0, UINT16_MAX};
constexpr Range kU32{0, UINT32_MAX};
constexpr Range kI32{INT32_MIN, INT32_MAX};
constexpr Range kLevel{INT16_MIN, INT16_MAX, "dBm"};
constexpr Range kLoss{0, UINT8_MAX, "dB"};

std::string zeros(const Key& key) {
  std::string zero = key.type == KeyType::kDecimal ? "0.0" : "0";
  if (!key.list) return zero;
  std::string all = "[" + zero;
  for (int64_t i = 1; i < key.items.most; ++i) all += ", " + zero;
  return all + "]";
}

constexpr Key whole(const char* name, Range range, int64_t chains = 0, const char* comment = "") {
  return {.name = name,
          .type = KeyType::kNumber,
          .comment = comment,
          .range = range,
          .list = chains != 0,
          .items = {chains, chains},
          .fallback = zeros};
}
constexpr Key decimal(const char* name, const char* unit, int64_t chains = 0) {
  Key key = whole(name, {0, 0, unit}, chains);
  key.type = KeyType::kDecimal;
  return key;
}

// A record's keys in the order of its octets. A list has a value for each chain; lists that stand
// side by side and are of one length are packed chain by chain: the first chain's value of each,
// then the second's.
constexpr Key kLteCell[] = {whole("earfcn", kU32),
                            whole("pci", kU16),
                            whole("rx_valid", kU16, 0, "a bit for each chain"),
                            decimal("rsrp", "dBm", 4),
                            decimal("rsrq", "dB", 4),
                            decimal("rssi", "dBm", 4),
                            decimal("snr", "dB", 4)};
constexpr Key kNrCell[] = {decimal("rsrp", "dBm", 4), decimal("rsrq", "dB")};
constexpr Key kNrAgc[] = {decimal("rssi", "dBm", 4)};
constexpr Key kNrFtl[] = {decimal("snr", "dB", 4)};
constexpr Key kNrAntenna[] = {whole("rx_old", kI32, 4), whole("rx_new", kI32, 4),
                              whole("tx_old", kI32, 2), whole("tx_new", kI32, 2)};
constexpr Key kNrPower[] = {decimal("tx_power", "dBm")};
constexpr Key kLtePower[] = {whole("pusch_tx_power", kLevel), whole("dl_path_loss", kLoss),
                             whole("max_power", kLevel), whole("pusch_ex_tx_power", kLevel)};
constexpr Key kWcdma[] = {decimal("rx_agc", "dBm", 2)};
constexpr Key kGsm[] = {decimal("prx", "dBm"), decimal("drx", "dBm")};
constexpr Key kAntenna[] = {whole("ant_num", kU8), whole("ant_path", kU8), whole("sig_path", kU8),
                            whole("old_config", kU8), whole("new_config", kU8)};

struct RecordRow {
  const char* name;
  uint32_t id;
  std::span<const Key> keys;
  size_t reserved = 0;  // octets of 0 behind the version
};
constexpr RecordRow kRecords[] = {
    {"lte_pcc", 0x52, kLteCell},      {"lte_scc1", 0x67, kLteCell},
    {"lte_scc2", 0x68, kLteCell},     {"lte_scc3", 0x69, kLteCell},
    {"lte_scc4", 0x6A, kLteCell},     {"lte_scc5", 0x6B, kLteCell},
    {"lte_scc6", 0x6C, kLteCell},     {"nr_pcc", 0x87, kNrCell},
    {"nr_scc1", 0x06, kNrCell},       {"nr_scc2", 0x07, kNrCell},
    {"nr_agc", 0x5E, kNrAgc, 4},      {"nr_ftl", 0x70, kNrFtl, 4},
    {"nr_antenna", 0x71, kNrAntenna}, {"nr_power", 0x5A, kNrPower, 4},
    {"lte_power", 0x62, kLtePower},   {"wcdma", 0x6E, kWcdma, 4},
    {"gsm", 0x6F, kGsm, 4},           {"antenna", 0x64, kAntenna},
};

constexpr Choice kRats[] = {{"none", 0},
                            {"gsm", VS_RAT_GSM},
                            {"wcdma", VS_RAT_WCDMA},
                            {"lte", VS_RAT_LTE},
                            {"nr", VS_RAT_NR}};
constexpr Key kSubKeys[] = {{.name = "rat",
                             .type = KeyType::kChoice,
                             .comment = "the technology in use; its number is taken as well",
                             .choices = kRats,
                             .fallback = [](const Key&) { return std::string(); }}};
constexpr Key kRawKeys[] = {
    {.name = "\"0x52\"",
     .type = KeyType::kOctets,
     .comment = "the octets of the record with that id, whatever the tables say",
     .range = {0, VS_DATA_MAX},
     .fallback = [](const Key&) { return std::string(); }}};
constexpr const char* kSubs[kMeasuredSubs] = {"sub0", "sub1"};

// How many values a key has.
size_t count(const Key& key) { return key.list ? static_cast<size_t>(key.items.most) : 1; }

// Of one value in a record.
constexpr size_t width(const Key& key) {
  if (key.type == KeyType::kDecimal) return sizeof(float);
  const int64_t values = key.range.most - key.range.least;
  return values <= UINT8_MAX ? 1 : values <= UINT16_MAX ? 2 : 4;
}

void append(std::vector<uint8_t>& to, const void* value, size_t octets) {
  const auto* from = static_cast<const uint8_t*>(value);
  to.insert(to.end(), from, from + octets);
}

// The key's values one after the other, each in its width.
std::vector<uint8_t> values(Table& table, const Key& key) {
  std::vector<uint8_t> octets;
  if (!table.has(key.name)) {
    octets.resize(width(key) * count(key));
  } else if (key.type == KeyType::kDecimal) {
    const std::vector<float> all =
        key.list ? table.decimals(key.name, count(key)) : std::vector{table.decimal(key.name)};
    for (const float value : all) append(octets, &value, width(key));
  } else {
    const auto [least, most, unit] = key.range;
    const std::vector<int64_t> all = key.list ? table.numbers(key.name, least, most)
                                              : std::vector{table.number(key.name, least, most)};
    if (key.list && all.size() != count(key)) {
      table.fail(key.name, "must be a list of " + std::to_string(count(key)));
    }
    for (const int64_t value : all) append(octets, &value, width(key));
  }
  return octets;
}

size_t lists_side_by_side(std::span<const Key> keys) {
  size_t lists = 1;
  while (keys[0].list && lists < keys.size() && count(keys[lists]) == count(keys[0])) ++lists;
  return lists;
}

std::vector<uint8_t> pack(Table table, const RecordRow& row) {
  std::vector<uint8_t> record{kVersion};
  record.resize(record.size() + row.reserved);
  for (std::span<const Key> keys = row.keys; !keys.empty();) {
    const size_t lists = lists_side_by_side(keys);
    std::vector<std::vector<uint8_t>> columns;
    for (const Key& key : keys.first(lists)) columns.push_back(values(table, key));
    for (size_t chain = 0; chain < count(keys[0]); ++chain) {
      for (size_t i = 0; i < lists; ++i) {
        append(record, columns[i].data() + chain * width(keys[i]), width(keys[i]));
      }
    }
    keys = keys.subspan(lists);
  }
  table.done();
  return record;
}

// How many stacks there are, and each one's radio technology.
std::vector<uint8_t> technology(Table& sub) {
  const bool number = sub.is_number("rat");
  const auto rat = static_cast<uint32_t>(number ? sub.number("rat", 0, UINT32_MAX)
                                                : sub.choice("rat", kRats, ", or a number"));
  if (!number && rat == 0) return {0};
  std::vector<uint8_t> record{1};
  append(record, &rat, sizeof rat);
  return record;
}

// The decimals of a key, a chain after the other; none when the record is too short.
std::vector<float> decimals_in(std::span<const uint8_t> record, const RecordRow& row,
                               std::string_view name) {
  size_t at = sizeof kVersion + row.reserved;
  for (std::span<const Key> keys = row.keys; !keys.empty();) {
    const size_t lists = lists_side_by_side(keys);
    const size_t chains = count(keys[0]);
    size_t stride = 0;
    std::optional<size_t> found;
    for (const Key& key : keys.first(lists)) {
      if (key.name == name) found = at + stride;
      stride += width(key);
    }
    if (found) {
      std::vector<float> decimals(chains);
      for (size_t chain = 0; chain < chains; ++chain) {
        const size_t from = *found + chain * stride;
        if (from + sizeof(float) > record.size()) return {};
        std::memcpy(&decimals[chain], record.data() + from, sizeof(float));
      }
      return decimals;
    }
    at += chains * stride;
    keys = keys.subspan(lists);
  }
  return {};
}

// "0x52" or "82".
std::optional<uint32_t> id_of(std::string_view key) {
  const bool hex = key.starts_with("0x");
  const char* end = key.data() + key.size();
  uint32_t id = 0;
  const auto read = std::from_chars(key.data() + (hex ? 2 : 0), end, id, hex ? 16 : 10);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return id;
}

void read_raw(const Table& raw, Records& records) {
  for (const std::string_view key : raw.keys()) {
    const auto id = id_of(key);
    if (!id) raw.fail(key, "is not the id of a record");
    records[*id] = raw.octets(key, VS_DATA_MAX);
  }
}

}  // namespace

Measurements read_measurements(Table& top) {
  Table table = top.table("measurements");
  Measurements measurements;
  for (size_t i = 0; i < kMeasuredSubs; ++i) {
    Table sub = table.table(kSubs[i]);
    Records& records = measurements[i];
    if (sub.has("rat")) records[kTechnology] = technology(sub);
    for (const RecordRow& row : kRecords) {
      if (sub.has(row.name)) records[row.id] = pack(sub.table(row.name), row);
    }
    read_raw(sub.table("raw"), records);
    sub.done();
  }
  table.done();
  return measurements;
}

std::vector<Section> measurement_sections() {
  std::vector<Section> sections;
  for (const char* sub : kSubs) {
    const std::string path = std::string("measurements.") + sub;
    sections.push_back({path,
                        "What the modem measures, a table for each subscription, and in it a table "
                        "for each record. The modem has no record that is left out; a value that "
                        "is left out is 0. A list has a value for each chain.",
                        kSubKeys});
    for (const RecordRow& row : kRecords) {
      sections.push_back({path + "." + row.name, "", row.keys, Section::Kind::kRecord});
    }
    sections.push_back({path + ".raw", "", kRawKeys, Section::Kind::kRecord});
  }
  return sections;
}

std::optional<float> received_level(const Records& records) {
  static constexpr struct {
    uint32_t technology;
    std::string_view record, key;
  } kLevels[] = {{VS_RAT_GSM, "gsm", "prx"},
                 {VS_RAT_WCDMA, "wcdma", "rx_agc"},
                 {VS_RAT_LTE, "lte_pcc", "rssi"},
                 {VS_RAT_NR, "nr_agc", "rssi"}};
  uint32_t in_use = 0;
  const auto stacks = records.find(kTechnology);
  if (stacks == records.end() || stacks->second.size() < 1 + sizeof in_use) return std::nullopt;
  std::memcpy(&in_use, stacks->second.data() + 1, sizeof in_use);
  const auto* const level =
      std::ranges::find(kLevels, in_use, [](auto& l) { return l.technology; });
  if (level == std::end(kLevels)) return std::nullopt;
  const auto* const row = std::ranges::find(kRecords, level->record, &RecordRow::name);
  const auto record = records.find(row->id);
  if (record == records.end()) return std::nullopt;
  const std::vector<float> chains = decimals_in(record->second, *row, level->key);
  if (chains.empty()) return std::nullopt;
  return *std::ranges::max_element(chains);
}

const char* record_name(uint32_t id) {
  if (id == kTechnology) return "rat";
  for (const RecordRow& row : kRecords) {
    if (row.id == id) return row.name;
  }
  return "raw";
}

}  // namespace sim
