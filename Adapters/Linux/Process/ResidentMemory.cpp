#include "Adapters/Linux/Process/ResidentMemory.h"

#include <malloc.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

namespace pellora::ResidentMemory {

namespace {

constexpr std::uint64_t kThreadHeapAlignment = 64 << 20;  // where the C library begins the heap of a thread
constexpr std::uint64_t kLeftForKeys = 256 << 10;

// The size of the heaps when they were last locked: locks belong to the process as a whole.
std::atomic<std::size_t> lockedHeaps = 0;

struct Range {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
};

// The first heap has a name in the kernel's list; those of threads are known by where they begin. One that is locked in
// part shows as two lines.
std::vector<Range> heaps() {
  std::vector<Range> found;
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.find(" rw-p ") == std::string::npos) continue;  // most lines, by far
    Range range;
    std::uint64_t inode = 0;
    if (std::sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64 " %*s %*s %*s %" SCNu64, &range.begin, &range.end, &inode) !=
        3)
      continue;
    const bool isNamed = line.ends_with("[heap]");
    const bool isNameless = line.back() == ' ' || line.back() == '0';
    const bool goesOn = !found.empty() && found.back().end == range.begin;
    const bool isOfThread = isNameless && (range.begin % kThreadHeapAlignment == 0 || goesOn);
    if (inode == 0 && (isNamed || isOfThread)) found.push_back(range);
  }
  return found;
}

std::uint64_t lockable() {
  rlimit limit{};
  if (getrlimit(RLIMIT_MEMLOCK, &limit) != 0) return 0;
  if (limit.rlim_cur == RLIM_INFINITY) return std::numeric_limits<std::uint64_t>::max();
  return limit.rlim_cur > kLeftForKeys ? limit.rlim_cur - kLeftForKeys : 0;
}

}  // namespace

void keepFromSwap() {
  const std::size_t size = mallinfo2().arena;
  std::uint64_t left = lockable();
  if (left == 0 || lockedHeaps.exchange(size) == size) return;
  for (const Range& heap : heaps()) {
    const std::uint64_t locked = std::min(heap.end - heap.begin, left);
    mlock2(reinterpret_cast<const void*>(heap.begin), locked, MLOCK_ONFAULT);
    left -= locked;
  }
}

void release() {
  // What is locked is not given back.
  lockedHeaps = 0;
  for (const Range& heap : heaps()) munlock(reinterpret_cast<const void*>(heap.begin), heap.end - heap.begin);
  malloc_trim(0);
  clearUnusedStack();
}

[[gnu::noinline]] void clearUnusedStack() {
  char unused[192 * 1024];  // deeper than any call of ours goes
  explicit_bzero(unused, sizeof unused);
  // memcpy leaves copied bytes in vector registers, in different ones depending on the size. The dynamic linker saves
  // these registers on the stack when a library function is called for the first time.
  for (std::size_t size = 1; size <= sizeof unused / 4; size *= 2) {
    std::memcpy(unused + sizeof unused / 2, unused, size);
    asm volatile("" : : "r"(unused) : "memory");
  }
}

}  // namespace pellora::ResidentMemory
