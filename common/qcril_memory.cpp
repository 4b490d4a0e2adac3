#include "common/qcril_memory.h"

#include <atomic>
#include <cstdlib>

#include "common/trace.h"

namespace {

std::atomic<uint32_t> g_blocks{0};

}  // namespace

extern "C" {

void* qcril_malloc_adv(size_t size, const char* function, int line) {
  void* pointer = std::calloc(1, size);
  if (pointer == nullptr) {
    TRACE_ERROR("no memory for %zu octets, %s:%d", size, function, line);
    return nullptr;
  }
  ++g_blocks;
  return pointer;
}

void qcril_free_adv(void* pointer, const char* /*function*/, int /*line*/) {
  if (pointer == nullptr) return;
  std::free(pointer);
  --g_blocks;
}

uint32_t qcril_blocks(void) { return g_blocks; }

}  // extern "C"
