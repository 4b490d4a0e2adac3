#include "sim/services/euicc.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <sstream>
#include <string>

#include "sim/services/status_words.h"

namespace sim {
namespace {

using Octets = std::vector<uint8_t>;

constexpr const char* kEsimEnableFile = "1/nv/item_files/modem/uim/uimdrv/esim_enable";

// The functions' tags, of GSMA SGP.22: this octet, then the function's.
constexpr uint8_t kFunctionClass = 0xBF;
constexpr uint8_t kMemoryReset = 0x34;
constexpr uint8_t kGetEid = 0x3E;

// Results of a memory reset, of GSMA SGP.22 too.
constexpr uint8_t kDone = 0;
constexpr uint8_t kNothingToDelete = 1;
constexpr uint8_t kUndefinedError = 127;

// The value of the data object that is all of `data`. False when its length is coded in more than
// one octet or is not that of the rest.
[[nodiscard]] bool only_object(std::span<const uint8_t> data, size_t tag_octets,
                               std::span<const uint8_t>* value) {
  if (data.size() < tag_octets + 1) return false;
  const size_t length = data[tag_octets];  // 0x80 and more: the first of several length octets
  *value = data.subspan(tag_octets + 1);
  return length < 0x80 && value->size() == length;
}

Octets answer(uint8_t function, const Octets& value) {
  Octets octets = {kFunctionClass, function, static_cast<uint8_t>(value.size())};
  octets.insert(octets.end(), value.begin(), value.end());
  return with_status(std::move(octets), kSwDone);
}

}  // namespace

bool esim_enabled(const Phone& phone) {
  std::string value;
  return phone.efs().read(kEsimEnableFile, &value) == 0 &&
         value.find_first_not_of('\0') != std::string::npos;
}

std::vector<ProfileConfig> Euicc::profiles() const {
  std::string file;
  // Of a file that cannot be read, which has been reported, no profile counts as deleted.
  if (phone_.all().read(kDeletedFile, &file) != 0) file.clear();
  std::istringstream lines(file);
  std::set<std::string> deleted;
  for (std::string line; std::getline(lines, line);) deleted.insert(line);
  std::vector<ProfileConfig> left = config_.profiles;
  std::erase_if(left,
                [&](const ProfileConfig& profile) { return deleted.contains(profile.iccid); });
  return left;
}

Octets Euicc::store_data(std::span<const uint8_t> data) {
  if (data.size() < 2 || data[0] != kFunctionClass) return status_only(kSwNotFound);
  std::span<const uint8_t> value;
  const bool whole = only_object(data, 2, &value);
  switch (data[1]) {
    case kMemoryReset:
      return whole ? memory_reset(value) : status_only(kSwWrongData);
    case kGetEid:
      return whole ? get_eid(value) : status_only(kSwWrongData);
    default:
      return status_only(kSwNotFound);
  }
}

// The request is a list of tags (0x5C), which must have the EID's (0x5A) alone.
Octets Euicc::get_eid(std::span<const uint8_t> value) {
  static constexpr uint8_t kWanted[] = {0x5C, 0x01, 0x5A};
  if (!std::ranges::equal(value, kWanted)) return status_only(kSwWrongData);
  if (config_.eid.empty()) return status_only(kSwNotFound);
  Octets object = {0x5A, static_cast<uint8_t>(config_.eid.size())};
  object.insert(object.end(), config_.eid.begin(), config_.eid.end());
  return answer(kGetEid, object);
}

// The options (0x82) are a string of bits: the number of unused bits in the last octet, then the
// bits, one for each class of profiles.
Octets Euicc::memory_reset(std::span<const uint8_t> value) {
  std::span<const uint8_t> options;
  if (value.empty() || value[0] != 0x82 || !only_object(value, 1, &options) ||
      options.size() != 2 || options[0] > 7) {
    return status_only(kSwWrongData);
  }
  uint8_t result = kNothingToDelete;
  const FileLock only_one = phone_.lock();
  std::string deleted;
  const int unread = phone_.all().read(kDeletedFile, &deleted);
  for (const ProfileConfig& profile : profiles()) {
    if ((static_cast<uint8_t>(profile.profile_class) & options[1]) == 0) continue;
    deleted += profile.iccid + "\n";
    result = kDone;
  }
  // A file that cannot be read is not overwritten.
  const bool may_write = only_one.held() && (unread == 0 || unread == ENOENT);
  if (result == kDone && (!may_write || phone_.all().write(kDeletedFile, deleted) != 0)) {
    result = kUndefinedError;
  }
  return answer(kMemoryReset, {0x80, 0x01, result});
}

}  // namespace sim
