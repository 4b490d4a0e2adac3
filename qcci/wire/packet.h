// The datagrams of the bus: QMI messages, and the control packets of QRTR.
//
// The control packets' layout and numbers are those of the kernel's linux/qrtr.h; the QMI header is
// that of its QMI helpers. All numbers are little-endian, as is every machine that this runs on
// (qcci/idl/element.h asserts it). Nothing here keeps state or allocates; parse() reads what came
// from outside and trusts none of it.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>

namespace qcci {

// An endpoint's address: a processor, and a port on it.
struct Address {
  uint32_t node = 0;
  uint32_t port = 0;
  friend bool operator==(const Address&, const Address&) = default;
  friend auto operator<=>(const Address&, const Address&) = default;
};

inline constexpr uint32_t kControlPort = 0xFFFFFFFE;  // of every node: its name service
// Octets. A QMI header counts the TLVs in two octets, so no message is longer by more than itself.
inline constexpr size_t kMaxDatagram = 65535;

// Commands of control packets. In a look-up service 0 is all services, instance 0 all instances.
enum class Control : uint32_t {
  kHello = 2,
  kBye = 3,        // words: node
  kNewServer = 4,  // words: service, instance, node, port; all zero ends a list
  kDelServer = 5,
  kDelClient = 6,  // words: node, port
  kNewLookup = 10,
  kDelLookup = 11,
};

// From and to a control port. Every kind has all of the fields, unused ones zero.
struct ControlPacket {
  Control command{};
  uint32_t service = 0;
  uint32_t instance = 0;  // version | instance << 8
  uint32_t node = 0;
  uint32_t port = 0;

  // BYE and DEL_CLIENT carry their node and port where the others carry service and instance.
  static ControlPacket of_client(Control command, Address client) {
    return {.command = command, .service = client.node, .instance = client.port};
  }
  Address client() const { return {service, instance}; }
  Address server() const { return {node, port}; }
  bool ends_list() const { return (service | instance | node | port) == 0; }

  std::span<const uint8_t> octets() const {
    return {reinterpret_cast<const uint8_t*>(this), sizeof *this};
  }
  // False when the datagram is too short for a control packet.
  [[nodiscard]] static bool parse(std::span<const uint8_t> datagram, ControlPacket* packet) {
    if (datagram.size() < sizeof *packet) return false;
    std::memcpy(packet, datagram.data(), sizeof *packet);
    return true;
  }
};
static_assert(sizeof(ControlPacket) == 20);

// ControlPacket::instance of an instance of a version. The version has one octet on the bus.
inline constexpr uint32_t instance_field(uint32_t version, uint32_t instance) {
  return (version & 0xFF) | instance << 8;
}

inline constexpr size_t kQmiHeader = 7;  // octets

// What a QMI message on the bus begins with; its TLVs follow.
struct QmiHeader {
  uint8_t type = 0;          // as qmi_idl_message_type
  uint16_t transaction = 0;  // the request's number, which its response repeats
  uint16_t message = 0;
  uint16_t length = 0;  // octets of TLVs

  // Writes kQmiHeader octets.
  void write(uint8_t* to) const {
    to[0] = type;
    std::memcpy(to + 1, &transaction, 2);
    std::memcpy(to + 3, &message, 2);
    std::memcpy(to + 5, &length, 2);
  }
  // False unless the datagram is one whole message: a header and exactly the octets that it counts.
  [[nodiscard]] static bool parse(std::span<const uint8_t> datagram, QmiHeader* header) {
    if (datagram.size() < kQmiHeader) return false;
    header->type = datagram[0];
    std::memcpy(&header->transaction, datagram.data() + 1, 2);
    std::memcpy(&header->message, datagram.data() + 3, 2);
    std::memcpy(&header->length, datagram.data() + 5, 2);
    return header->length == datagram.size() - kQmiHeader;
  }
};

}  // namespace qcci
