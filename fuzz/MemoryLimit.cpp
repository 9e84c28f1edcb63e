// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "fuzz/MemoryLimit.h"

#include <malloc.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>

#include "fuzz/Check.h"
#include "fuzz/Sanitizer.h"

#ifdef FUZZ_ADDRESS_SANITIZER
// As sanitizer/allocator_interface.h has them, which does not come with every compiler.
extern "C" {
std::size_t __sanitizer_get_allocated_size(const volatile void* memory);
int __sanitizer_install_malloc_and_free_hooks(void (*taken)(const volatile void*, std::size_t),
                                              void (*given)(const volatile void*));
}
#endif

namespace Fuzz {

namespace {

constexpr std::int64_t noLimit = std::numeric_limits<std::int64_t>::max();

/// Bytes that are out; below 0 when what was taken before the limit came back.
std::atomic<std::int64_t> taken{0};
std::atomic<std::int64_t> most{0};
std::atomic<std::int64_t> limit{noLimit};
thread_local bool isPaused = false;

void count(std::size_t size) {
  if (isPaused) {
    return;
  }
  const std::int64_t now = taken += static_cast<std::int64_t>(size);
  if (now > most) {
    most = now;
    // A message may take memory itself.
    const std::int64_t bound = limit.exchange(noLimit);
    check(now <= bound, "memory stays within its limit");
    limit = bound;
  }
}

void uncount(std::size_t size) {
  if (!isPaused) {
    taken -= static_cast<std::int64_t>(size);
  }
}

}  // namespace

MemoryLimit::MemoryLimit(std::size_t bytes) {
  taken = 0;
  most = 0;
  limit = static_cast<std::int64_t>(bytes);
}

MemoryLimit::~MemoryLimit() {
  limit = noLimit;
}

std::size_t MemoryLimit::peak() {
  return static_cast<std::size_t>(most);
}

MemoryPause::MemoryPause() {
  isPaused = true;
}

MemoryPause::~MemoryPause() {
  isPaused = false;
}

}  // namespace Fuzz

#ifdef FUZZ_ADDRESS_SANITIZER

// The sanitizer's own operators tell of memory that is given back in another way than it was taken.
namespace {

const int hooks = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void* /*memory*/, std::size_t size) { Fuzz::count(size); },
    [](const volatile void* memory) {
      Fuzz::uncount(__sanitizer_get_allocated_size(const_cast<const void*>(memory)));
    });

}  // namespace

#else

void* operator new(std::size_t size) {
  void* memory = std::malloc(size > 0 ? size : 1);
  Fuzz::check(memory != nullptr, "memory is there");
  Fuzz::count(malloc_usable_size(memory));
  return memory;
}

void operator delete(void* memory) noexcept {
  if (memory != nullptr) {
    Fuzz::uncount(malloc_usable_size(memory));
    std::free(memory);
  }
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  operator delete(memory);
}

#endif
