// What command 11 shares with other processes of the phone.
#pragma once

// The file that the shared-memory test maps, made if it is not there. Read by the command's thread;
// a program that changes it does so before.
extern "C" const char* g_share_memory_file_path;
