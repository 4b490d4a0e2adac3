// The heap of QMI messages. Blocks that are out are counted, so that a leak shows, and a block that
// cannot be had is an error trace with the place that asked for it.
//
// May be called from any thread, and a block may be given back by another thread.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/nodiscard.h"

__BEGIN_DECLS

// `size` zeroed octets, or null. The caller owns the block. function and line: the place that asks,
// for the trace; they are not kept.
PLATFORM_NODISCARD void* qcril_malloc_adv(size_t size, const char* function, int line);
// Gives back a block of qcril_malloc_adv; null is nothing.
void qcril_free_adv(void* block, const char* function, int line);

#define qcril_malloc(size) qcril_malloc_adv((size), __func__, __LINE__)
#define qcril_free(block) qcril_free_adv((block), __func__, __LINE__)

// Blocks that are out now.
uint32_t qcril_mem_blocks(void);

__END_DECLS

#ifdef __cplusplus
#include <memory>

// Owns a message structure of the heap above.
struct QcrilFree {
  void operator()(void* block) const { qcril_free(block); }
};
template <class T>
using QcrilPtr = std::unique_ptr<T, QcrilFree>;
#endif
