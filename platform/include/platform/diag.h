// The maker's diag library: raw diag commands to the modem.
//
// A command is a diag packet: its first octet is the command code, and what follows is the
// command's own. So is an answer; one that begins with 0x13 says that the modem does not know the
// command, and repeats it. Packets are given and got without framing or check sum.
//
// Two ways to the modem. Callback mode takes the answer to the command that is under way; DCI (the
// diag consumer interface) also tags each command, and takes the answer that bears its tag.
//
// Threads. Every function may be called from any thread, and blocks: for at most 2000 ms while
// there is no modem to talk to, and then for as long as told.
//
// Ownership. Buffers belong to the caller and are not kept beyond the call.
#ifndef PLATFORM_DIAG_H_
#define PLATFORM_DIAG_H_

#include <stdint.h>

#include "platform/nodiscard.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  KELVOR_DIAG_CMD_MAX = 4096,   // octets of the longest command
  KELVOR_DIAG_RSP_MAX = 10240,  // octets of the longest answer
};

// Results of every function below.
enum {
  KELVOR_DIAG_OK = 0,
  KELVOR_DIAG_BAD_ARGUMENT = -1,  // null, empty or too long, or a time-out that is none
  KELVOR_DIAG_NO_MODEM = -2,      // no modem to talk to, or it went away meanwhile
  KELVOR_DIAG_TIMED_OUT = -3,     // no answer in time
  KELVOR_DIAG_BAD_ANSWER = -4,    // refused, another command's, too long for rsp, or no memory
};

// Sends a command and waits for its answer, for time_out ms, which is at least 1. *rsp_len is the
// room in rsp on entry and the octets of the answer on success; on failure neither is written.
PLATFORM_NODISCARD int32_t kelvor_diag_cmd_send_with_result_by_callback_mode(
    const uint8_t* cmd, uint32_t len, int32_t time_out, uint8_t* rsp, uint32_t* rsp_len);
PLATFORM_NODISCARD int32_t kelvor_diag_cmd_send_with_result_by_dci_mode(
    const uint8_t* cmd, uint32_t len, int32_t time_out, uint8_t* rsp, uint32_t* rsp_len);

// Sends a command. 0: the modem has taken it (waited for 1000 ms at most); what it answers is not
// heard.
PLATFORM_NODISCARD int32_t kelvor_diag_cmd_send_without_result_by_callback_mode(const uint8_t* cmd,
                                                                                uint32_t len);
PLATFORM_NODISCARD int32_t kelvor_diag_cmd_send_without_result_by_dci_mode(const uint8_t* cmd,
                                                                           uint32_t len);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_DIAG_H_
