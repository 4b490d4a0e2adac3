// Vendor service rows.

#include "platform/idl/vendor.h"

#include "qcci/idl/service.h"
#include "qcci/services/assumed.h"
#include "qcci/services/services.h"

namespace qcci::idl {
namespace {

#define M(member) QCCI_MEMBER(S, member)

using assumed::kVendorBlock;
using assumed::kVendorData;
using assumed::kVendorFirst;
using assumed::kVendorSecond;

constexpr auto kGeneric = [] {
  using S = kelvor_vendor_msg;
  return message<S>(mandatory(kVendorFirst, value(M(id))),
                    mandatory(kVendorSecond, value(M(data_len))),
                    optional(kVendorData, M(data_valid), value(M(data))));
}();

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

constexpr auto kPair = [] {
  using S = kelvor_vendor_pair;
  return message<S>(mandatory(kVendorFirst, value(M(a))), mandatory(kVendorSecond, value(M(b))));
}();

constexpr auto kRecord = [] {
  using S = kelvor_vendor_record;
  return record(value(M(words)), value(M(half)));
}();

constexpr auto kInd6 = [] {
  using S = kelvor_vendor_ind_6;
  return message<S>(mandatory(kVendorFirst, value(M(a))),
                    mandatory(kVendorSecond, counted(M(records_len), M(records), kRecord)));
}();

constexpr auto kInd8 = [] {
  using S = kelvor_vendor_ind_8;
  return message<S>(mandatory(kVendorFirst, value(M(a))), mandatory(kVendorSecond, value(M(b))),
                    optional(kVendorData, M(data_valid), counted(M(data_len), M(data))));
}();

#undef M

constexpr MessageRow kRows[] = {
    {KELVOR_VENDOR_GENERIC, "generic", kGeneric, kGeneric},
    {KELVOR_VENDOR_SUB_ID, "sub-id", kGeneric, kGeneric, kGeneric},
    {KELVOR_VENDOR_BLOCK, "block", kBlockReq, kPair},
    {KELVOR_VENDOR_IND_5, "indication 5", {}, {}, kInd5},
    {KELVOR_VENDOR_IND_6, "indication 6", {}, {}, kInd6},
    {KELVOR_VENDOR_IND_7, "indication 7", {}, {}, kPair},
    {KELVOR_VENDOR_IND_8, "indication 8", {}, {}, kInd8},
    {KELVOR_VENDOR_IND_9, "indication 9", {}, {}, kInd9},
    {KELVOR_VENDOR_LARGE_BLOCK, "large block", kLargeBlockReq, kPair},
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

constinit const qmi_idl_service_object kVendorService{.name = "vendor",
                                                      .id = KELVOR_VENDOR_SERVICE_ID,
                                                      .major = KELVOR_VENDOR_IDL_MAJOR,
                                                      .minor = KELVOR_VENDOR_IDL_MINOR,
                                                      .tool = KELVOR_VENDOR_IDL_TOOL,
                                                      .rows = kRows};

}  // namespace qcci::idl

QCCI_SERVICE_GETTER(kelvor_extend_get_service_object_internal_v01, kVendorService)
