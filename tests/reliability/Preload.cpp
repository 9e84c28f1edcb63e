// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

// A library that is loaded before the C library and does to the program, at a call that can be
// chosen, what the system may do to it at any. The environment tells what:
//
//   TRIAL_KILL=N               kill the process in the place of its file call N, counted from 1
//   TRIAL_FAIL=N,M,ERROR       let file calls N up to but not M fail, with that number
//   TRIAL_NO_MEMORY=N,M        let allocations N up to but not M fail
//   TRIAL_LIMIT=RESOURCE,VALUE set that limit; one of memory counts from what there is now
//   TRIAL_COUNT=PATH           tell the file how many file calls and allocations there were
//   TRIAL_SLOW=MICROSECONDS    hold up each thread that long after a signal to another one, and the
//                              process twice as long at its end, and fail if the server is then
//                              still at work
//   TRIAL_OUTFILE=PATH         end the process when it writes to another file
//   TRIAL_NO_LINKS=1           let no file have a second name, and each renaming replace what has
//                              the new name, as on some file systems
//   TRIAL_NO_SPACE=1           tell whoever asks that there is no space
//   TRIAL_MOVE=N,FROM,TO       rename a file before file call N; remove it if TO is empty
//   TRIAL_MOVE_BACK=N          rename it back before file call N
//   TRIAL_NO_PROC=1            do not tell the program where it is
//   TRIAL_ACT=N,COMMAND        have the shell run a command before file call N
//   TRIAL_CLOSED=SET           close each standard descriptor whose bit is set in the number
//   TRIAL_NO_DEVICES=1         let no file below /dev exist
//   TRIAL_PROGRAM=NAME         let that program alone have all this, and none that it starts
//
// It begins with main(), so that the start of the program itself, where nothing can be told yet,
// goes as ever. Nothing is flushed to the device: that takes long, and to processes a file is the
// same either way.

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

/// Numbers of calls, the second one not included.
struct Calls {
  unsigned long from = ULONG_MAX;
  unsigned long to = ULONG_MAX;
  std::atomic<unsigned long> made{0};

  /// Counts a call, and tells whether it is one of them.
  bool include() {
    const unsigned long number = ++made;
    return number >= from && number < to;
  }
};

Calls killed;
Calls failed;
Calls withoutMemory;
int error = 0;
const char* outfile = nullptr;
useconds_t slowness = 0;
std::atomic<bool> hasEnded{false};
bool isWithoutLinks = false;
bool isWithoutSpace = false;
bool isWithoutProc = false;
Calls acted;
const char* command = nullptr;
bool isWithoutDevices = false;
const char* countFile = nullptr;
unsigned long callBeforeMove = 0;
unsigned long callBeforeMoveBack = 0;
const char* movedFrom = nullptr;
const char* movedTo = nullptr;

/// Bytes of memory that the process has a place for now.
rlim_t takenMemory() {
  unsigned long pages = 0;
  std::FILE* file = std::fopen("/proc/self/statm", "r");
  if (file == nullptr || std::fscanf(file, "%lu", &pages) != 1) {
    std::abort();
  }
  std::fclose(file);
  return pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
}

void limit(int resource, rlim_t value) {
  if (resource == RLIMIT_AS) {
    value += takenMemory();
  }
  const rlimit both = {value, value};
  if (::setrlimit(static_cast<__rlimit_resource>(resource), &both) != 0) {
    std::abort();
  }
}

void closeStandardDescriptors(unsigned long set) {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if ((set >> descriptor & 1U) != 0) {
      ::close(descriptor);
    }
  }
}

[[gnu::constructor]] void begin() {
  const char* program = std::getenv("TRIAL_PROGRAM");
  if (program != nullptr && std::strcmp(program, program_invocation_short_name) != 0) {
    return;
  }
  isWithoutLinks = std::getenv("TRIAL_NO_LINKS") != nullptr;
  isWithoutSpace = std::getenv("TRIAL_NO_SPACE") != nullptr;
  isWithoutProc = std::getenv("TRIAL_NO_PROC") != nullptr;
  if (const char* text = std::getenv("TRIAL_ACT")) {
    char* end = nullptr;
    acted.from = std::strtoul(text, &end, 10);
    acted.to = acted.from + 1;
    command = end + 1;
  }
  isWithoutDevices = std::getenv("TRIAL_NO_DEVICES") != nullptr;
  countFile = std::getenv("TRIAL_COUNT");
  outfile = std::getenv("TRIAL_OUTFILE");
  if (const char* text = std::getenv("TRIAL_SLOW")) {
    slowness = static_cast<useconds_t>(std::strtoul(text, nullptr, 10));
  }
  if (const char* text = std::getenv("TRIAL_LIMIT")) {
    char* end = nullptr;
    const long resource = std::strtol(text, &end, 10);
    limit(static_cast<int>(resource), std::strtoul(end + 1, nullptr, 10));
  }
  if (const char* text = std::getenv("TRIAL_CLOSED")) {
    closeStandardDescriptors(std::strtoul(text, nullptr, 10));
  }
  if (const char* text = std::getenv("TRIAL_MOVE")) {
    char* end = nullptr;
    callBeforeMove = std::strtoul(text, &end, 10);
    movedFrom = end + 1;
    char* const comma = std::strchr(end + 1, ',');
    *comma = '\0';
    movedTo = comma + 1;
  }
  if (const char* text = std::getenv("TRIAL_MOVE_BACK")) {
    callBeforeMoveBack = std::strtoul(text, nullptr, 10);
  }
  if (const char* text = std::getenv("TRIAL_KILL")) {
    killed.from = std::strtoul(text, nullptr, 10);
  }
  if (const char* text = std::getenv("TRIAL_FAIL")) {
    char* end = nullptr;
    failed.from = std::strtoul(text, &end, 10);
    failed.to = std::strtoul(end + 1, &end, 10);
    error = static_cast<int>(std::strtol(end + 1, nullptr, 10));
  }
  if (const char* text = std::getenv("TRIAL_NO_MEMORY")) {
    char* end = nullptr;
    withoutMemory.made = 0;
    withoutMemory.from = std::strtoul(text, &end, 10);
    withoutMemory.to = std::strtoul(end + 1, nullptr, 10);
  }
}

