// Zeroes every piece of heap memory before it is given back, so that neither message text nor keys outlive their use:
// in strings of ours, in buffers of the database, of the model connection and of the toolkit alike. Belongs into the
// helper's program, whose `free` and `realloc` come before those of the C library for all libraries too. The memory
// itself stays the C library's. Tested by Tests/Leaks/LeakTests.cpp.
#include <malloc.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

extern "C" {

void __libc_free(void* memory) noexcept;

__attribute__((visibility("default"))) void free(void* memory) noexcept {
  if (memory == nullptr) return;
  explicit_bzero(memory, malloc_usable_size(memory));
  __libc_free(memory);
}

// The C library's own would leave the old place as it is when it moves the content.
__attribute__((visibility("default"))) void* realloc(void* memory, size_t size) noexcept {
  if (memory == nullptr) return malloc(size);
  if (size == 0) {
    free(memory);
    return nullptr;
  }
  const size_t usable = malloc_usable_size(memory);
  if (size <= usable && size >= usable / 2) return memory;
  void* const moved = malloc(size);
  if (moved == nullptr) return nullptr;
  memcpy(moved, memory, std::min(size, usable));
  free(memory);
  return moved;
}

}  // extern "C"
