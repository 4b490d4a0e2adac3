#include "crash/calls.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

#include "crash/disk.h"
#include "support/test_clock.h"

namespace crash {
namespace {

namespace fs = std::filesystem;

std::atomic<bool> g_on = false;
Plan g_plan;
Counts* g_counts;
std::string g_folder;
std::recursive_mutex g_mutex;
std::optional<Disk> g_disk;
uint32_t g_versions = 0;

// A thread that runs when this begins keeps what it has.
thread_local bool t_meant = g_on;
// Within this library nothing is counted.
thread_local bool t_inside = false;

struct Inside {
  Inside() : was(std::exchange(t_inside, true)) {}
  ~Inside() { t_inside = was; }
  bool was;
};

// The test clock's own calls are not the product's. It makes them with its mutex held, which is
// taken with this library's held too.
bool meant() { return t_meant && g_on && !t_inside && !desk::TestClock::inside(); }

std::string path_of(int folder, const char* name) {
  char path[PATH_MAX] = "";
  if (name == nullptr || *name != '/') {
    const std::string link =
        folder == AT_FDCWD ? "/proc/self/cwd" : "/proc/self/fd/" + std::to_string(folder);
    const ssize_t n = ::readlink(link.c_str(), path, sizeof path - 1);
    path[n < 0 ? 0 : n] = '\0';
  }
  return name == nullptr ? path : *name == '/' ? name : std::string(path) + "/" + name;
}

// Of the phone's state, which neither its logs nor its lock are part of.
bool is_state(const std::string& path) {
  const std::string phone = g_folder + "/phone";
  return path.starts_with(phone) && !path.starts_with(phone + "/log") &&
         !path.starts_with(phone + "/.lock");
}

[[noreturn]] void die() {
  if (g_plan.then == Then::kLosePower || g_plan.then == Then::kLoseOctets) {
    g_disk->leave(g_folder + "/lost", g_plan.then == Then::kLoseOctets);
  }
  ::kill(::getpid(), SIGKILL);
  std::abort();
}

// One call: `real` makes it, unless it is the one that is to fail.
template <class Real>
auto call(Call kind, const std::string& path, bool changes, Real real) -> decltype(real(false)) {
  const Inside inside;
  const std::lock_guard lock(g_mutex);
  const uint32_t number = ++g_counts->calls[kind];
  if (g_plan.then == Then::kFail && g_plan.call == kind && g_plan.nth == number) {
    errno = kind == kOpen ? EMFILE : kind == kSync ? EIO : ENOSPC;
    return -1;
  }
  changes = changes && is_state(path);
  const bool last = changes && ++g_counts->changes == g_plan.nth && g_plan.then != Then::kFail;
  const auto result = real(last && g_plan.then == Then::kTear);
  const int error = errno;
  if (last) die();
  errno = error;
  return result;
}

void note_made(int fd) {
  if (g_disk && fd >= 0) g_disk->made(fd);
}

}  // namespace

void begin(const Plan& plan, const std::string& folder, Counts* counts) {
  g_plan = plan;
  g_counts = counts;
  g_folder = folder;
  fs::create_directory(folder + "/versions");
  if (plan.then == Then::kLosePower || plan.then == Then::kLoseOctets) g_disk.emplace(folder);
  t_meant = true;
  g_on = true;
}

void end() { g_on = false; }

}  // namespace crash

using crash::call;
using crash::meant;
using crash::path_of;

