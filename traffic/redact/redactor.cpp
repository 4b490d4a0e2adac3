#include "traffic/redact/redactor.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "platform/idl/uim.h"
#include "platform/idl/vendor.h"
#include "platform/idl/vendor_payload.h"
#include "qcci/idl/codec.h"
#include "qcci/idl/fields.h"
#include "traffic/redact/comments.h"
#include "traffic/view/names.h"
#include "vireo/records/layouts.h"

namespace traffic {
namespace {

constexpr const char* kKindNames[] = {"IMEI", "IMSI", "ICCID", "EID", "phone number"};

// NV items that are identities whatever their digits look like.
constexpr uint16_t kSecretItems[] = {
    kNvEsn, kNvMin1, kNvMin2, kNvImsiMcc, kNvImsi1112, kNvDirectoryNumber, kNvMeid};

// Calls `each` for the octets and texts of a message, and with the number before them in their
// record.
class EachOctets final : public qcci::idl::FieldVisitor {
 public:
  using Each = std::function<void(std::span<uint8_t> octets, uint64_t number_before)>;
  explicit EachOctets(Each each) : each_(std::move(each)) {}

  void number(const char*, uint64_t value, bool) override { number_before_ = value; }
  void octets(const char*, std::span<uint8_t> octets, size_t) override {
    each_(octets, number_before_);
  }
  void text(const char*, std::span<char> text) override {
    each_({reinterpret_cast<uint8_t*>(text.data()), text.size()}, 0);
  }
  void begin_array(const char*, size_t) override {}
  void item(size_t) override {}
  void end_array() override {}
  void begin_record(const char*) override {}
  void end_record() override {}

