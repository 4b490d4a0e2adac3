#include "traffic/view/names.h"

#include <cstring>
#include <string>
#include <vector>

#include "platform/idl/nas.h"
#include "platform/idl/pdc.h"
#include "platform/idl/uim.h"
#include "platform/idl/vendor.h"
#include "platform/idl/vendor_payload.h"
#include "platform/idl/vs.h"
#include "qcci/services/assumed.h"

namespace traffic {
namespace {

constexpr Name kResults[] = {{0, "success"}, {1, "failure"}};
constexpr Name kErrors[] = {
    {QMI_ERROR_NONE, "none"},
    {QMI_ERROR_MALFORMED_MESSAGE, "malformed message"},
    {QMI_ERROR_INTERNAL, "internal"},
    {QMI_ERROR_ABORTED, "aborted"},
    {QMI_ERROR_NOT_PROVISIONED, "not provisioned"},
    {QMI_ERROR_MISSING_ARGUMENT, "missing argument"},
    {QMI_ERROR_ARGUMENT_TOO_LONG, "argument too long"},
    {QMI_ERROR_NETWORK_UNSUPPORTED, "network unsupported"},
    {QMI_ERROR_NO_EFFECT, "no effect"},
    {QMI_ERROR_REQUESTED_NUMBER_UNSUPPORTED, "requested number unsupported"},
    {QMI_ERROR_INVALID_ARGUMENT, "invalid argument"},
    {QMI_ERROR_INVALID_INDEX, "invalid index"},
    {QMI_ERROR_NO_ENTRY, "no entry"},
    {QMI_ERROR_DEVICE_NOT_READY, "device not ready"},
    {QMI_ERROR_INSUFFICIENT_RESOURCES, "insufficient resources"},
    {QMI_ERROR_INVALID_COMMAND, "invalid command"},
    {QMI_ERROR_BUNDLING_NOT_SUPPORTED, "bundling not supported"},
    {QMI_ERROR_SIM_FILE_NOT_FOUND, "SIM file not found"},
    {QMI_ERROR_INCOMPATIBLE_STATE, "incompatible state"},
    {QMI_ERROR_NOT_SUPPORTED, "not supported"},
    {QMI_ERROR_NO_SIM, "no SIM"},
};

constexpr Name kNasRats[] = {{NAS_RAT_GSM, "GSM"},
                             {NAS_RAT_UMTS, "UMTS"},
                             {NAS_RAT_LTE, "LTE"},
                             {NAS_RAT_TDSCDMA, "TD-SCDMA"},
                             {NAS_RAT_NR, "NR"}};
constexpr Name kScanResults[] = {{0, "ok"}, {1, "aborted"}, {2, "radio link failure"}};
constexpr Name kScanStatus[] = {{0, "complete"}, {1, "partial"}, {2, "aborted"}};
constexpr Name kSubscriptions[] = {{0, "primary"}, {1, "secondary"}, {2, "tertiary"}};

constexpr Name kCardStates[] = {
    {UIM_CARD_ABSENT, "absent"}, {UIM_CARD_PRESENT, "present"}, {UIM_CARD_ERROR, "error"}};
constexpr Name kCardErrors[] = {{UIM_ERROR_UNKNOWN, "unknown"},
                                {UIM_ERROR_POWER_DOWN, "power down"},
                                {UIM_ERROR_POLL, "poll"},
                                {UIM_ERROR_NO_ATR, "no ATR"},
                                {UIM_ERROR_VOLTAGE_MISMATCH, "voltage mismatch"},
                                {UIM_ERROR_PARITY, "parity"},
                                {UIM_ERROR_POSSIBLY_REMOVED, "possibly removed"},
                                {UIM_ERROR_TECHNICAL, "technical"}};
constexpr Name kAppTypes[] = {{UIM_APP_USIM, "USIM"}};
constexpr Name kAppStates[] = {{UIM_APP_READY, "ready"}};
constexpr Name kPinStates[] = {{UIM_PIN_NOT_INITIALIZED, "not initialised"},
                               {UIM_PIN_ENABLED_NOT_VERIFIED, "enabled, not verified"},
                               {UIM_PIN_ENABLED_VERIFIED, "enabled, verified"},
                               {UIM_PIN_DISABLED, "disabled"},
                               {UIM_PIN_BLOCKED, "blocked"},
                               {UIM_PIN_PERMANENTLY_BLOCKED, "permanently blocked"}};
constexpr Name kFileControls[] = {{UIM_FILE_CONTROL_NONE, "none"},
                                  {UIM_FILE_CONTROL_FCP, "FCP"},
                                  {UIM_FILE_CONTROL_FCI, "FCI"},
                                  {UIM_FILE_CONTROL_FCI_WITH_INTERFACES, "FCI with interfaces"},
                                  {UIM_FILE_CONTROL_FMD, "FMD"}};

constexpr Name kConfigTypes[] = {{PDC_CONFIG_TYPE_PLATFORM, "platform"},
                                 {PDC_CONFIG_TYPE_SOFTWARE, "software"}};
constexpr Name kActivations[] = {{PDC_ACTIVATION_REGULAR, "regular"},
                                 {PDC_ACTIVATION_SOFT, "soft"}};

constexpr Name kRecords[] = {
    {0x06, "NR secondary 1"},
    {0x07, "NR secondary 2"},
    {0x2C, "radio technology"},
    {0x52, "LTE primary"},
    {0x5A, "NR power"},
    {0x5E, "NR AGC"},
    {0x62, "LTE power"},
    {0x64, "antenna"},
    {0x67, "LTE secondary 1"},
    {0x68, "LTE secondary 2"},
    {0x69, "LTE secondary 3"},
    {0x6A, "LTE secondary 4"},
    {0x6B, "LTE secondary 5"},
    {0x6C, "LTE secondary 6"},
    {0x6E, "WCDMA"},
    {0x6F, "GSM"},
    {0x70, "NR tracking"},
    {0x71, "NR antenna"},
    {0x87, "NR primary"},
};

constexpr Name kVsRats[] = {
    {VS_RAT_GSM, "GSM"}, {VS_RAT_WCDMA, "WCDMA"}, {VS_RAT_LTE, "LTE"}, {VS_RAT_NR, "NR"}};

constexpr Name kFamilies[] = {{REQUEST_ID_EFS, "NV and EFS"}, {REQUEST_ID_COMMON, "common"}};
constexpr Name kVendorResults[] = {{0, "success"}};
constexpr Name kOperations[] = {
    {KELVOR_NVEFS_NV_READ, "NV read"},     {KELVOR_NVEFS_NV_WRITE, "NV write"},
    {KELVOR_NVEFS_NV_DELETE, "NV delete"}, {KELVOR_NVEFS_EFS_READ, "EFS read"},
    {KELVOR_NVEFS_EFS_WRITE, "EFS write"}, {KELVOR_NVEFS_EFS_DELETE, "EFS delete"}};
constexpr Name kNvItems[] = {{kNvEsn, "ESN"},
                             {kNvMin1, "MIN1"},
                             {kNvMin2, "MIN2"},
                             {kNvImsiMcc, "IMSI MCC"},
                             {kNvImsi1112, "IMSI 11 and 12"},
                             {kNvDirectoryNumber, "directory number"},
                             {kNvImei, "IMEI"},
                             {kNvMeid, "MEID"}};
constexpr Name kCommands[] = {{KELVOR_COMMON_ITEM, "item"},
                              {KELVOR_COMMON_GPIO_SET, "GPIO set"},
                              {KELVOR_COMMON_RF_TX_SET, "RF TX set"},
                              {KELVOR_COMMON_STATS_DEBUG_INFO, "statistics counters"},
                              {KELVOR_COMMON_STATS_LOG_LIST, "outdated logs"}};
constexpr Name kItems[] = {
    {KELVOR_COMMON_ITEM_SSR, "restart"},           {KELVOR_COMMON_ITEM_NV_SYNC, "NV sync"},
    {KELVOR_COMMON_ITEM_CARD_QUERY, "card query"}, {KELVOR_COMMON_ITEM_CARD_GET, "card get"},
    {KELVOR_COMMON_ITEM_CARD_TYPE, "card type"},   {KELVOR_COMMON_ITEM_CARD_SET, "card set"},
    {KELVOR_COMMON_ITEM_HOT_SWAP, "hot swap"},     {KELVOR_COMMON_ITEM_FULL_DUMP, "full dump"}};
constexpr Name kCardTypes[] = {{KELVOR_CARD_TYPE_ERROR, "error"},
                               {KELVOR_CARD_TYPE_SINGLE, "single SIM"},
                               {KELVOR_CARD_TYPE_MULTI, "multi SIM"}};
constexpr Name kCardModes[] = {{0, "general"}, {1, "SIM"}};
constexpr Name kCardLevels[] = {{0, "low"}, {1, "high"}};
constexpr Name kAntennas[] = {{0, "lower"}, {1, "upper"}};
constexpr Name kSystems[] = {{0, "GSM"}, {1, "WCDMA"}, {2, "CDMA"}, {3, "TD-SCDMA"}, {4, "LTE"}};

// The payload's results are negated errno numbers, which the C library names.
Names errno_names() {
  static const std::vector<Name> names = [] {
    std::vector<Name> all = {{0, "success"}};
    constexpr int kMost = 133;
    for (int number = 1; number <= kMost; ++number) {
      const char* const text = ::strerrordesc_np(number);
      if (text != nullptr) all.push_back({-number, text});
    }
    return all;
  }();
  return names;
}

constexpr uint32_t kAnyService = 0;
constexpr uint8_t kAnyType = 0xFF;
constexpr std::string_view kAnywhere = "*", kTop = "", kData = "data";
constexpr uint32_t kNas = NAS_SERVICE_ID, kUim = UIM_SERVICE_ID, kPdc = PDC_SERVICE_ID,
                   kVendor = KELVOR_VENDOR_SERVICE_ID, kVs = qcci::assumed::vs::kServiceId;

struct Row {
  uint32_t service;
  uint8_t type;
  std::string_view around, name;
  Names names;
  bool fails = false;  // a number but 0 says that something failed
};
constexpr Row kRows[] = {
    {kAnyService, QMI_IDL_RESPONSE, "resp", "result", kResults},
    {kAnyService, QMI_IDL_RESPONSE, "resp", "error", kErrors, true},
    {kNas, kAnyType, "networks", "rat", kNasRats},
    {kNas, kAnyType, "rats", "value", kNasRats},
    {kNas, kAnyType, kTop, "scan_result", kScanResults, true},
    {kNas, QMI_IDL_INDICATION, kTop, "status", kScanStatus},
    {kNas, kAnyType, kTop, "subscription", kSubscriptions},
    {kUim, kAnyType, "cards", "state", kCardStates},
    {kUim, kAnyType, "cards", "error", kCardErrors},
    {kUim, kAnyType, "cards", "upin_state", kPinStates},
    {kUim, kAnyType, "apps", "type", kAppTypes},
    {kUim, kAnyType, "apps", "state", kAppStates},
    {kUim, kAnyType, "apps", "pin1_state", kPinStates},
    {kUim, kAnyType, "apps", "pin2_state", kPinStates},
    {kUim, kAnyType, kTop, "file_control", kFileControls},
    {kPdc, QMI_IDL_INDICATION, kTop, "error", kErrors, true},
    {kPdc, kAnyType, kAnywhere, "type", kConfigTypes},
    {kPdc, kAnyType, kTop, "activation", kActivations},
    {kVs, kAnyType, "parameters", "id", kRecords},
    {kVs, kAnyType, kData, "rat", kVsRats},
    {kVendor, QMI_IDL_REQUEST, kTop, "id", kFamilies},
    {kVendor, QMI_IDL_RESPONSE, kTop, "id", kVendorResults, true},
    {kVendor, kAnyType, kData, "operation", kOperations},
    {kVendor, kAnyType, kData, "nv_id", kNvItems},
    {kVendor, kAnyType, kData, "command", kCommands},
    {kVendor, kAnyType, kData, "item", kItems},
    {kVendor, kAnyType, kData, "card_type", kCardTypes},
    {kVendor, kAnyType, kData, "mode", kCardModes},
    {kVendor, kAnyType, kData, "level", kCardLevels},
    {kVendor, kAnyType, kData, "antenna", kAntennas},
    {kVendor, kAnyType, kData, "system", kSystems},
};

// Null when the values there have no names.
const Row* row_at(const Place& place) {
  for (const Row& row : kRows) {
    if ((row.service == kAnyService || row.service == place.service) && row.name == place.name &&
        (row.type == kAnyType || row.type == place.type) &&
        (row.around == kAnywhere || row.around == place.around)) {
      return &row;
    }
  }
  return nullptr;
}

bool is_payload_result(const Place& place) {
  return place.service == kVendor && place.around == kData && place.name == "result";
}

}  // namespace

bool is_record(const Place& place) {
  return place.service == kVs && place.around == "parameters" && place.name == kData;
}

Names names_at(const Place& place) {
  if (is_payload_result(place)) return errno_names();
  const Row* const row = row_at(place);
  return row != nullptr ? row->names : Names();
}

bool is_failure(const Place& place, int64_t number) {
  if (is_payload_result(place)) return number < 0;
  const Row* const row = row_at(place);
  return row != nullptr && row->fails && number != 0;
}

const char* name_of(Names names, int64_t number) {
  for (const Name& name : names) {
    if (name.number == number) return name.text;
  }
  return nullptr;
}

}  // namespace traffic
