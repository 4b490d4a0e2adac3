#include "sim/config/measurements.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

#include "platform/idl/vs.h"
#include "sim/config/toml_table.h"

namespace sim {
namespace {

constexpr uint8_t kVersion = 1;
constexpr uint32_t kTechnology = 0x2C;

struct Kind {
  size_t width;
  int64_t least, most;  // both 0: a float
};
constexpr Kind kU8{1, 0, UINT8_MAX};
constexpr Kind kU16{2, 0, UINT16_MAX};
constexpr Kind kU32{4, 0, UINT32_MAX};
constexpr Kind kI16{2, INT16_MIN, INT16_MAX};
constexpr Kind kI32{4, INT32_MIN, INT32_MAX};
constexpr Kind kF32{4, 0, 0};

// A field is one value, or a list of one for each chain. Lists that stand side by side and are of
// one length are packed chain by chain: the first chain's value of each, then the second's.
struct Field {
  const char* key;  // null: a word that is 0
  Kind kind;
  size_t chains = 0;  // 0: one value
};
constexpr Field kZeroWord{nullptr, kU32};

constexpr Field kLteCell[] = {{"earfcn", kU32},  {"pci", kU16},     {"rx_valid", kU16},
                              {"rsrp", kF32, 4}, {"rsrq", kF32, 4}, {"rssi", kF32, 4},
                              {"snr", kF32, 4}};
constexpr Field kNrCell[] = {{"rsrp", kF32, 4}, {"rsrq", kF32}};
constexpr Field kNrAgc[] = {kZeroWord, {"rssi", kF32, 4}};
constexpr Field kNrFtl[] = {kZeroWord, {"snr", kF32, 4}};
constexpr Field kNrAntenna[] = {
    {"rx_old", kI32, 4}, {"rx_new", kI32, 4}, {"tx_old", kI32, 2}, {"tx_new", kI32, 2}};
constexpr Field kNrPower[] = {kZeroWord, {"tx_power", kF32}};
constexpr Field kLtePower[] = {{"pusch_tx_power", kI16},
                               {"dl_path_loss", kU8},
                               {"max_power", kI16},
                               {"pusch_ex_tx_power", kI16}};
constexpr Field kWcdma[] = {kZeroWord, {"rx_agc", kF32, 2}};
constexpr Field kGsm[] = {kZeroWord, {"prx", kF32}, {"drx", kF32}};
constexpr Field kAntenna[] = {{"ant_num", kU8},
                              {"ant_path", kU8},
                              {"sig_path", kU8},
                              {"old_config", kU8},
                              {"new_config", kU8}};

struct RecordRow {
  const char* name;
  uint32_t id;
  std::span<const Field> fields;
};
constexpr RecordRow kRecords[] = {
    {"lte_pcc", 0x52, kLteCell},      {"lte_scc1", 0x67, kLteCell}, {"lte_scc2", 0x68, kLteCell},
    {"lte_scc3", 0x69, kLteCell},     {"lte_scc4", 0x6A, kLteCell}, {"lte_scc5", 0x6B, kLteCell},
    {"lte_scc6", 0x6C, kLteCell},     {"nr_pcc", 0x87, kNrCell},    {"nr_scc1", 0x06, kNrCell},
    {"nr_scc2", 0x07, kNrCell},       {"nr_agc", 0x5E, kNrAgc},     {"nr_ftl", 0x70, kNrFtl},
    {"nr_antenna", 0x71, kNrAntenna}, {"nr_power", 0x5A, kNrPower}, {"lte_power", 0x62, kLtePower},
    {"wcdma", 0x6E, kWcdma},          {"gsm", 0x6F, kGsm},          {"antenna", 0x64, kAntenna},
};

void append(std::vector<uint8_t>& to, const void* value, size_t width) {
  const auto* octets = static_cast<const uint8_t*>(value);
  to.insert(to.end(), octets, octets + width);
}

// The field's values one after the other, each in its width.
std::vector<uint8_t> values(Table& table, const Field& field) {
  std::vector<uint8_t> octets;
  if (field.key == nullptr) {
    octets.resize(field.kind.width);
  } else if (field.kind.least == field.kind.most) {
    const std::vector<float> all = field.chains == 0 ? std::vector{table.decimal(field.key)}
                                                     : table.decimals(field.key, field.chains);
    for (const float value : all) append(octets, &value, field.kind.width);
  } else {
    const auto& [width, least, most] = field.kind;
    std::vector<int64_t> all = field.chains == 0
                                   ? std::vector{table.integer(field.key, 0, least, most)}
                                   : table.integers(field.key, least, most);
    if (field.chains != 0 && !table.has(field.key)) all.resize(field.chains);
    if (field.chains != 0 && all.size() != field.chains) {
      table.fail(field.key, "must be a list of " + std::to_string(field.chains));
    }
    for (const int64_t value : all) append(octets, &value, width);
  }
  return octets;
}

size_t lists_side_by_side(std::span<const Field> fields) {
  size_t lists = 1;
  while (fields[0].chains != 0 && lists < fields.size() &&
         fields[lists].chains == fields[0].chains) {
    ++lists;
  }
  return lists;
}

std::vector<uint8_t> pack(Table table, std::span<const Field> fields) {
  std::vector<uint8_t> record{kVersion};
  while (!fields.empty()) {
    const size_t chains = fields[0].chains;
    const size_t lists = lists_side_by_side(fields);
    std::vector<std::vector<uint8_t>> columns;
    for (const Field& field : fields.first(lists)) columns.push_back(values(table, field));
    for (size_t chain = 0; chain < std::max<size_t>(chains, 1); ++chain) {
      for (size_t i = 0; i < lists; ++i) {
        const size_t width = fields[i].kind.width;
        append(record, columns[i].data() + chain * width, width);
      }
    }
    fields = fields.subspan(lists);
  }
  table.done();
  return record;
}

// How many stacks there are, and each one's radio technology.
std::vector<uint8_t> technology(Table& sub) {
  static constexpr std::pair<const char*, uint32_t> kRats[] = {{"none", 0},
                                                               {"gsm", VS_RAT_GSM},
                                                               {"wcdma", VS_RAT_WCDMA},
                                                               {"lte", VS_RAT_LTE},
                                                               {"nr", VS_RAT_NR}};
  const bool number = sub.is_number("rat");
  const uint32_t rat = number ? sub.number("rat", 0, 0, UINT32_MAX)
                              : sub.one_of("rat", "none", kRats, ", or a number");
  if (!number && rat == 0) return {0};
  std::vector<uint8_t> record{1};
  append(record, &rat, sizeof rat);
  return record;
}

// The decimals of a record's field, a chain after the other; none when the record is too short.
std::vector<float> decimals_in(std::span<const uint8_t> record, std::span<const Field> fields,
                               std::string_view key) {
  size_t at = sizeof kVersion;
  while (!fields.empty()) {
    const size_t lists = lists_side_by_side(fields);
    const size_t chains = std::max<size_t>(fields[0].chains, 1);
    size_t stride = 0;
    std::optional<size_t> found;
    for (const Field& field : fields.first(lists)) {
      if (field.key != nullptr && field.key == key) found = at + stride;
      stride += field.kind.width;
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
    fields = fields.subspan(lists);
  }
  return {};
}

// "0x52" or "82".
std::optional<uint32_t> id_of(const std::string& key) {
  const bool hex = key.starts_with("0x");
  const char* end = key.data() + key.size();
  uint32_t id = 0;
  const auto read = std::from_chars(key.data() + (hex ? 2 : 0), end, id, hex ? 16 : 10);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return id;
}

void read_raw(Table raw, Records& records) {
  for (const std::string& key : raw.keys()) {
    const auto id = id_of(key);
    if (!id) raw.fail(key, "is not the id of a record");
    records[*id] = raw.octets(key, VS_DATA_MAX);
  }
}

}  // namespace

Measurements read_measurements(Table table) {
  static constexpr const char* kSubs[kMeasuredSubs] = {"sub0", "sub1"};
  Measurements measurements;
  for (size_t i = 0; i < kMeasuredSubs; ++i) {
    Table sub = table.table(kSubs[i]);
    Records& records = measurements[i];
    if (sub.has("rat")) records[kTechnology] = technology(sub);
    for (const RecordRow& row : kRecords) {
      if (sub.has(row.name)) records[row.id] = pack(sub.table(row.name), row.fields);
    }
    read_raw(sub.table("raw"), records);
    sub.done();
  }
  table.done();
  return measurements;
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
  const std::vector<float> chains = decimals_in(record->second, row->fields, level->key);
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
