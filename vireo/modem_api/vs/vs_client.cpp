#include "vireo/modem_api/vs/vs_client.h"

#include <algorithm>
#include <cstring>

namespace {

// An event in its buffer: the id, then what is handed on.
struct EventBuffer {
  uint32_t event_id;
  union {
    ModemApiVsFlags flags;
    ModemApiVsRecords records;
    ModemApiVsValues values;
    ModemApiVsByte byte;
  };
};
static_assert(sizeof(EventBuffer) == 10700);

void copy_record(const vs_ind_record& from, ModemApiVsRecord* to) {
  to->id = from.id;
  to->data_len = std::min<uint32_t>(from.data_len, sizeof to->data);
  std::memcpy(to->data, from.data, to->data_len);
  to->x = from.x;
  to->y = from.y;
}

// What exceeds an event's room is dropped without a word.
void fill(const vs_flags_ind& ind, EventBuffer* event) {
  event->flags = {ind.word, ind.flag_1 != 0, ind.flag_2 != 0};
}

void fill(const vs_records_ind& ind, EventBuffer* event) {
  ModemApiVsRecords& to = event->records;
  to.word = ind.word;
  to.records_len = std::min<uint32_t>(ind.records_len, kVsEventRecordsMax);
  for (uint32_t i = 0; i < to.records_len; ++i) copy_record(ind.records[i], &to.records[i]);
  to.blobs_len = std::min<uint32_t>(ind.blobs_len, kVsEventBlobsMax);
  for (uint32_t i = 0; i < to.blobs_len; ++i) copy_record(ind.blobs[i], &to.blobs[i]);
  to.last = ind.last_valid != 0 ? ind.last : UINT32_MAX;
}

void fill(const vs_values_ind& ind, EventBuffer* event) {
  ModemApiVsValues& to = event->values;
  to.word = ind.word;
  to.values_len = std::min<uint32_t>(ind.values_len, kVsEventValuesMax);
  std::copy_n(ind.values, to.values_len, to.values);
  to.x = ind.x;
  to.y = ind.y;
}

void fill(const vs_byte_ind& ind, EventBuffer* event) { event->byte = {ind.byte}; }

struct EventRow {
  uint32_t message_id;
  uint32_t event_id;
  uint32_t length;
  void (*fill)(const void* decoded, EventBuffer* event);
};
template <class Indication>
constexpr auto kFill = [](const void* decoded, EventBuffer* event) {
  fill(*static_cast<const Indication*>(decoded), event);
};
constexpr EventRow kEvents[] = {
    {VS_IND_FLAGS, kVsEventFlags, sizeof(ModemApiVsFlags), kFill<vs_flags_ind>},
    {VS_IND_RECORDS, kVsEventRecords, sizeof(ModemApiVsRecords), kFill<vs_records_ind>},
    {VS_IND_VALUES, kVsEventValues, sizeof(ModemApiVsValues), kFill<vs_values_ind>},
    {VS_IND_BYTE, kVsEventByte, sizeof(ModemApiVsByte), kFill<vs_byte_ind>},
};

bool handle(uint32_t message_id, const void* decoded, modem_api_indication_cb callback) {
  for (const EventRow& row : kEvents) {
    if (row.message_id != message_id) continue;
    EventBuffer event;
    std::memset(&event, 0, sizeof event);
    event.event_id = row.event_id;
    row.fill(decoded, &event);
    callback(event.event_id, &event.flags, row.length);
    return true;
  }
  return false;
}

constexpr vireo::Member kVs{.type = kModemApiVs,
                            .get_service = vs_get_service_object_internal_v01,
                            .major = VS_IDL_MAJOR,
                            .minor = VS_IDL_MINOR,
                            .tool = VS_IDL_TOOL,
                            .suspends = false,
                            .no_memory = "decoded_payload is NULL",
                            .handle = handle,
                            .own = VIREO_MEMBER_FUNCTIONS(vs)};

}  // namespace

VIREO_DEFINE_MEMBER(vs, kVs)
