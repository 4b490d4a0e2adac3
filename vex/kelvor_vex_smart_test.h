// What command 11 shares with other processes of the phone.
#ifndef VEX_KELVOR_VEX_SMART_TEST_H_
#define VEX_KELVOR_VEX_SMART_TEST_H_

// The file that the shared-memory test maps, made if it is not there. Read by the command's thread;
// a program that changes it does so before.
extern "C" const char* g_share_memory_file_path;

#endif  // VEX_KELVOR_VEX_SMART_TEST_H_