 private:
  const Each each_;
  uint64_t number_before_ = 0;
};

constexpr uint32_t kPcis = 504;
// Where a statistics record has a physical cell identity; nothing when it has none.
std::optional<size_t> pci_at(uint64_t record) {
  size_t at = 0;
  for (const vireo::Field& field : vireo::layout_of(static_cast<uint32_t>(record))) {
    if (field.name == std::string_view("pci")) return at;
    at += field.width;
  }
  return std::nullopt;
}

}  // namespace

void Redactor::learn(const std::string& comment) {
  scan_text(comment,
            [this](IdentityKind kind, std::string_view digits) { identities_.add(kind, digits); });
}

void Redactor::learn(const Frame& frame) {
  for (const std::string& comment : frame.comments) learn(comment);
  const Found add = [this](IdentityKind kind, std::string_view digits) {
    identities_.add(kind, digits);
  };
  if (frame.kind != Kind::kMessage) return;
  Decoded& decoded = learning_.decode(frame);
  if (decoded.message == nullptr) return;
  const bool eid =
      decoded.service == &qcci::idl::kUimService && decoded.header.message == UIM_GET_EID;
  EachOctets each([&](std::span<uint8_t> octets, uint64_t) {
    scan_octets(octets, add);
    const std::string digits = halves(octets, false);
    // Also one whose check digits are wrong.
    if (eid && digits.find_first_of("ABCDEF") == std::string::npos) add(IdentityKind::kEid, digits);
  });
  qcci::idl::visit(*decoded.message, decoded.c.data(), each);
}

void Redactor::redact(std::string* comment) {
  identities_.replace(
      comment, [this](IdentityKind kind) { ++counts_[kKindNames[static_cast<size_t>(kind)]]; });
  if (hide_octets(comment)) ++counts_["octets in a comment"];
}

void Redactor::redact(Frame* frame) {
  for (std::string& comment : frame->comments) redact(&comment);
  switch (frame->kind) {
    case Kind::kMessage:
      redact_message(frame);
      return;
    case Kind::kControl:  // what is behind a packet is nobody's
      frame->octets.resize(std::min(frame->octets.size(), sizeof(qcci::ControlPacket)));
      return;
    case Kind::kNote:
      frame->octets.clear();
  }
}

void Redactor::redact_message(Frame* frame) {
  Decoded& decoded = redacting_.decode(*frame);
  std::vector<uint8_t> octets;
  if (decoded.message != nullptr) {
    replace_item(decoded);
    replace_values(decoded);
    if (encode(decoded, &octets)) {
      frame->octets = std::move(octets);
      return;
    }
  }
  const size_t kept = std::min(frame->octets.size(), qcci::kQmiHeader);
  std::fill(frame->octets.begin() + static_cast<ptrdiff_t>(kept), frame->octets.end(), uint8_t{0});
  ++counts_["message that cannot be decoded"];
}

// The data of an NV item that is an identity. An IMEI is one by its form as well, and keeps it.
void Redactor::replace_item(Decoded& decoded) {
  if (!decoded.nv_id || !has_vendor_payload(decoded)) return;
  if (std::ranges::find(kSecretItems, *decoded.nv_id) == std::end(kSecretItems)) return;
  auto& message = *reinterpret_cast<kelvor_vendor_msg*>(decoded.c.data());
  const size_t at = decoded.type() == QMI_IDL_REQUEST ? offsetof(kelvor_nvefs_req, data)
                                                      : offsetof(kelvor_nvefs_rsp, data);
  const auto data = std::span(message.data).subspan(at);
  const auto used = std::find_if(data.rbegin(), data.rend(), [](uint8_t o) { return o != 0; });
  const auto length = static_cast<size_t>(data.rend() - used);
  if (length == 0) return;
  identities_.replace_opaque(data.first(length));
  ++counts_["NV item"];
}

void Redactor::replace_values(Decoded& decoded) {
  const auto replaced = [this](IdentityKind kind) {
    ++counts_[kKindNames[static_cast<size_t>(kind)]];
  };
  EachOctets each([&](std::span<uint8_t> octets, uint64_t record) {
    identities_.replace(octets, replaced);
    if (decoded.service != &qcci::idl::kVsService) return;
    const auto at = pci_at(record);
    if (at && octets.size() >= *at + 2) {
      const auto pci = static_cast<uint32_t>(number_at(octets, *at, 2));
      const auto substitute = static_cast<uint16_t>(identities_.replace_number(pci, kPcis));
      std::memcpy(octets.data() + *at, &substitute, sizeof substitute);
      ++counts_["cell identity"];
    }
  });
  qcci::idl::visit(*decoded.message, decoded.c.data(), each);
}

// The message again, and behind it, as zeros, the elements that have no row.
bool Redactor::encode(const Decoded& decoded, std::vector<uint8_t>* octets) {
  const qcci::idl::Message& message = *decoded.message;
  octets->resize(qcci::kQmiHeader + message.max_encoded);
  const auto encoded = qcci::idl::encode(message, decoded.c.data(), decoded.c.size(),
                                         std::span(*octets).subspan(qcci::kQmiHeader));
  if (encoded.error != qcci::idl::CodecError::kOk) return false;
  octets->resize(qcci::kQmiHeader + encoded.length);
  std::span<const uint8_t> tlvs = decoded.tlvs();
  while (!tlvs.empty()) {
    const size_t length = 3 + static_cast<size_t>(number_at(tlvs, 1, 2));
    const bool known =
        std::ranges::any_of(std::span(message.tlvs, message.tlv_count),
                            [&](const qcci::idl::Tlv& row) { return row.type == tlvs[0]; });
    if (!known) {
      octets->insert(octets->end(), tlvs.begin(), tlvs.begin() + 3);
      octets->resize(octets->size() + length - 3);
      ++counts_["element without a row"];
    }
    tlvs = tlvs.subspan(length);
  }
  if (octets->size() > qcci::kMaxDatagram) return false;
  qcci::QmiHeader header = decoded.header;
  header.length = static_cast<uint16_t>(octets->size() - qcci::kQmiHeader);
  header.write(octets->data());
  return true;
}

}  // namespace traffic