[[gnu::destructor]] void end() {
  if (slowness != 0) {
    // After the destructors of the program, while its other threads continue.
    hasEnded = true;
    ::usleep(2 * slowness);
  }
  if (countFile != nullptr) {
    std::FILE* file = std::fopen(countFile, "w");
    std::fprintf(file, "%lu %lu", killed.made.load(), withoutMemory.made.load());
    std::fclose(file);
  }
}

/// Ends a trial with a status that no run of the program has.
[[noreturn]] void failTrial(const char* text) {
  std::fprintf(stderr, "%s\n", text);
  ::_exit(99);
}

bool isServerThread() {
  char name[16] = {};
  ::prctl(PR_GET_NAME, name);
  return std::strcmp(name, "databaseServer") == 0;
}

/// By system calls, which do not count.
void move(const char* from, const char* to) {
  const long result = *to == '\0' ? ::syscall(SYS_unlinkat, AT_FDCWD, from, 0)
                                  : ::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0);
  if (result != 0) {
    failTrial("cannot move the file");
  }
}

/// At the head of each file call: whether it has to fail, with errno set.
bool fails() {
  if (killed.include()) {
    ::kill(::getpid(), SIGKILL);
  }
  if (killed.made == callBeforeMove && callBeforeMove != 0) {
    move(movedFrom, movedTo);
  }
  if (killed.made == callBeforeMoveBack && callBeforeMoveBack != 0) {
    move(movedTo, movedFrom);
  }
  if (acted.include() && std::system(command) != 0) {
    std::abort();
  }
  if (failed.include()) {
    errno = error;
    return true;
  }
  return false;
}

#ifdef FAILING_ALLOCATIONS
/// At the head of each allocation: the same.
bool hasNoMemory() {
  if (withoutMemory.include()) {
    errno = ENOMEM;
    return true;
  }
  return false;
}
#endif

void checkTarget(int file) {
  if (outfile == nullptr) {
    return;
  }
  char link[32];
  char path[PATH_MAX] = {};
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
  if (::readlink(link, path, sizeof path - 1) < 0 || std::strcmp(path, outfile) != 0) {
    std::fprintf(stderr, "writes to \"%s\"\n", path);
    ::_exit(99);
  }
}

