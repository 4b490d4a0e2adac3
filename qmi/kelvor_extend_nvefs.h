// NV items and EFS files of the modem.
//
// sub: the subscription, 0 or 1. Lengths are octets. Every function may be called from any thread;
// they run one at a time, and their lock is taken before the vendor client's.
//
// Results: 0, one of the codes below, a mapped error of the sending (kelvor_qmi_result_map), or the
// modem's own result, any other number.
#pragma once

#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/nodiscard.h"

__BEGIN_DECLS

enum {
  KELVOR_NVEFS_OK = 0,
  KELVOR_NVEFS_INTERNAL = -101,   // mapped from -1
  KELVOR_NVEFS_SERVICE = -102,    // mapped from -2
  KELVOR_NVEFS_TRANSPORT = -103,  // mapped from -3
  KELVOR_NVEFS_BAD_SUB = -104,
  KELVOR_NVEFS_NULL = -107,
  KELVOR_NVEFS_BAD_LENGTH = -108,
  KELVOR_NVEFS_BAD_NV_ID = -109,
};

// Reads an item; *p_buf_len is the room on entry and the octets read on return. An item that is
// longer than the room is cut. Subscription 2 is accepted for item 550 alone.
PLATFORM_NODISCARD int32_t kelvor_nv_read(uint32_t sub, uint32_t nv_id, uint8_t* buf,
                                          uint32_t* p_buf_len);
// Writes 1 to 424 octets.
PLATFORM_NODISCARD int32_t kelvor_nv_write_ex(uint32_t sub, uint32_t nv_id, const uint8_t* buf,
                                              uint32_t buf_len);
PLATFORM_NODISCARD int32_t kelvor_nv_delete(uint32_t sub, uint32_t nv_id);

// Files are transferred in exchanges of at most 424 octets, 299 of them at most. efs_path has
// path_len octets, or less when a zero octet ends it: at most 71 for reads and writes, beside whose
// counters and data there is no room for more, and 255 for deletes.

// Reads a whole file; *p_buf_len as for an item. A file that does not fit the room fails with
// KELVOR_NVEFS_BAD_LENGTH, and so does one that is longer than 299 exchanges or of which the modem
// stops sending before its end; *p_buf_len is then what was read of it.
PLATFORM_NODISCARD int32_t kelvor_efs_read(uint32_t sub, const char* efs_path, uint32_t path_len,
                                           uint8_t* buf, uint32_t* p_buf_len);
// Writes a whole file. One longer than 299 exchanges fails with KELVOR_NVEFS_BAD_LENGTH after them,
// incomplete. Without octets there is nothing to send, and nothing is written.
PLATFORM_NODISCARD int32_t kelvor_efs_write(uint32_t sub, const char* efs_path, uint32_t path_len,
                                            const uint8_t* buf, uint32_t buf_len);
PLATFORM_NODISCARD int32_t kelvor_efs_delete(uint32_t sub, const char* efs_path, uint32_t path_len);

// Makes the modem write NV and EFS to its storage. 0 only when the request and the modem's answer
// are both 0: the two are combined bit by bit, so any other value means that it failed, not how.
PLATFORM_NODISCARD int32_t kelvor_nvefs_sync(void);

// The client library's -1, -2 and -3 become -101, -102 and -103; every other value stays.
PLATFORM_NODISCARD int32_t kelvor_qmi_result_map(int32_t result);

__END_DECLS