extern "C" {

int __real_open(const char* path, int flags, ...);
int __real_openat(int folder, const char* path, int flags, ...);
long __real_syscall(long number, ...);
int __real_mkdir(const char* path, mode_t mode);
int __real_mkdirat(int folder, const char* path, mode_t mode);
ssize_t __real_write(int fd, const void* octets, size_t size);
int __real_fsync(int fd);
int __real_renameat(int from, const char* old_name, int to, const char* name);
int __real_unlinkat(int folder, const char* name, int flags);

int __wrap_openat(int folder, const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  if (!meant()) return __real_openat(folder, path, flags, mode);
  struct stat status {};
  const bool makes =
      (flags & O_CREAT) != 0 && ::fstatat(folder, path, &status, AT_SYMLINK_NOFOLLOW) != 0;
  return call(crash::kOpen, path_of(folder, path), makes, [&](bool) {
    const int fd = __real_openat(folder, path, flags, mode);
    if (makes) crash::note_made(fd);
    return fd;
  });
}

int __wrap_open(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  return __wrap_openat(AT_FDCWD, path, flags, mode);
}

// openat2, which the C library has no function for.
long __wrap_syscall(long number, long a, const char* path, const uint64_t* how, long d, long e,
                    long f) {
  const auto real = [&](bool) { return __real_syscall(number, a, path, how, d, e, f); };
  if (number != SYS_openat2 || !meant()) return real(false);
  const int folder = static_cast<int>(a);
  struct stat status {};
  const bool makes =
      (*how & O_CREAT) != 0 && ::fstatat(folder, path, &status, AT_SYMLINK_NOFOLLOW) != 0;
  return call(crash::kOpen, path_of(folder, path), makes, [&](bool) {
    const long fd = real(false);
    if (makes) crash::note_made(static_cast<int>(fd));
    return fd;
  });
}

int __wrap_mkdirat(int folder, const char* path, mode_t mode) {
  if (!meant()) return __real_mkdirat(folder, path, mode);
  return call(crash::kMakeFolder, path_of(folder, path), true, [&](bool) {
    const int result = __real_mkdirat(folder, path, mode);
    if (result == 0) {
      const int fd = __real_openat(folder, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
      crash::note_made(fd);
      ::close(fd);
    }
    return result;
  });
}

int __wrap_mkdir(const char* path, mode_t mode) { return __wrap_mkdirat(AT_FDCWD, path, mode); }

ssize_t __wrap_write(int fd, const void* octets, size_t size) {
  if (!meant()) return __real_write(fd, octets, size);
  return call(crash::kWrite, path_of(fd, nullptr), true,
              [&](bool torn) { return __real_write(fd, octets, torn ? size / 2 : size); });
}

int __wrap_fsync(int fd) {
  if (!meant()) return __real_fsync(fd);
  return call(crash::kSync, path_of(fd, nullptr), true, [&](bool) {
    if (crash::g_disk) crash::g_disk->synced(fd);
    return __real_fsync(fd);
  });
}

int __wrap_renameat(int from, const char* old_name, int to, const char* name) {
  if (!meant()) return __real_renameat(from, old_name, to, name);
  return call(crash::kRename, path_of(to, name), true, [&](bool) {
    if (crash::g_plan.then == crash::Then::kCount) {
      std::error_code ignored;
      std::filesystem::copy_file(
          path_of(from, old_name),
          crash::g_folder + "/versions/" + std::to_string(crash::g_versions++), ignored);
    }
    return __real_renameat(from, old_name, to, name);
  });
}

int __wrap_unlinkat(int folder, const char* name, int flags) {
  if (!meant()) return __real_unlinkat(folder, name, flags);
  return call(crash::kRemove, path_of(folder, name), true,
              [&](bool) { return __real_unlinkat(folder, name, flags); });
}

// std::thread::_M_start_thread(std::unique_ptr<_State>, void (*)())
#define START_THREAD(prefix) \
  prefix##_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE
void START_THREAD(__real_)(void* self, void* state, void (*depend)());
void START_THREAD(__wrap_)(void* self, void* state, void (*depend)()) {
  if (meant() && call(crash::kThread, "", false, [](bool) { return 0; }) < 0) {
    throw std::system_error(EAGAIN, std::generic_category());
  }
  START_THREAD(__real_)(self, state, depend);
}

}  // extern "C"

namespace {

void* allocate(size_t size, size_t alignment) {
  if (meant() && call(crash::kMemory, "", false, [](bool) { return 0; }) < 0) {
    if (const std::new_handler handler = std::get_new_handler(); handler != nullptr) handler();
    throw std::bad_alloc();
  }
  size = (std::max<size_t>(size, 1) + alignment - 1) / alignment * alignment;
  return std::aligned_alloc(alignment, size);
}

constexpr size_t kUsual = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

}  // namespace

// All forms that are used: a sanitizer has its own of those that are left out, and another's memory
// is not for these to free.
void* operator new(size_t size) { return allocate(size, kUsual); }
void* operator new[](size_t size) { return allocate(size, kUsual); }
void* operator new(size_t size, const std::nothrow_t&) noexcept try {
  return allocate(size, kUsual);
} catch (const std::bad_alloc&) {
  return nullptr;
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return operator new(size, std::nothrow);
}
void* operator new(size_t size, std::align_val_t alignment) {
  return allocate(size, static_cast<size_t>(alignment));
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, size_t, std::align_val_t) noexcept { std::free(memory); }
