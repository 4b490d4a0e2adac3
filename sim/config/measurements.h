// The statistics records that the phone has, from readable values to the modem's packed octets.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace sim {

class Table;
struct Section;

constexpr size_t kMeasuredSubs = 2;  // both of the phone's subscriptions

// One subscription's records by their id; a record that the phone does not have is not there.
using Records = std::map<uint32_t, std::vector<uint8_t>>;
using Measurements = std::array<Records, kMeasuredSubs>;

// The table [measurements] of phone.toml; throws BadToml.
Measurements read_measurements(Table& top);
std::vector<Section> measurement_sections();

// What the subscription receives of the technology in use, in dBm, by its best chain; none when
// that is not measured.
std::optional<float> received_level(const Records& records);

// As phone.toml calls the record; "raw" for an id that has no name there.
const char* record_name(uint32_t id);

}  // namespace sim