/// What the function of that name would be without this library.
template <class Function>
Function* original(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

// Files are used by the names of the C library for those of any size.
static_assert(sizeof(off_t) == 8);

extern "C" {

int open(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  if (isWithoutDevices && std::strncmp(path, "/dev/", 5) == 0) {
    errno = ENOENT;
    return -1;
  }
  return fails() ? -1 : original<decltype(open)>("open64")(path, flags, mode);
}

int memfd_create(const char* name, unsigned int flags) noexcept {
  return fails() ? -1 : original<decltype(memfd_create)>("memfd_create")(name, flags);
}

int openat(int folder, const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  return fails() ? -1 : original<decltype(openat)>("openat64")(folder, path, flags, mode);
}

int mkdirat(int folder, const char* path, mode_t mode) noexcept {
  return fails() ? -1 : original<decltype(mkdirat)>("mkdirat")(folder, path, mode);
}

int fcntl(int file, int what, ...) {
  va_list rest;
  va_start(rest, what);
  void* argument = va_arg(rest, void*);
  va_end(rest);
  // Whether a descriptor is open can always be told.
  const bool isFailing = what != F_GETFD && fails();
  return isFailing ? -1 : original<decltype(fcntl)>("fcntl64")(file, what, argument);
}

pid_t fork() noexcept {
  return fails() ? -1 : original<decltype(fork)>("fork")();
}

ssize_t readlink(const char* path, char* target, std::size_t size) noexcept {
  if (isWithoutProc) {
    errno = ENOENT;
    return -1;
  }
  return original<decltype(readlink)>("readlink")(path, target, size);
}

int stat(const char* path, struct stat* status) noexcept {
  using Stat = int(const char*, struct stat*);
  return fails() ? -1 : original<Stat>("stat64")(path, status);
}

int lstat(const char* path, struct stat* status) noexcept {
  using Stat = int(const char*, struct stat*);
  return fails() ? -1 : original<Stat>("lstat64")(path, status);
}

int fstat(int file, struct stat* status) noexcept {
  return fails() ? -1 : original<decltype(fstat)>("fstat64")(file, status);
}

int fstatat(int folder, const char* path, struct stat* status, int flags) noexcept {
  return fails() ? -1 : original<decltype(fstatat)>("fstatat64")(folder, path, status, flags);
}

void* mmap(void* address, std::size_t size, int protection, int flags, int file,
           off_t offset) noexcept {
  return fails()
             ? MAP_FAILED
             : original<decltype(mmap)>("mmap64")(address, size, protection, flags, file, offset);
}

int unlink(const char* path) noexcept {
  return fails() ? -1 : original<decltype(unlink)>("unlink")(path);
}

int unlinkat(int folder, const char* path, int flags) noexcept {
  return fails() ? -1 : original<decltype(unlinkat)>("unlinkat")(folder, path, flags);
}

int linkat(int folder, const char* path, int otherFolder, const char* other, int flags) noexcept {
  if (isWithoutLinks) {
    errno = EPERM;
    return -1;
  }
  return fails() ? -1
                 : original<decltype(linkat)>("linkat")(folder, path, otherFolder, other, flags);
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
  return fails() ? -1 : original<decltype(renameat)>("renameat")(fromFolder, from, toFolder, to);
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
              unsigned int flags) noexcept {
  if (isWithoutLinks) {
    errno = EINVAL;
    return -1;
  }
  return fails()
             ? -1
             : original<decltype(renameat2)>("renameat2")(fromFolder, from, toFolder, to, flags);
}

int fchmod(int file, mode_t mode) noexcept {
  return fails() ? -1 : original<decltype(fchmod)>("fchmod")(file, mode);
}

int fchown(int file, uid_t owner, gid_t group) noexcept {
  return fails() ? -1 : original<decltype(fchown)>("fchown")(file, owner, group);
}

ssize_t flistxattr(int file, char* list, std::size_t size) noexcept {
  return fails() ? -1 : original<decltype(flistxattr)>("flistxattr")(file, list, size);
}

ssize_t fgetxattr(int file, const char* name, void* value, std::size_t size) noexcept {
  return fails() ? -1 : original<decltype(fgetxattr)>("fgetxattr")(file, name, value, size);
}

int fsetxattr(int file, const char* name, const void* value, std::size_t size, int flags) noexcept {
  return fails() ? -1 : original<decltype(fsetxattr)>("fsetxattr")(file, name, value, size, flags);
}

int fremovexattr(int file, const char* name) noexcept {
  return fails() ? -1 : original<decltype(fremovexattr)>("fremovexattr")(file, name);
}

int fstatvfs(int file, struct statvfs* status) noexcept {
  const int result = fails() ? -1 : original<decltype(fstatvfs)>("fstatvfs64")(file, status);
  if (result == 0 && isWithoutSpace) {
    status->f_bavail = 0;
  }
  return result;
}

ssize_t write(int file, const void* bytes, std::size_t size) {
  return fails() ? -1 : original<decltype(write)>("write")(file, bytes, size);
}

ssize_t pwrite(int file, const void* bytes, std::size_t size, off_t offset) {
  checkTarget(file);
  return fails() ? -1 : original<decltype(pwrite)>("pwrite64")(file, bytes, size, offset);
}

int ftruncate(int file, off_t size) noexcept {
  checkTarget(file);
  return fails() ? -1 : original<decltype(ftruncate)>("ftruncate64")(file, size);
}

int fsync(int /*file*/) {
  return fails() ? -1 : 0;
}

int fdatasync(int /*file*/) {
  return fails() ? -1 : 0;
}

void sync() noexcept {
  fails();
}

int sem_post(sem_t* semaphore) noexcept {
  const int result = original<decltype(sem_post)>("sem_post")(semaphore);
  ::usleep(slowness);
  return result;
}

int sem_wait(sem_t* semaphore) {
  if (hasEnded && isServerThread()) {
    failTrial("the server works after its end");
  }
  return original<decltype(sem_wait)>("sem_wait")(semaphore);
}

int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                           const timespec* limit) {
  if (isServerThread()) {
    failTrial("the server waits for itself");
  }
  using Wait = int(pthread_cond_t*, pthread_mutex_t*, const timespec*);
  return original<Wait>("pthread_cond_timedwait")(condition, mutex, limit);
}

#ifdef FAILING_ALLOCATIONS
// NOLINTBEGIN(clang-diagnostic-reserved-identifier)
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
// NOLINTEND(clang-diagnostic-reserved-identifier)

void* malloc(std::size_t size) noexcept {
  return hasNoMemory() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
  return hasNoMemory() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) noexcept {
  return hasNoMemory() ? nullptr : __libc_realloc(memory, size);
}
#endif
}
