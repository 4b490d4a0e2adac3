#include "sim/services/card_slot.h"

#include <algorithm>

#include "sim/services/status_words.h"

namespace sim {
namespace {

using Octets = std::vector<uint8_t>;

// AIDs of the USIM (ETSI TS 101 220) and of an eUICC's root security domain (GSMA SGP.02).
constexpr uint8_t kUsimAid[] = {0xA0, 0x00, 0x00, 0x00, 0x87, 0x10, 0x02, 0xFF,
                                0xFF, 0xFF, 0xFF, 0x89, 0x04, 0x00, 0x00, 0xFF};
constexpr uint8_t kIsdRAid[] = {0xA0, 0x00, 0x00, 0x05, 0x59, 0x10, 0x10, 0xFF,
                                0xFF, 0xFF, 0xFF, 0x89, 0x00, 0x00, 0x01, 0x00};
constexpr size_t kRid = 5;  // octets of an AID's registered provider, its shortest prefix

constexpr size_t kHeader = 4;  // class, instruction, two parameters
constexpr uint8_t kSelect = 0xA4;
constexpr uint8_t kByName = 0x04;     // P1 of SELECT
constexpr uint8_t kStoreData = 0xE2;  // of the proprietary class
constexpr uint8_t kLastBlock = 0x91;  // P1 of STORE DATA: BER-TLV data, last block

// The data field of a command APDU: behind Lc, of one octet; Le may follow. False when the lengths
// do not agree.
[[nodiscard]] bool data_field(std::span<const uint8_t> apdu, std::span<const uint8_t>* data) {
  *data = {};
  if (apdu.size() <= kHeader + 1) return true;
  const size_t length = apdu[kHeader];
  const size_t end = kHeader + 1 + length;
  if (length == 0 || (apdu.size() != end && apdu.size() != end + 1)) return false;
  *data = apdu.subspan(kHeader + 1, length);
  return true;
}

}  // namespace

void CardSlot::power_up(bool to_euicc, platform::Time ready) {
  powered_ = true;
  to_euicc_ = to_euicc && euicc_ != nullptr;
  ready_ = ready;
  channels_ = {{0, Application::kNone}};
}

void CardSlot::power_down() {
  powered_ = false;
  channels_.clear();
}

uim_card_state CardSlot::state() const {
  if (!powered_) return UIM_CARD_ERROR;
  if (platform::clock().now() < ready_) return UIM_CARD_ABSENT;
  if (to_euicc_) return UIM_CARD_PRESENT;
  return card_detect() ? sim_.state : UIM_CARD_ABSENT;
}

uim_card_error CardSlot::error() const {
  if (!powered_) return UIM_ERROR_POWER_DOWN;
  return state() == UIM_CARD_ERROR ? sim_.error : UIM_ERROR_UNKNOWN;
}

Octets CardSlot::usim() const { return aid_of(Application::kUsim); }

// An eUICC has the USIM of its enabled profile, if it has one.
Octets CardSlot::aid_of(Application application) const {
  if (application == Application::kIsdR && to_euicc_) {
    return {std::begin(kIsdRAid), std::end(kIsdRAid)};
  }
  if (application != Application::kUsim) return {};
  if (to_euicc_ && std::ranges::none_of(euicc_->profiles(), &ProfileConfig::enabled)) return {};
  return {std::begin(kUsimAid), std::end(kUsimAid)};
}

CardSlot::Application CardSlot::find(std::span<const uint8_t> aid) const {
  for (const Application application : {Application::kUsim, Application::kIsdR}) {
    const Octets whole = aid_of(application);
    if (aid.size() >= kRid && aid.size() <= whole.size() &&
        std::equal(aid.begin(), aid.end(), whole.begin())) {
      return application;
    }
  }
  return Application::kNone;
}

uint16_t CardSlot::open(std::span<const uint8_t> aid, uint8_t* channel) {
  if (channels_.size() > kChannelsMax) return kSwNoRoom;
  const Application application = find(aid);
  if (!aid.empty() && application == Application::kNone) return kSwNoApplication;
  *channel = 1;
  while (channels_.contains(*channel)) ++*channel;
  channels_[*channel] = application;
  return kSwDone;
}

bool CardSlot::close(uint8_t channel) { return channel != 0 && channels_.erase(channel) != 0; }

// A template with the application's AID (tag 0x84).
Octets CardSlot::file_control(uint8_t channel, uint32_t which) const {
  static constexpr uint8_t kTemplates[] = {0, 0x62, 0x6F, 0x6F, 0x64};
  const auto found = channels_.find(channel);
  if (found == channels_.end() || which == UIM_FILE_CONTROL_NONE ||
      which >= std::size(kTemplates)) {
    return {};
  }
  const Octets aid = aid_of(found->second);
  const auto length = static_cast<uint8_t>(aid.size());
  Octets octets = {kTemplates[which], static_cast<uint8_t>(length + 2), 0x84, length};
  octets.insert(octets.end(), aid.begin(), aid.end());
  return octets;
}

Octets CardSlot::exchange(uint8_t channel, std::span<const uint8_t> apdu) {
  std::span<const uint8_t> data;
  if (apdu.size() < kHeader || !data_field(apdu, &data)) return status_only(kSwWrongLength);
  // The low bits of the class are the channel number, which the modem sets.
  const uint8_t command_class = apdu[0] & 0xF0;
  const uint8_t instruction = apdu[1];
  Application& selected = channels_.at(channel);
  if (command_class == 0x00 && instruction == kSelect) {
    if (apdu[2] != kByName) return status_only(kSwWrongParameters);
    const Application found = find(data);
    if (found == Application::kNone) return status_only(kSwNoApplication);
    selected = found;
    return with_status(file_control(channel, UIM_FILE_CONTROL_FCI), kSwDone);
  }
  if (command_class == 0x80 && instruction == kStoreData && selected == Application::kIsdR) {
    if (apdu[2] != kLastBlock || apdu[3] != 0) return status_only(kSwWrongParameters);
    return euicc_->store_data(data);
  }
  return status_only(command_class == 0x00 || command_class == 0x80 ? kSwNoInstruction
                                                                    : kSwNoClass);
}

}  // namespace sim
