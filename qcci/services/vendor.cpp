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

constexpr auto generic_table() {
  using S = kelvor_vendor_msg;
  return message<S>(mandatory(kVendorFirst, value(M(id))),
                    mandatory(kVendorSecond, value(M(data_len))),
                    optional(kVendorData, M(data_valid), value(M(data))));
}
constexpr auto kGeneric = generic_table();

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

constexpr auto pair_table() {
  using S = kelvor_vendor_pair;
  return message<S>(mandatory(kVendorFirst, value(M(a))), mandatory(kVendorSecond, value(M(b))));
}
constexpr auto kPair = pair_table();

constexpr auto record_rows() {
  using S = kelvor_vendor_record;
  return record(value(M(words)), value(M(half)));
}
constexpr auto kRecord = record_rows();

constexpr auto ind_6_table() {
  using S = kelvor_vendor_ind_6;
  return message<S>(mandatory(kVendorFirst, value(M(a))),
                    mandatory(kVendorSecond, counted(M(records_len), M(records), kRecord)));
}
constexpr auto kInd6 = ind_6_table();

constexpr auto ind_8_table() {
  using S = kelvor_vendor_ind_8;
  return message<S>(mandatory(kVendorFirst, value(M(a))), mandatory(kVendorSecond, value(M(b))),
                    optional(kVendorData, M(data_valid), counted(M(data_len), M(data))));
}
constexpr auto kInd8 = ind_8_table();

#undef M

constexpr MessageRow kRows[] = {
    {KELVOR_VENDOR_GENERIC, QMI_IDL_REQUEST, "generic", kGeneric.view()},
    {KELVOR_VENDOR_GENERIC, QMI_IDL_RESPONSE, "generic", kGeneric.view()},
    {KELVOR_VENDOR_SUB_ID, QMI_IDL_REQUEST, "sub-id", kGeneric.view()},
    {KELVOR_VENDOR_SUB_ID, QMI_IDL_RESPONSE, "sub-id", kGeneric.view()},
    {KELVOR_VENDOR_SUB_ID, QMI_IDL_INDICATION, "sub-id", kGeneric.view()},
    {KELVOR_VENDOR_BLOCK, QMI_IDL_REQUEST, "block", kBlockReq.view()},
    {KELVOR_VENDOR_BLOCK, QMI_IDL_RESPONSE, "block", kPair.view()},
    {KELVOR_VENDOR_IND_5, QMI_IDL_INDICATION, "indication 5", kInd5.view()},
    {KELVOR_VENDOR_IND_6, QMI_IDL_INDICATION, "indication 6", kInd6.view()},
    {KELVOR_VENDOR_IND_7, QMI_IDL_INDICATION, "indication 7", kPair.view()},
    {KELVOR_VENDOR_IND_8, QMI_IDL_INDICATION, "indication 8", kInd8.view()},
    {KELVOR_VENDOR_IND_9, QMI_IDL_INDICATION, "indication 9", kInd9.view()},
    {KELVOR_VENDOR_LARGE_BLOCK, QMI_IDL_REQUEST, "large block", kLargeBlockReq.view()},
    {KELVOR_VENDOR_LARGE_BLOCK, QMI_IDL_RESPONSE, "large block", kPair.view()},
};

// The longest encoded form of each, as the modem side gives them.
static_assert(kGeneric.view().max_encoded == 529);
static_assert(kBlockReq.view().max_encoded == 533);
static_assert(kPair.view().max_encoded == 14);
static_assert(kInd5.view().max_encoded == 1137);
static_assert(kInd6.view().max_encoded == 1227);
static_assert(kInd8.view().max_encoded == 34);
static_assert(kInd9.view().max_encoded == 417);
static_assert(kLargeBlockReq.view().max_encoded == 1553);
static_assert(longest(kRows) == 1553);

}  // namespace

constinit const qmi_idl_service_object kVendorService{"vendor",
                                                      KELVOR_VENDOR_SERVICE_ID,
                                                      KELVOR_VENDOR_IDL_MAJOR,
                                                      KELVOR_VENDOR_IDL_MINOR,
                                                      KELVOR_VENDOR_IDL_TOOL,
                                                      kRows,
                                                      longest(kRows)};

}  // namespace qcci::idl

extern "C" qmi_idl_service_object_type kelvor_extend_get_service_object_internal_v01(int32_t major,
                                                                                     int32_t minor,
                                                                                     int32_t tool) {
  return qcci::idl::if_version(qcci::idl::kVendorService, major, minor, tool);
}
