#include "vireo/vireo_common/vireo_mem.h"

#include <sys/types.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>

#include "base/mutex.h"
#include "common/trace.h"
#include "platform/properties.h"

namespace {

// One traced block.
struct TraceRecord {
  TraceRecord* previous;
  TraceRecord* next;
  void* pointer;
  size_t size;
  pid_t pid;
  const char* tag;
  int year, month, day, hour, minute, second;  // local time; months from 1
};

std::once_flag g_decided;
bool g_tracing = false;  // decided once

base::Mutex g_list_mutex;
TraceRecord* g_head GUARDED_BY(g_list_mutex) = nullptr;
TraceRecord* g_tail GUARDED_BY(g_list_mutex) = nullptr;
uint32_t g_count GUARDED_BY(g_list_mutex) = 0;

void vireo_mem_init() {
  const Operation operation(__func__);
  char value[PROPERTY_VALUE_MAX];
  if (__system_property_get("persist.vireo.mem_trace", value) == 0) {
    TRACE_DEBUG("VIREO_MEM_TRACE_PROP not exist");
    return;
  }
  g_tracing = std::strcmp(value, "true") == 0;
}

void append(void* pointer, size_t size, const char* tag) {
  auto* record = static_cast<TraceRecord*>(std::calloc(1, sizeof(TraceRecord)));
  if (record == nullptr) return;
  const time_t now = std::time(nullptr);
  tm local{};
  ::localtime_r(&now, &local);
  const base::Lock lock(g_list_mutex);
  *record = {g_tail,
             nullptr,
             pointer,
             size,
             ::getpid(),
             tag,
             local.tm_year + 1900,
             local.tm_mon + 1,
             local.tm_mday,
             local.tm_hour,
             local.tm_min,
             local.tm_sec};
  (g_tail != nullptr ? g_tail->next : g_head) = record;
  g_tail = record;
  ++g_count;
}

void remove(const void* pointer) {
  const base::Lock lock(g_list_mutex);
  TraceRecord* record = g_head;
  while (record != nullptr && record->pointer != pointer) record = record->next;
  if (record == nullptr) return;
  (record->previous != nullptr ? record->previous->next : g_head) = record->next;
  (record->next != nullptr ? record->next->previous : g_tail) = record->previous;
  --g_count;
  std::free(record);
}

}  // namespace

extern "C" {

void* vireo_malloc_adv(size_t size, const char* tag, int /*line*/) {
  const Operation operation(__func__);
  std::call_once(g_decided, vireo_mem_init);
  void* pointer = std::calloc(1, size);
  if (pointer == nullptr) return TRACED_ERROR(nullptr, "Fail to allocate memory");
  if (g_tracing) append(pointer, size, tag);
  return pointer;
}

void vireo_free_adv(void* pointer, const char* /*tag*/, int /*line*/) {
  if (pointer == nullptr) return;
  // Off the list first: once it is free, another thread may get the same address.
  if (g_tracing) remove(pointer);
  std::free(pointer);
}

uint32_t vireo_mem_traced(void) {
  const base::Lock lock(g_list_mutex);
  return g_count;
}

}  // extern "C"
