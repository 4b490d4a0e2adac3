// The calls of the product that can fail or that change its files, counted, so that a run can be
// ended or be made to fail at each of them in turn. They are replaced when the test is linked
// (--wrap), in the product's own objects only.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace crash {

enum Call { kMemory, kThread, kOpen, kMakeFolder, kWrite, kSync, kRename, kRemove, kCalls };
inline constexpr const char* kNames[kCalls] = {"allocation", "thread", "open",   "mkdir",
                                               "write",      "fsync",  "rename", "unlink"};

enum class Then {
  kCount,       // nothing
  kFail,        // the call fails, as on a full disk or with too many open files
  kKill,        // the process is killed after it
  kTear,        // the process is killed in the middle of it, if it is a write
  kLosePower,   // as kKill, and what was not synced is lost
  kLoseOctets,  // as kLosePower, but the names of files and folders were all kept
};

struct Plan {
  Then then = Then::kCount;
  Call call = kCalls;  // which calls are meant; kCalls: all that change the phone's state
  uint32_t nth = 0;    // of these, from 1
};

// Of the calls that were made, in memory that the parent process shares.
struct Counts {
  std::array<uint32_t, kCalls> calls;
  uint32_t changes;  // of the phone's state
};

// Begins. `phone` is the phone's directory, which is or will be made below `folder`; `folder` also
// gets "lost", the phone after a loss of power, and "versions", what each file was replaced with.
// Threads that run already are left alone, the caller's apart.
void begin(const Plan& plan, const std::string& folder, Counts* counts);
void end();

}  // namespace crash
