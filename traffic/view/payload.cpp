#include "traffic/view/payload.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "platform/idl/vendor.h"
#include "platform/idl/vendor_payload.h"

namespace traffic {
namespace {

template <class T>
constexpr PayloadField number(const char* name, size_t offset) {
  return {.name = name,
          .offset = static_cast<uint16_t>(offset),
          .width = sizeof(T),
          .is_signed = std::is_signed_v<T>};
}
constexpr PayloadField counted(const char* name, FieldShape shape, uint8_t width, size_t offset,
                               size_t room, size_t count_at, size_t count_width) {
  return {.name = name,
          .shape = shape,
          .offset = static_cast<uint16_t>(offset),
          .width = width,
          .is_signed = false,
          .room = static_cast<uint16_t>(room),
          .count_at = static_cast<uint16_t>(count_at),
          .count_width = static_cast<uint8_t>(count_width)};
}

#define NUMBER(S, member) number<decltype(S::member)>(#member, offsetof(S, member))
#define OCTETS(S, member, count)                                                   \
  counted(#member, FieldShape::kOctets, 1, offsetof(S, member), sizeof(S::member), \
          offsetof(S, count), sizeof(S::count))
#define TEXT(S, member, count)                                                   \
  counted(#member, FieldShape::kText, 1, offsetof(S, member), sizeof(S::member), \
          offsetof(S, count), sizeof(S::count))

using Req = kelvor_nvefs_req;
using Rsp = kelvor_nvefs_rsp;
constexpr PayloadField kNv[] = {NUMBER(Req, operation), NUMBER(Req, sub), NUMBER(Req, nv_id)};
constexpr PayloadField kNvWrite[] = {NUMBER(Req, operation), NUMBER(Req, sub), NUMBER(Req, nv_id),
                                     NUMBER(Req, data_len), OCTETS(Req, data, data_len)};
constexpr PayloadField kEfsRead[] = {NUMBER(Req, operation), NUMBER(Req, sub),
                                     TEXT(Req, path, path_len), NUMBER(Req, data_done),
                                     NUMBER(Req, exchange)};
constexpr PayloadField kEfsWrite[] = {NUMBER(Req, operation),    NUMBER(Req, sub),
                                      TEXT(Req, path, path_len), NUMBER(Req, data_len),
                                      NUMBER(Req, data_done),    NUMBER(Req, exchange),
                                      NUMBER(Req, data_len_cur), OCTETS(Req, data, data_len_cur)};
constexpr PayloadField kEfsDelete[] = {NUMBER(kelvor_efs_path_req, operation),
                                       NUMBER(kelvor_efs_path_req, sub),
                                       TEXT(kelvor_efs_path_req, path, path_len)};
constexpr PayloadField kNvefsReply[] = {
    NUMBER(Rsp, data_len_send), NUMBER(Rsp, data_len_all), NUMBER(Rsp, data_len_recv),
    NUMBER(Rsp, exchange),      NUMBER(Rsp, result),       OCTETS(Rsp, data, data_len_send)};

// Common requests: the head of each, and what its value or payload holds.
using Item = kelvor_common_item_req;
#define ITEM                                                                   \
  number<uint32_t>("command", 0), number<uint32_t>("item", offsetof(Item, t)), \
      number<uint32_t>("length", offsetof(Item, l))
#define ANSWER number<uint32_t>("command", 0), NUMBER(kelvor_common_rsp, result)
constexpr size_t kValue = offsetof(Item, v);
constexpr size_t kAnswer = offsetof(kelvor_common_rsp, payload);

constexpr PayloadField kItem[] = {
    ITEM, counted("value", FieldShape::kOctets, 1, kValue, sizeof(Item::v), offsetof(Item, l), 4)};
constexpr PayloadField kItemSub[] = {ITEM, number<uint32_t>("sub", kValue)};
constexpr PayloadField kCardSet[] = {ITEM, number<uint32_t>("sub", kValue),
                                     number<uint32_t>("mode", kValue + 4),
                                     number<uint32_t>("level", kValue + 8)};
constexpr PayloadField kHotSwap[] = {
    ITEM, number<uint32_t>("opt", kValue), number<uint32_t>("seconds_after_push", kValue + 4),
    number<uint32_t>("seconds_after_pull", kValue + 8), number<uint32_t>("count", kValue + 12)};
constexpr PayloadField kGpio[] = {
    number<uint32_t>("command", 0), number<uint32_t>("count", offsetof(kelvor_gpio_req, gpio)),
    counted("values", FieldShape::kNumbers, 4, offsetof(kelvor_gpio_req, gpio.values),
            sizeof(kelvor_gpio::values), offsetof(kelvor_gpio_req, gpio), 4)};
constexpr PayloadField kRfTx[] = {number<uint32_t>("command", 0),
                                  number<uint32_t>("antenna", offsetof(kelvor_rf_tx_req, tx)),
                                  number<uint32_t>("system", offsetof(kelvor_rf_tx_req, tx.system)),
                                  number<uint64_t>("bands", offsetof(kelvor_rf_tx_req, tx.bands))};
constexpr PayloadField kRaw[] = {
    number<uint32_t>("command", 0),
    counted("payload", FieldShape::kOctets, 1, offsetof(kelvor_common_raw_req, payload),
            KELVOR_COMMON_PAYLOAD_ROOM, 0, 0)};

constexpr PayloadField kReply[] = {ANSWER, counted("payload", FieldShape::kOctets, 1, kAnswer,
                                                   sizeof(kelvor_common_rsp::payload), 0, 0)};
constexpr PayloadField kPresent[] = {ANSWER, number<uint32_t>("present", kAnswer)};
constexpr PayloadField kCardType[] = {ANSWER, number<uint32_t>("card_type", kAnswer)};
constexpr PayloadField kHotSwapState[] = {ANSWER, number<uint32_t>("running", kAnswer),
                                          number<uint32_t>("done", kAnswer + 4)};
constexpr PayloadField kLogs[] = {ANSWER, number<uint16_t>("count", kAnswer),
                                  counted("logs", FieldShape::kNumbers, 2, kAnswer + 2,
                                          sizeof(kelvor_common_rsp::payload) - 2, kAnswer, 2)};

#undef NUMBER
#undef OCTETS
#undef TEXT
#undef ITEM
#undef ANSWER

constexpr int64_t kAny = PayloadRow::kAny;
constexpr uint32_t kEfs = REQUEST_ID_EFS, kCommon = REQUEST_ID_COMMON;
constexpr PayloadRow kRows[] = {
    {kEfs, KELVOR_NVEFS_NV_READ, kAny, kNv, kNvefsReply},
    {kEfs, KELVOR_NVEFS_NV_WRITE, kAny, kNvWrite, kNvefsReply},
    {kEfs, KELVOR_NVEFS_NV_DELETE, kAny, kNv, kNvefsReply},
    {kEfs, KELVOR_NVEFS_EFS_READ, kAny, kEfsRead, kNvefsReply},
    {kEfs, KELVOR_NVEFS_EFS_WRITE, kAny, kEfsWrite, kNvefsReply},
    {kEfs, KELVOR_NVEFS_EFS_DELETE, kAny, kEfsDelete, kNvefsReply},
    {kCommon, KELVOR_COMMON_ITEM, KELVOR_COMMON_ITEM_CARD_QUERY, kItem, kPresent},
    {kCommon, KELVOR_COMMON_ITEM, KELVOR_COMMON_ITEM_CARD_GET, kItemSub, kPresent},
    {kCommon, KELVOR_COMMON_ITEM, KELVOR_COMMON_ITEM_CARD_TYPE, kItem, kCardType},
    {kCommon, KELVOR_COMMON_ITEM, KELVOR_COMMON_ITEM_CARD_SET, kCardSet, kPresent},
    {kCommon, KELVOR_COMMON_ITEM, KELVOR_COMMON_ITEM_HOT_SWAP, kHotSwap, kHotSwapState},
    {kCommon, KELVOR_COMMON_ITEM, kAny, kItem, kReply},
    {kCommon, KELVOR_COMMON_GPIO_SET, kAny, kGpio, kReply},
    {kCommon, KELVOR_COMMON_RF_TX_SET, kAny, kRfTx, kReply},
    {kCommon, KELVOR_COMMON_STATS_LOG_LIST, kAny, kRaw, kLogs},
    {kCommon, kAny, kAny, kRaw, kReply},
};

}  // namespace

uint64_t number_at(std::span<const uint8_t> octets, size_t at, size_t width) {
  uint64_t number = 0;
  if (at <= octets.size() && width <= octets.size() - at) {
    std::memcpy(&number, octets.data() + at, width);
  }
  return number;
}

uint8_t selector_width(uint32_t family) { return family == kEfs ? 1 : 4; }

std::span<const PayloadRow> payload_rows() { return kRows; }

const PayloadRow* payload_row(uint32_t family, std::span<const uint8_t> request) {
  const auto selector =
      static_cast<int64_t>(number_at(request, kSelectorAt, selector_width(family)));
  const auto item = static_cast<int64_t>(number_at(request, kItemAt, 4));
  for (const PayloadRow& row : kRows) {
    if (row.family == family && (row.selector == kAny || row.selector == selector) &&
        (row.item == kAny || row.item == item)) {
      return &row;
    }
  }
  return nullptr;
}

size_t items_in(const PayloadField& field, std::span<const uint8_t> payload) {
  if (field.offset >= payload.size()) return 0;
  const size_t left = payload.size() - field.offset;
  if (field.shape == FieldShape::kNumber) return left >= field.width ? 1 : 0;
  size_t items = std::min<size_t>(field.room, left) / field.width;
  if (field.count_width != 0) {
    items = std::min<size_t>(items, number_at(payload, field.count_at, field.count_width));
  }
  if (field.shape != FieldShape::kText) return items;
  const void* const zero = std::memchr(payload.data() + field.offset, 0, items);
  return zero == nullptr ? items
                         : static_cast<size_t>(static_cast<const uint8_t*>(zero) - payload.data() -
                                               field.offset);
}

}  // namespace traffic
