// Every result code that a run can end with: a row each, with its name, what it means and what to
// do. The numbers come from the headers that define them.
//
// RESULT_CODES is for what explains codes; who needs their names alone has find().
#pragma once

#include <cerrno>
#include <cstdint>
#include <iterator>

#include "common/result.h"
#include "mbn/pdc_utils.h"
#include "platform/diag.h"
#include "platform/qmi_client.h"
#include "platform/qmi_idl.h"
#include "qmi/kelvor_extend_api.h"
#include "qmi/kelvor_extend_api_uim.h"
#include "qmi/kelvor_extend_cmn.h"
#include "qmi/kelvor_extend_nvefs.h"
#include "vireo/modem_api/modem_api.h"

namespace vex {

// Layer kTool.
enum ToolCode : int32_t {
  TOOL_EID_INVALID = 1,
  TOOL_RESET_NOT_CONFIRMED = 2,
  TOOL_NO_MEASUREMENT = 3,
  TOOL_PROPERTY_NOT_SET = 4,
  TOOL_DUMP_STOPPED = 5,
  TOOL_SHARE_MEMORY = 6,
  TOOL_TIMER = 7,
  TOOL_NO_THREAD = 8,
  TOOL_NO_REPLY = 9,
  TOOL_RECORD_UNKNOWN = 10,
  TOOL_SCAN_ENDED = 11,
};

// A layer's name in a record, and where its codes come from.
#define RESULT_LAYERS(X)                                                                          \
  X(kTool, "tool", "the verdict of the command itself")                                           \
  X(kNvefs, "nvefs", "the operations on NV items and EFS files")                                  \
  X(kVendor, "vendor", "the client of the maker's vendor service")                                \
  X(kModem, "modem", "a function of the modem behind the vendor service: a negated errno number") \
  X(kUim, "uim", "the card operations")                                                           \
  X(kNas, "nas", "the network requests")                                                          \
  X(kSar, "sar", "the SAR state")                                                                 \
  X(kPdc, "pdc", "the carrier configurations")                                                    \
  X(kVireo, "vireo", "the statistics framework")                                                  \
  X(kDiag, "diag", "the diag library")                                                            \
  X(kClient, "client", "the QMI client library")                                                  \
  X(kQmi, "qmi", "the standard result of a QMI service's response")                               \
  X(kShell, "shell", "the wait status of a program that the phone's shell ran")

// Whether a code may mean that there is no modem: who gets it looks for one.
constexpr bool kReached = false;
constexpr bool kMaybeNoModem = true;

// What several rows advise.
#define ADVICE_MODEM \
  "Look whether the modem runs (VEX_MODEM, 'vex-phone show'; on a phone as root)."
#define ADVICE_WORDS "Correct the words; 'vex' without any lists them."
#define ADVICE_RETRY "Try again; a capture (VEX_CAPTURE) shows what was answered."
#define ADVICE_CAPTURE "A capture (VEX_CAPTURE) shows the exchange."
#define ADVICE_UNKNOWN "The modem cannot do this; another modem software may."

// layer, code, whether it may mean no modem, meaning, advice
#define RESULT_CODES_OF_THE_TOOL(X)                                                               \
  X(kTool, TOOL_EID_INVALID, kReached, "The EID's check digits are wrong.",                       \
    "Try again; if it stays, the eUICC's EID was not made by the rules.")                         \
  X(kTool, TOOL_RESET_NOT_CONFIRMED, kReached, "The eUICC did not confirm that it was reset.",    \
    ADVICE_CAPTURE)                                                                               \
  X(kTool, TOOL_NO_MEASUREMENT, kMaybeNoModem,                                                    \
    "There is no measurement: the modem gave none, or "                                           \
    "not the one that was asked for.",                                                            \
    "Another technology may be in use; " ADVICE_CAPTURE)                                          \
  X(kTool, TOOL_PROPERTY_NOT_SET, kReached, "A system property could not be set.",                \
    "Run as root, and look whether the phone's storage is full.")                                 \
  X(kTool, TOOL_DUMP_STOPPED, kReached, "The full dump was not triggered.",                       \
    "Look at the property persist.radio.ssr_wait_s, which is negative.")                          \
  X(kTool, TOOL_SHARE_MEMORY, kReached, "The shared-memory file cannot be opened or mapped.",     \
    "Look whether /data/vendor/modem is there, and run as root.")                                 \
  X(kTool, TOOL_TIMER, kReached, "No timer could be started.", "Try again: memory may be short.") \
  X(kTool, TOOL_NO_THREAD, kReached, "No thread could be started.",                               \
    "Try again: memory may be short.")                                                            \
  X(kTool, TOOL_NO_REPLY, kReached, "The AT channel gave no reply.",                              \
    "Look who else reads /dev/smd8.")                                                             \
  X(kTool, TOOL_RECORD_UNKNOWN, kReached, "A statistics record has a form that is not known.",    \
    ADVICE_CAPTURE)                                                                               \
  X(kTool, TOOL_SCAN_ENDED, kReached, "The network scan was aborted, or the radio link failed.",  \
    ADVICE_RETRY)

#define RESULT_CODES_OF_OPERATIONS(X)                                                             \
  X(kNvefs, KELVOR_NVEFS_INTERNAL, kMaybeNoModem, "The request was not sent: it is malformed.",   \
    ADVICE_CAPTURE)                                                                               \
  X(kNvefs, KELVOR_NVEFS_SERVICE, kMaybeNoModem, "The vendor service is not on the bus.",         \
    ADVICE_MODEM)                                                                                 \
  X(kNvefs, KELVOR_NVEFS_TRANSPORT, kMaybeNoModem,                                                \
    "The vendor service did not answer in 3 seconds, or with an error of its framework.",         \
    ADVICE_RETRY)                                                                                 \
  X(kNvefs, KELVOR_NVEFS_BAD_SUB, kReached, "The subscription is neither 0 nor 1.", ADVICE_WORDS) \
  X(kNvefs, KELVOR_NVEFS_NULL, kReached, "The caller gave no room for the data.", ADVICE_CAPTURE) \
  X(kNvefs, KELVOR_NVEFS_BAD_LENGTH, kReached,                                                    \
    "A length is wrong: that of a path or of the data, or the one that the modem states.",        \
    "Check path and data (at most 365 octets); " ADVICE_CAPTURE)                                  \
  X(kNvefs, KELVOR_NVEFS_BAD_NV_ID, kReached, "The NV item's number is above 7232.",              \
    "Use an item from 0 to 7232.")                                                                \
  X(kVendor, KELVOR_EXTEND_BAD_ARGUMENT, kReached, "The request is too long or has no data.",     \
    ADVICE_WORDS)                                                                                 \
  X(kVendor, KELVOR_EXTEND_NOT_OPENED, kMaybeNoModem, "The vendor service is not on the bus.",    \
    ADVICE_MODEM)                                                                                 \
  X(kVendor, KELVOR_EXTEND_FAILED, kMaybeNoModem,                                                 \
    "The vendor service did not answer in 3 seconds, or with an error of its framework.",         \
    ADVICE_RETRY)                                                                                 \
  X(kUim, KELVOR_UIM_FAILED, kMaybeNoModem,                                                       \
    "A card operation failed: no UIM service, a file that was not written, or a card that "       \
    "refused.",                                                                                   \
    "The record's cause says more; look whether there is a card in the slot.")                    \
  X(kNas, NAS_NOT_SENT, kMaybeNoModem, "The NAS service is not on the bus.", ADVICE_MODEM)        \
  X(kSar, SAR_NO_STATE, kMaybeNoModem, "The SAR service is not there or did not answer.",         \
    ADVICE_MODEM)                                                                                 \
  X(kPdc, PDC_FAILED, kMaybeNoModem,                                                              \
    "Not sent, refused by the modem, or without an outcome for 5 seconds.",                       \
    "The record's cause says more; a subscription without a configuration has nothing to do.")    \
  X(kPdc, PDC_BUSY, kReached, "A request of this kind is under way already.", "Try again.")       \
  X(kPdc, PDC_ID_TOO_LONG, kReached, "The configuration's id has more octets than fit.",          \
    ADVICE_CAPTURE)                                                                               \
  X(kDiag, KELVOR_DIAG_BAD_ARGUMENT, kReached,                                                    \
    "The command is empty or too long, or the time-out is below 1 ms.", ADVICE_WORDS)             \
  X(kDiag, KELVOR_DIAG_NO_MODEM, kMaybeNoModem, "There is no modem, or no way to its diag.",      \
    ADVICE_MODEM)                                                                                 \
  X(kDiag, KELVOR_DIAG_TIMED_OUT, kReached, "No response in time.", "Give a longer time-out.")    \
  X(kDiag, KELVOR_DIAG_BAD_ANSWER, kReached, "The answer is refused, or another command's.",      \
    ADVICE_CAPTURE)

#define RESULT_CODES_OF_VIREO(X)                                                                   \
  X(kVireo, MODEM_API_FAILURE, kMaybeNoModem, "The request failed.", ADVICE_CAPTURE)               \
  X(kVireo, MODEM_API_RESPONSE_DONE, kReached, "The last of a response has been handed over.",     \
    ADVICE_CAPTURE)                                                                                \
  X(kVireo, MODEM_API_NO_MEMORY, kReached, "No memory, or a response without data.", ADVICE_RETRY) \
  X(kVireo, MODEM_API_NOT_SUPPORTED, kReached, "The modem does not support it.", ADVICE_UNKNOWN)   \
  X(kVireo, MODEM_API_INVALID_ARG, kReached, "An argument is wrong.", ADVICE_WORDS)                \
  X(kVireo, MODEM_API_NOT_PERMITTED, kReached,                                                     \
    "This process is not on the framework's white list.", "Run the program under the name vex.")   \
  X(kVireo, MODEM_API_INVALID_CLIENT, kMaybeNoModem,                                               \
    "There is no client, or it is not connected.", ADVICE_MODEM)                                   \
  X(kVireo, MODEM_API_INFO_UNAVAILABLE, kReached, "The modem has no such information now.",        \
    ADVICE_RETRY)                                                                                  \
  X(kVireo, MODEM_API_CLIENT_EXISTS, kMaybeNoModem, "A client of this type is there already.",     \
    ADVICE_RETRY)                                                                                  \
  X(kVireo, MODEM_API_ABORTED, kReached, "The modem aborted the request.", ADVICE_RETRY)           \
  X(kVireo, MODEM_API_TIMEOUT, kMaybeNoModem, "No response in time.", ADVICE_RETRY)                \
  X(kVireo, MODEM_API_TRANSPORT_ERROR, kMaybeNoModem, "The request was not carried.",              \
    ADVICE_MODEM)                                                                                  \
  X(kVireo, MODEM_API_NO_FREE_SLOT, kReached, "There are ten clients already.", ADVICE_RETRY)      \
  X(kVireo, MODEM_API_CLIENT_CONNECTED, kReached, "A client of this type is connected already.",   \
    ADVICE_RETRY)

#define RESULT_CODES_OF_THE_BUS(X)                                                              \
  X(kClient, QMI_CLIENT_INTERNAL, kMaybeNoModem,                                                \
    "The message does not encode or decode, or there is no memory or no link.", ADVICE_CAPTURE) \
  X(kClient, QMI_CLIENT_SERVICE_GONE, kMaybeNoModem,                                            \
    "The service is not on the bus, or has left it.", ADVICE_MODEM)                             \
  X(kClient, QMI_CLIENT_TIMED_OUT, kMaybeNoModem, "No response in time.", ADVICE_RETRY)         \
  X(kClient, QMI_CLIENT_BAD_ARGUMENT, kReached, "Arguments contradict each other.",             \
    ADVICE_CAPTURE)                                                                             \
  X(kClient, QMI_CLIENT_PORT_NOT_OPEN, kMaybeNoModem, "The client has been released.", ADVICE_RETRY)

#define RESULT_CODES_OF_THE_MODEM(X)                                                          \
  X(kModem, -EPERM, kReached, "The modem does not permit it.", "The item may be locked.")     \
  X(kModem, -ENOENT, kReached, "There is no such item or file.", "Check its number or path.") \
  X(kModem, -EIO, kReached, "The modem's storage failed.", ADVICE_RETRY)                      \
  X(kModem, -ENOMEM, kReached, "The modem has no memory for it.", ADVICE_RETRY)               \
  X(kModem, -EACCES, kReached, "The item or file may not be accessed.", "It may be locked.")  \
  X(kModem, -EEXIST, kReached, "It is there already.", "Delete it first.")                    \
  X(kModem, -ENODEV, kReached, "There is no such device.", ADVICE_UNKNOWN)                    \
  X(kModem, -ENOTDIR, kReached, "A part of the path is not a directory.", "Check the path.")  \
  X(kModem, -EISDIR, kReached, "The path is that of a directory.", "Name a file in it.")      \
  X(kModem, -EINVAL, kReached, "The modem does not take these values.", ADVICE_WORDS)         \
  X(kModem, -EFBIG, kReached, "The file is too long.", "Write less.")                         \
  X(kModem, -ENOSPC, kReached, "The modem's storage is full.", "Delete something.")           \
  X(kModem, -EROFS, kReached, "The storage is read-only.", ADVICE_UNKNOWN)                    \
  X(kModem, -ENAMETOOLONG, kReached, "The path or a part of it is too long.",                 \
    "Use a shorter one.")                                                                     \
  X(kModem, -ENOSYS, kReached, "The modem does not know this request.", ADVICE_UNKNOWN)       \
  X(kModem, -ENOTEMPTY, kReached, "The directory is not empty.", "Delete what is in it.")     \
  X(kModem, -ELOOP, kReached, "The path leads through a symbolic link.", "Name the file itself.")

#define RESULT_CODES_OF_QMI(X)                                                                     \
  X(kQmi, QMI_RESPONSE_INCOMPLETE, kReached,                                                       \
    "The response says success, but lacks what was asked for.", ADVICE_CAPTURE)                    \
  X(kQmi, QMI_ERROR_MALFORMED_MESSAGE, kReached, "The service cannot read the message.",           \
    ADVICE_CAPTURE)                                                                                \
  X(kQmi, QMI_ERROR_INTERNAL, kReached, "The service failed by itself.", ADVICE_RETRY)             \
  X(kQmi, QMI_ERROR_ABORTED, kReached, "The request was aborted.", ADVICE_RETRY)                   \
  X(kQmi, QMI_ERROR_NOT_PROVISIONED, kReached,                                                     \
    "Nothing is provisioned: no configuration is selected.", "Select one on the modem first.")     \
  X(kQmi, QMI_ERROR_MISSING_ARGUMENT, kReached, "An element is missing.", ADVICE_CAPTURE)          \
  X(kQmi, QMI_ERROR_ARGUMENT_TOO_LONG, kReached, "An element is too long.", ADVICE_CAPTURE)        \
  X(kQmi, QMI_ERROR_NETWORK_UNSUPPORTED, kReached, "The network is not supported.",                \
    ADVICE_UNKNOWN)                                                                                \
  X(kQmi, QMI_ERROR_NO_EFFECT, kReached, "What was asked for is so already.", "Nothing.")          \
  X(kQmi, QMI_ERROR_REQUESTED_NUMBER_UNSUPPORTED, kReached, "The number is not supported.",        \
    ADVICE_UNKNOWN)                                                                                \
  X(kQmi, QMI_ERROR_INVALID_ARGUMENT, kReached, "An element's value is not valid.",                \
    ADVICE_CAPTURE)                                                                                \
  X(kQmi, QMI_ERROR_INVALID_INDEX, kReached, "There is no such index.", ADVICE_CAPTURE)            \
  X(kQmi, QMI_ERROR_NO_ENTRY, kReached, "There is no such entry.", ADVICE_CAPTURE)                 \
  X(kQmi, QMI_ERROR_DEVICE_NOT_READY, kReached, "The device is not ready.", "Wait and try again.") \
  X(kQmi, QMI_ERROR_INSUFFICIENT_RESOURCES, kReached, "The modem lacks resources.", ADVICE_RETRY)  \
  X(kQmi, QMI_ERROR_INVALID_COMMAND, kReached, "The service has no such message.", ADVICE_UNKNOWN) \
  X(kQmi, QMI_ERROR_BUNDLING_NOT_SUPPORTED, kReached, "Bundling is not supported.",                \
    ADVICE_UNKNOWN)                                                                                \
  X(kQmi, QMI_ERROR_SIM_FILE_NOT_FOUND, kReached, "The card has no such file.",                    \
    "Another card may have it.")                                                                   \
  X(kQmi, QMI_ERROR_INCOMPATIBLE_STATE, kReached,                                                  \
    "The modem's or card's state does not allow it.",                                              \
    "Look at the card's state (5 10 4), and try again.")                                           \
  X(kQmi, QMI_ERROR_NOT_SUPPORTED, kReached, "The modem does not support it.", ADVICE_UNKNOWN)     \
  X(kQmi, QMI_ERROR_NO_SIM, kReached, "There is no card.", "Put a card into the slot.")

#define RESULT_CODES(X)         \
  RESULT_CODES_OF_THE_TOOL(X)   \
  RESULT_CODES_OF_OPERATIONS(X) \
  RESULT_CODES_OF_VIREO(X)      \
  RESULT_CODES_OF_THE_BUS(X)    \
  RESULT_CODES_OF_THE_MODEM(X)  \
  RESULT_CODES_OF_QMI(X)

// Codes that have no name where they come from.
inline constexpr int32_t NAS_NOT_SENT = -1;
inline constexpr int32_t SAR_NO_STATE = -1;
inline constexpr int32_t QMI_RESPONSE_INCOMPLETE = result::kIncomplete;

struct CodeRow {
  result::Layer layer;
  int32_t code;
  const char* name;
  bool maybe_no_modem;
};
inline constexpr CodeRow kResultCodes[] = {
#define ROW(layer, code, reached, meaning, advice) \
  {result::Layer::layer, static_cast<int32_t>(code), #code, reached},
    RESULT_CODES(ROW)
#undef ROW
};

// Null for a code without a row.
constexpr const CodeRow* find_code(result::Code code) {
  for (const CodeRow& row : kResultCodes) {
    if (row.layer == code.layer && row.code == code.code) return &row;
  }
  return nullptr;
}

inline constexpr const char* kLayerNames[] = {
#define LAYER(layer, name, source) name,
    RESULT_LAYERS(LAYER)
#undef LAYER
};
// Of errno numbers without the sign.
constexpr const char* name_of(const CodeRow& row) { return row.name + (row.name[0] == '-'); }
constexpr const char* name_of(result::Layer layer) {
  return kLayerNames[static_cast<size_t>(layer)];
}

}  // namespace vex
