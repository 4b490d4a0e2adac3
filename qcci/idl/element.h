// Element rows: the wire form of a QMI message and where each part lies in its C structure.
//
// A message is a list of TLV rows, a TLV is a list of elements, and an element is a number, an
// array or a nested record of the C structure. The builders below make rows, one line per field;
// they take type, width and offset from the structure's member. A table that contradicts itself or
// its structure does not compile. The same rows encode, decode, print and fuzz a message.
//
//   constexpr auto kMessage = [] {
//     using S = kelvor_vendor_msg;
//     return message<S>(mandatory(0x01, value(QCCI_MEMBER(S, id))),
//                       optional(0x10, QCCI_MEMBER(S, data_valid), value(QCCI_MEMBER(S, data))));
//   }();
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace qcci::idl {

static_assert(std::endian::native == std::endian::little,
              "the codec copies numbers as they are in memory, and the wire is little-endian");

enum class Shape : uint8_t {
  kValue,    // `max` items, always all of them; a plain number is an array of one
  kCounted,  // a count, then that many items; the C structure has a u32 count elsewhere
  kText,     // a count, then that many characters; zero-terminated in C
};

struct Element {
  const char* name = "";  // the C structure's member
  Shape shape = Shape::kValue;
  uint8_t wire_width = 0;           // octets of one number on the wire; 0 for records
  uint8_t count_width = 0;          // octets of the count on the wire
  uint32_t offset = 0;              // of the first item in the C structure
  uint32_t count_offset = 0;        // of the count in the C structure, for kCounted
  uint32_t max = 1;                 // items; for text without its terminating zero
  uint32_t stride = 0;              // octets of one item in C
  const Element* record = nullptr;  // the elements of an item that is a record
  uint32_t record_count = 0;        // 0: the item is a number
  bool truncating = false;  // decoding keeps the first `max` items; the count is the sender's
  bool is_signed = false;   // a number in two's complement, for describing it
};

// A record's elements, and the type they describe.
template <class S, size_t N>
struct Record {
  Element elements[N];
};

// The member of structure S that a row is about, and its type T. Made by QCCI_MEMBER alone, so that
// name, offset and type cannot contradict each other.
template <class S, class T>
struct Member {
  const char* name;
  uint32_t offset;
};
#define QCCI_MEMBER(Struct, member) \
  ::qcci::idl::Member<Struct, decltype(Struct::member)> { #member, offsetof(Struct, member) }

// An element or TLV of structure S: rows of different structures do not mix.
template <class S>
struct Of {
  Element element;
};

// Room for a TLV of several plain fields; none in use has more than two.
inline constexpr size_t kMaxTlvElements = 6;
struct Tlv {
  uint8_t type = 0;
  bool is_optional = false;
  uint8_t count = 0;
  uint32_t flag_offset = 0;  // the presence flag, one octet, of an optional one
  Element elements[kMaxTlvElements];
};
// A TLV of structure S.
template <class S>
struct TlvOf {
  Tlv tlv;
};

// A message as the codec sees it. c_size 0: an empty message.
struct Message {
  const Tlv* tlvs = nullptr;
  uint32_t tlv_count = 0;
  uint32_t c_size = 0;
  uint32_t max_encoded = 0;  // octets of TLVs when everything is present and full
};

namespace detail {
// Never defined. A call in a constant expression does not compile, so a bad table is an error that
// shows `why`.
void bad_table(const char* why);

// Octets of a count on the wire: as few as hold the array's maximum.
constexpr uint32_t smallest_count(uint32_t max) { return max <= 255 ? 1 : 2; }

// Octets of an element, and of one item of it, when it is full.
constexpr uint32_t item_encoded_max(const Element& e);
constexpr uint32_t encoded_max(const Element& e) {
  return e.count_width + e.max * item_encoded_max(e);
}
constexpr uint32_t item_encoded_max(const Element& e) {
  if (e.record_count == 0) return e.wire_width;
  uint32_t sum = 0;
  for (uint32_t i = 0; i < e.record_count; ++i) sum += encoded_max(e.record[i]);
  return sum;
}

// The members of structure S that rows have taken so far: each may be taken once.
template <class S, size_t Max>
class Taken {
 public:
  constexpr void take(uint32_t begin, uint32_t octets) {
    const uint32_t end = begin + octets;
    if (end > sizeof(S)) bad_table("a row reaches beyond its structure");
    for (size_t i = 0; i < used_; ++i) {
      if (begin < ends_[i] && begins_[i] < end) bad_table("two rows share a member");
    }
    begins_[used_] = begin;
    ends_[used_++] = end;
  }
  constexpr void take(const Element& e) {
    take(e.offset, e.stride * (e.shape == Shape::kText ? e.max + 1 : e.max));
    if (e.shape == Shape::kCounted) take(e.count_offset, 4);
  }

 private:
  uint32_t begins_[Max]{}, ends_[Max]{};
  size_t used_ = 0;
};

// A structure calls the count of `ids` `ids_len` and the presence flag of `id` `id_valid`, so a
// count or a flag of another name is another member's.
constexpr bool is_called(std::string_view name, std::string_view member, std::string_view suffix) {
  return name.starts_with(member) && name.substr(member.size()) == suffix;
}

// An array of items behind its count.
template <size_t CountWidth, class S, class T, size_t N>
constexpr Element counted_items(Member<S, uint32_t> count, Member<S, T[N]> items) {
  constexpr size_t kWidth = CountWidth != 0 ? CountWidth : smallest_count(N);
  static_assert(N < uint64_t{1} << 8 * kWidth, "a count of that width cannot hold the maximum");
  if (!is_called(count.name, items.name, "_len")) bad_table("the count is another array's");
  return {.name = items.name,
          .shape = Shape::kCounted,
          .count_width = kWidth,
          .offset = items.offset,
          .count_offset = count.offset,
          .max = N,
          .stride = sizeof(T)};
}
}  // namespace detail

// A number or a fixed array of numbers, of the member's own width on the wire.
template <class S, class T>
constexpr Of<S> value(Member<S, T> m) {
  using Item = std::remove_all_extents_t<T>;
  static_assert(std::is_integral_v<Item> && std::rank_v<T> <= 1,
                "neither a number nor an array of numbers");
  return {{.name = m.name,
           .wire_width = sizeof(Item),
           .offset = m.offset,
           .max = std::is_array_v<T> ? std::extent_v<T> : 1,
           .stride = sizeof(Item),
           .is_signed = std::is_signed_v<Item>}};
}

// A number that is narrower on the wire than in C. Signed ones keep their width.
template <size_t WireWidth, class S, class T>
constexpr Of<S> narrow(Member<S, T> m) {
  using Item = std::remove_all_extents_t<T>;
  static_assert(std::is_unsigned_v<Item> && WireWidth < sizeof(Item), "signed, or not narrower");
  Of<S> of = value(m);
  of.element.wire_width = WireWidth;
  return of;
}

// The same for the items of an array.
template <size_t WireWidth, class S>
constexpr Of<S> narrow(Of<S> of) {
  const Element& e = of.element;
  if (e.record_count != 0 || e.is_signed || WireWidth >= e.stride) {
    detail::bad_table("not numbers, signed, or not narrower");
  }
  of.element.wire_width = WireWidth;
  return of;
}

// A counted array of numbers, of the array's own capacity. CountWidth 0: as the capacity asks.
template <size_t CountWidth = 0, class S, class T, size_t N>
constexpr Of<S> counted(Member<S, uint32_t> count, Member<S, T[N]> items) {
  static_assert(std::is_integral_v<T>, "not an array of numbers");
  Element e = detail::counted_items<CountWidth>(count, items);
  e.wire_width = sizeof(T);
  e.is_signed = std::is_signed_v<T>;
  return {e};
}

// A counted array of numbers of which a sender may send more than fit: decoding keeps the first of
// them and the sender's count, so a reader must check the count against the array.
template <class S, class T, size_t N>
constexpr Of<S> truncating(Member<S, uint32_t> count, Member<S, T[N]> items) {
  Of<S> of = counted(count, items);
  of.element.truncating = true;
  return of;
}

// A counted array of records.
template <size_t CountWidth = 0, class S, class T, size_t N, size_t R>
constexpr Of<S> counted(Member<S, uint32_t> count, Member<S, T[N]> items,
                        const Record<T, R>& record) {
  Element e = detail::counted_items<CountWidth>(count, items);
  e.record = record.elements;
  e.record_count = R;
  return {e};
}

// One nested record.
template <class S, class T, size_t R>
constexpr Of<S> nested(Member<S, T> m, const Record<T, R>& record) {
  return {{.name = m.name,
           .offset = m.offset,
           .stride = sizeof(T),
           .record = record.elements,
           .record_count = R}};
}

// A text with its length before it.
template <class S, size_t N>
constexpr Of<S> text(Member<S, char[N]> m) {
  return {{.name = m.name,
           .shape = Shape::kText,
           .wire_width = 1,
           .count_width = detail::smallest_count(N - 1),
           .offset = m.offset,
           .max = N - 1,
           .stride = 1}};
}

// A record type, for counted() and nested(): its elements in the order of the wire. It must be a
// constant of static lifetime, since rows point into it.
template <class S, class... Rest>
constexpr auto record(Of<S> first, Rest... rest) {
  static_assert((std::is_same_v<Rest, Of<S>> && ...), "elements of different structures");
  constexpr size_t kElements = 1 + sizeof...(Rest);
  const Record<S, kElements> record{{first.element, rest.element...}};
  detail::Taken<S, 2 * kElements> taken;
  for (const Element& e : record.elements) taken.take(e);
  return record;
}

// A TLV that the message always has. By QMI's rules its type is below 0x10, and a receiver refuses
// a message without it.
template <class S, class... Rest>
constexpr TlvOf<S> mandatory(uint8_t type, Of<S> first, Rest... rest) {
  static_assert((std::is_same_v<Rest, Of<S>> && ...), "elements of different structures");
  static_assert(1 + sizeof...(Rest) <= kMaxTlvElements);
  if (type < 0x01 || type > 0x0F) detail::bad_table("mandatory types are 0x01 to 0x0F");
  Tlv tlv{type, false, 1 + sizeof...(Rest), 0, {first.element, rest.element...}};
  return {tlv};
}

// A TLV that is present when `flag` is not 0. Its type is 0x10 or above, where a receiver skips
// what it does not know.
template <class S, class... Rest>
constexpr TlvOf<S> optional(uint8_t type, Member<S, uint8_t> flag, Of<S> first, Rest... rest) {
  static_assert((std::is_same_v<Rest, Of<S>> && ...), "elements of different structures");
  static_assert(1 + sizeof...(Rest) <= kMaxTlvElements);
  if (type < 0x10) detail::bad_table("optional types are 0x10 and above");
  if (sizeof...(Rest) == 0 && !detail::is_called(flag.name, first.element.name, "_valid")) {
    detail::bad_table("the flag is another member's");
  }
  Tlv tlv{type, true, 1 + sizeof...(Rest), flag.offset, {first.element, rest.element...}};
  return {tlv};
}

// A message's rows, with the storage that a Message points into: of static lifetime, too.
template <class S, size_t N>
struct MessageTable {
  Tlv tlvs[N];
  uint32_t max_encoded = 0;

  constexpr operator Message() const { return {tlvs, N, sizeof(S), max_encoded}; }
};

// The message whose C structure is S, of TLV rows in the order of their types. Members that no row
// takes are not on the wire: encoding leaves them out, decoding leaves them zero.
template <class S, class... Rows>
constexpr auto message(Rows... rows) {
  static_assert((std::is_same_v<Rows, TlvOf<S>> && ...), "rows of different structures");
  static_assert(sizeof...(Rows) <= 64, "more rows than the decoder has bits for");
  MessageTable<S, sizeof...(Rows)> table{{rows.tlv...}, 0};
  detail::Taken<S, sizeof...(Rows) * (1 + 2 * kMaxTlvElements)> taken;
  uint32_t last_type = 0;
  for (const Tlv& tlv : table.tlvs) {
    if (tlv.type <= last_type) detail::bad_table("types must ascend");
    last_type = tlv.type;
    if (tlv.is_optional) taken.take(tlv.flag_offset, 1);
    table.max_encoded += 3;  // type, and length in two octets
    for (size_t i = 0; i < tlv.count; ++i) {
      taken.take(tlv.elements[i]);
      table.max_encoded += detail::encoded_max(tlv.elements[i]);
    }
  }
  if (table.max_encoded > UINT16_MAX) detail::bad_table("longer than a message can be");
  return table;
}

}  // namespace qcci::idl
