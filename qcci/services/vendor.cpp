// Vendor service rows.

#include "platform/idl/vendor.h"

#include "qcci/services/rows.h"

namespace qcci::idl {
namespace {

using assumed::kVendorBlock;
using assumed::kVendorData;
using assumed::kVendorFirst;
using assumed::kVendorSecond;

MESSAGE(kGeneric, kelvor_vendor_msg, mandatory(kVendorFirst, value(M(id))),
        mandatory(kVendorSecond, value(M(data_len))),
        optional(kVendorData, M(data_valid), value(M(data))));

// Two words and a fixed block.
template <class S>
constexpr auto block_table() {
  return message<S>(mandatory(kVendorFirst, value(M(a))), mandatory(kVendorSecond, value(M(b))),
                    mandatory(kVendorBlock, value(M(data))));
}
constexpr auto kBlockReq = block_table<kelvor_vendor_block_req>();
constexpr auto kInd5 = block_table<kelvor_vendor_ind_5>();
constexpr auto kInd9 = block_table<kelvor_vendor_ind_9>();
constexpr auto kLargeBlockReq = block_table<kelvor_vendor_large_block_req>();

MESSAGE(kPair, kelvor_vendor_pair, mandatory(kVendorFirst, value(M(a))),
        mandatory(kVendorSecond, value(M(b))));

RECORD(kRecord, kelvor_vendor_record, value(M(words)), value(M(half)));

MESSAGE(kInd6, kelvor_vendor_ind_6, mandatory(kVendorFirst, value(M(a))),
        mandatory(kVendorSecond, counted(M(records_len), M(records), kRecord)));

MESSAGE(kInd8, kelvor_vendor_ind_8, mandatory(kVendorFirst, value(M(a))),
        mandatory(kVendorSecond, value(M(b))),
        optional(kVendorData, M(data_valid), counted(M(data_len), M(data))));

constexpr MessageRow kRows[] = {
    {.id = KELVOR_VENDOR_GENERIC, .name = "generic", .request = kGeneric, .response = kGeneric},
    {.id = KELVOR_VENDOR_SUB_ID,
     .name = "sub-id",
     .request = kGeneric,
     .response = kGeneric,
     .indication = kGeneric},
    {.id = KELVOR_VENDOR_BLOCK, .name = "block", .request = kBlockReq, .response = kPair},
    {.id = KELVOR_VENDOR_IND_5, .name = "indication 5", .indication = kInd5},
    {.id = KELVOR_VENDOR_IND_6, .name = "indication 6", .indication = kInd6},
    {.id = KELVOR_VENDOR_IND_7, .name = "indication 7", .indication = kPair},
    {.id = KELVOR_VENDOR_IND_8, .name = "indication 8", .indication = kInd8},
    {.id = KELVOR_VENDOR_IND_9, .name = "indication 9", .indication = kInd9},
    {.id = KELVOR_VENDOR_LARGE_BLOCK,
     .name = "large block",
     .request = kLargeBlockReq,
     .response = kPair},
};

// The longest encoded form of each, as the modem side gives them.
static_assert(kGeneric.max_encoded == 529);
static_assert(kBlockReq.max_encoded == 533);
static_assert(kPair.max_encoded == 14);
static_assert(kInd5.max_encoded == 1137);
static_assert(kInd6.max_encoded == 1227);
static_assert(kInd8.max_encoded == 34);
static_assert(kInd9.max_encoded == 417);
static_assert(kLargeBlockReq.max_encoded == 1553);

}  // namespace
}  // namespace qcci::idl

SERVICE(kVendorService, "vendor", KELVOR_VENDOR_SERVICE_ID, KELVOR_VENDOR_IDL,
        kelvor_extend_get_service_object_internal_v01)
