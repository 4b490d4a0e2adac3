// The maker's diag library: raw diag commands to the modem.
//
// Commands and responses are diag packets: a command code in the first octet, then data that
// depends on the code. A response with code 0x13 means that the modem does not know the command;
// the command follows it. Packets carry neither HDLC framing nor check sum.
//
// Modes. Callback mode accepts the response to the command in progress; DCI (the diag consumer
// interface) also gives each command a tag, and accepts only the response with that tag.
//
// Threads. Every function may be called from any thread, and blocks: for at most 2000 ms until
// there is a modem, and then for at most its time-out.
//
// Ownership. Buffers belong to the caller and are not kept beyond the call.
#pragma once

#include <stdint.h>
#include <sys/cdefs.h>

#include "platform/nodiscard.h"

__BEGIN_DECLS

enum {
  KELVOR_DIAG_CMD_MAX = 4096,   // octets of the longest command
  KELVOR_DIAG_RSP_MAX = 10240,  // octets of the longest response
};

// Results of every function below.
enum {
  KELVOR_DIAG_OK = 0,
  KELVOR_DIAG_BAD_ARGUMENT = -1,  // null, empty or too long, or a time-out below 1
  KELVOR_DIAG_NO_MODEM = -2,      // no modem or no way to its diag, or it went away meanwhile
  KELVOR_DIAG_TIMED_OUT = -3,     // no response in time
  KELVOR_DIAG_BAD_ANSWER = -4,    // refused, not this command's, too long for rsp, or no memory
};

// Sends a command of `len` octets and waits at most time_out ms for its response. *rsp_len is the
// size of rsp on entry, and the length of the response on success. On failure rsp and *rsp_len are
// unchanged.
PLATFORM_NODISCARD int32_t kelvor_diag_cmd_send_with_result_by_callback_mode(
    const uint8_t* cmd, uint32_t len, int32_t time_out, uint8_t* rsp, uint32_t* rsp_len);
PLATFORM_NODISCARD int32_t kelvor_diag_cmd_send_with_result_by_dci_mode(
    const uint8_t* cmd, uint32_t len, int32_t time_out, uint8_t* rsp, uint32_t* rsp_len);

// Sends a command and returns once the modem has accepted it, after at most 1000 ms. A response is
// discarded.
PLATFORM_NODISCARD int32_t kelvor_diag_cmd_send_without_result_by_callback_mode(const uint8_t* cmd,
                                                                                uint32_t len);
PLATFORM_NODISCARD int32_t kelvor_diag_cmd_send_without_result_by_dci_mode(const uint8_t* cmd,
                                                                           uint32_t len);

__END_DECLS
