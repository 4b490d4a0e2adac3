// Command 4: NV items and EFS files.

#include <cstdlib>
#include <cstring>

#include "common/trace.h"
#include "platform/idl/vendor_payload.h"
#include "qmi/kelvor_extend_nvefs.h"
#include "vex/commands.h"
#include "vex/sub_commands.h"

namespace {

using vex::kCommandNvEfs;

// Words of the argument vector.
constexpr int kWordSub = 3;
constexpr int kWordTarget = 4;  // NV id or EFS path
constexpr int kWordData = 5;
constexpr int kTargetWords = 5;  // of a read or a delete

constexpr uint32_t kDataMax = 365;  // octets that one command reads or writes

uint32_t number(const char* word) { return static_cast<uint32_t>(std::atoi(word)); }

// An argument error: its note is followed by the section. The words are told wrong, not the modem.
int refuse() {
  kelvor_test_nvefs_show_help(kCommandNvEfs);
  return 0;
}

// Whether there are exactly the words of a read or a delete.
bool exactly_the_target(int argc, TraceSite site) {
  if (argc == kTargetWords) return true;
  TRACE_FROM(site, kTraceError,
             "note: need %d inputs, Pls refer to the following cmd:", kTargetWords);
  return false;
}

int report(int result, TraceSite site) {
  if (result != 0) {
    TRACE_FROM(site, kTraceError, "kelvor_extend_qmi_send_sync fail, REQUEST_ID_EFS");
  }
  return result;
}

template <class Read>
int read_and_dump(int argc, TraceSite site, Read read) {
  if (!exactly_the_target(argc, site)) return refuse();
  uint8_t data[kDataMax] = {};
  uint32_t length = sizeof data;
  const int result = read(data, &length);
  if (result != 0) return report(result, site);
  TRACE_FROM(site, kTraceInfo, "data len(%d)\ndata: \n", static_cast<int>(length));
  for (uint32_t i = 0; i < length; ++i) TRACE_FROM(site, kTraceInfo, " %02X", data[i]);
  TRACE_FROM(site, kTraceInfo, "%s", "");
  return 0;
}

template <class Write>
int write_words(int argc, char** argv, TraceSite site, Write write) {
  if (argc <= kWordData) {
    TRACE_FROM(site, kTraceError, "note: Too few inputs, Pls refer to the following cmd:");
    return refuse();
  }
  // Cut data would be written as if it were whole.
  const auto count = static_cast<uint32_t>(argc - kWordData);
  if (count > kDataMax) {
    TRACE_FROM(site, kTraceError,
               "note: Too many inputs, at most %d data, Pls refer to the following cmd:",
               static_cast<int>(kDataMax));
    return refuse();
  }
  uint8_t data[kDataMax] = {};
  for (uint32_t i = 0; i < count; ++i) data[i] = static_cast<uint8_t>(number(argv[kWordData + i]));
  return report(write(data, count), site);
}

template <class Delete>
int delete_target(int argc, TraceSite site, Delete remove) {
  if (!exactly_the_target(argc, site)) return refuse();
  return report(remove(), site);
}

uint32_t path_length(const char* path) { return static_cast<uint32_t>(std::strlen(path)); }

int kelvor_nvefs_test_nv_read(int argc, char** argv) {
  return read_and_dump(argc, TRACE_SITE(), [argv](uint8_t* data, uint32_t* length) {
    return kelvor_nv_read(number(argv[kWordSub]), number(argv[kWordTarget]), data, length);
  });
}

int kelvor_nvefs_test_nv_write(int argc, char** argv) {
  return write_words(argc, argv, TRACE_SITE(), [argv](const uint8_t* data, uint32_t length) {
    return kelvor_nv_write_ex(number(argv[kWordSub]), number(argv[kWordTarget]), data, length);
  });
}

int kelvor_nvefs_test_nv_delete(int argc, char** argv) {
  return delete_target(argc, TRACE_SITE(), [argv] {
    return kelvor_nv_delete(number(argv[kWordSub]), number(argv[kWordTarget]));
  });
}

int kelvor_nvefs_test_efs_read(int argc, char** argv) {
  return read_and_dump(argc, TRACE_SITE(), [argv](uint8_t* data, uint32_t* length) {
    const char* path = argv[kWordTarget];
    return kelvor_efs_read(number(argv[kWordSub]), path, path_length(path), data, length);
  });
}

int kelvor_nvefs_test_efs_write(int argc, char** argv) {
  return write_words(argc, argv, TRACE_SITE(), [argv](const uint8_t* data, uint32_t length) {
    const char* path = argv[kWordTarget];
    return kelvor_efs_write(number(argv[kWordSub]), path, path_length(path), data, length);
  });
}

int kelvor_nvefs_test_efs_delete(int argc, char** argv) {
  return delete_target(argc, TRACE_SITE(), [argv] {
    const char* path = argv[kWordTarget];
    return kelvor_efs_delete(number(argv[kWordSub]), path, path_length(path));
  });
}

// In the order of their numbers, which are also the modem's.
constexpr vex::SubCommand kOperations[] = {
    {{"   vex %d %d sub nv_id             /* nv read */\n", KELVOR_NVEFS_NV_READ},
     kelvor_nvefs_test_nv_read},
    {{"   vex %d %d sub nv_id nv_data     /* nv write */\n", KELVOR_NVEFS_NV_WRITE},
     kelvor_nvefs_test_nv_write},
    {{"   vex %d %d sub nv_id             /* nv delete */\n", KELVOR_NVEFS_NV_DELETE},
     kelvor_nvefs_test_nv_delete},
    {{"   vex %d %d sub efs_path          /* efs read */\n", KELVOR_NVEFS_EFS_READ},
     kelvor_nvefs_test_efs_read},
    {{"   vex %d %d sub efs_path efs_data /* efs write */\n", KELVOR_NVEFS_EFS_WRITE},
     kelvor_nvefs_test_efs_write},
    {{"   vex %d %d sub efs_path          /* efs delete */\n", KELVOR_NVEFS_EFS_DELETE},
     kelvor_nvefs_test_efs_delete},
};
constexpr vex::Family kNvEfs{kCommandNvEfs, "%d: nvefs option cmd: \n", kOperations, true};

}  // namespace

extern "C" int kelvor_test_nvefs_do(int argc, char** argv) {
  return kNvEfs.run(argc, argv, TRACE_SITE());
}

extern "C" int kelvor_test_nvefs_show_help(int selector) {
  return kNvEfs.show_help(selector, TRACE_SITE());
}
