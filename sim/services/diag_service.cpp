// Diag: version, NV read and NV write. Command codes, packets and NV states are those of public
// diag tools.

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "platform/idl/vendor_payload.h"
#include "qcci/services/diag.h"
#include "qcci/services/services.h"
#include "sim/phone/storage.h"
#include "sim/services/nvefs.h"
#include "sim/services/services.h"

namespace sim {
namespace {

using qcci::DiagRequest;
using qcci::DiagResponse;
using Packet = std::vector<uint8_t>;

enum : uint8_t {
  kVersion = 0x00,
  kBadCommand = 0x13,  // this and the next are followed by the refused command
  kBadLength = 0x15,
  kNvRead = 0x26,
  kNvWrite = 0x27,
};

enum : uint16_t {
  kNvDone = 0,
  kNvFull = 3,
  kNvFailed = 4,
  kNvInactive = 5,  // never written
  kNvBadParameter = 6,
};

struct __attribute__((packed)) VersionPacket {
  uint8_t code;
  char compiled_date[11];
  char compiled_time[8];
  char released_date[11];
  char released_time[8];
  char version[8];
  uint8_t station_class;
  uint8_t cai_revision;
  uint8_t model;
  uint16_t firmware;
  uint8_t slot_cycle;
  uint8_t hardware_major;
  uint8_t hardware_minor;
};
static_assert(sizeof(VersionPacket) == 55 && offsetof(VersionPacket, firmware) == 50);

struct __attribute__((packed)) NvPacket {
  uint8_t code;
  uint16_t id;
  uint8_t data[128];
  uint16_t status;
};
static_assert(sizeof(NvPacket) == 133 && offsetof(NvPacket, status) == 131);
constexpr size_t kNvHead = offsetof(NvPacket, data);

template <class P>
Packet octets_of(const P& packet) {
  const auto* first = reinterpret_cast<const uint8_t*>(&packet);
  return {first, first + sizeof packet};
}

Packet refuse(uint8_t why, std::span<const uint8_t> command) {
  Packet answer(1 + command.size(), why);
  std::ranges::copy(command, answer.begin() + 1);
  return answer;
}

uint16_t nv_status(int error) {
  switch (error) {
    case 0:
      return kNvDone;
    case ENOENT:
      return kNvInactive;
    case ENOSPC:
      return kNvFull;
    default:
      return kNvFailed;
  }
}

template <size_t N>
void put_text(char (&field)[N], std::string_view text) {
  std::memcpy(field, text.data(), std::min(N, text.size()));
}

class DiagService final : public Service {
 public:
  explicit DiagService(ModemContext& modem)
      : Service(modem, qcci::idl::kDiagService),
        nv_(modem.phone(), "nv", modem.config().modem.loses_unsynced) {
    on(qcci::kDiagByCallback, &DiagService::command);
    on(qcci::kDiagByDci, &DiagService::command);
  }

 private:
  struct Row {
    uint8_t code;
    size_t least, most;  // octets of the command
    Packet (DiagService::*run)(std::span<const uint8_t> command);
  };
  static const Row kRows[];

  void command(Address, const DiagRequest& request, DiagResponse& response) {
    response.tag_valid = request.tag_valid;
    response.tag = request.tag;
    const Packet answer = answer_to({request.packet, request.packet_len});
    if (request.wants_answer == 0) return;
    response.packet_valid = 1;
    response.packet_len = static_cast<uint32_t>(answer.size());
    std::memcpy(response.packet, answer.data(), answer.size());
  }

  Packet answer_to(std::span<const uint8_t> command);

  Packet version(std::span<const uint8_t> /*command*/) {
    const DiagConfig& config = modem_.config().diag;
    VersionPacket packet{};
    packet.code = kVersion;
    const std::string_view compiled = config.compiled;
    const std::string_view released = config.released;
    put_text(packet.compiled_date, compiled.substr(0, 11));
    put_text(packet.compiled_time, compiled.substr(12));
    put_text(packet.released_date, released.substr(0, 11));
    put_text(packet.released_time, released.substr(12));
    put_text(packet.version, config.version);
    packet.model = config.model;
    packet.firmware = config.firmware;
    packet.hardware_major = config.hardware_major;
    packet.hardware_minor = config.hardware_minor;
    return octets_of(packet);
  }

  // An item that is longer than the packet's field is cut.
  Packet nv_read(std::span<const uint8_t> command) {
    NvPacket packet = nv_packet(command);
    std::string item;
    packet.status = kNvBadParameter;
    if (packet.id <= KELVOR_NVEFS_NV_ID_MAX) {
      packet.status = nv_status(nv_.read(nv_item_path(0, packet.id), &item));
    }
    std::memset(packet.data, 0, sizeof packet.data);
    std::memcpy(packet.data, item.data(), std::min(item.size(), sizeof packet.data));
    return octets_of(packet);
  }

  // A command that ends within the data field writes the octets that it has. One with the whole
  // field cannot say how many of them it means: it writes as many as the item had before.
  Packet nv_write(std::span<const uint8_t> command) {
    NvPacket packet = nv_packet(command);
    if (packet.id > KELVOR_NVEFS_NV_ID_MAX) {
      packet.status = kNvBadParameter;
      return octets_of(packet);
    }
    const auto item = [&](const std::string& old) {
      size_t length = command.size() - kNvHead;
      if (length >= sizeof packet.data) {
        length = old.empty() ? sizeof packet.data : std::min(old.size(), sizeof packet.data);
      }
      return std::string(reinterpret_cast<const char*>(packet.data), length);
    };
    packet.status = nv_status(nv_.update(nv_item_path(0, packet.id), item));
    return octets_of(packet);
  }

  static NvPacket nv_packet(std::span<const uint8_t> command) {
    NvPacket packet{};
    std::memcpy(&packet, command.data(), command.size());
    return packet;
  }

  const Store nv_;
};

constexpr DiagService::Row DiagService::kRows[] = {
    {.code = kVersion, .least = 1, .most = 1, .run = &DiagService::version},
    {.code = kNvRead, .least = kNvHead, .most = sizeof(NvPacket), .run = &DiagService::nv_read},
    {.code = kNvWrite,
     .least = kNvHead + 1,
     .most = sizeof(NvPacket),
     .run = &DiagService::nv_write},
};

Packet DiagService::answer_to(std::span<const uint8_t> command) {
  for (const Row& row : kRows) {
    if (command.empty() || command[0] != row.code) continue;
    if (command.size() < row.least || command.size() > row.most) return refuse(kBadLength, command);
    return (this->*row.run)(command);
  }
  return refuse(kBadCommand, command);
}

}  // namespace

std::unique_ptr<Service> make_diag_service(ModemContext& modem) {
  return std::make_unique<DiagService>(modem);
}

}  // namespace sim
