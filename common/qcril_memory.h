// Memory for QMI requests and responses, whose blocks are counted. Any thread may allocate and
// free.
#ifndef COMMON_QCRIL_MEMORY_H_
#define COMMON_QCRIL_MEMORY_H_

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Zeroed memory, or null. function, line: where it is allocated, told when it cannot be.
void* qcril_malloc_adv(size_t size, const char* function, int line);
// Null is ignored.
void qcril_free_adv(void* pointer, const char* function, int line);

// Blocks that are allocated and not freed.
uint32_t qcril_blocks(void);

#ifdef __cplusplus
}
#endif

#endif  // COMMON_QCRIL_MEMORY_H_
