#include "Adapters/Linux/Process/ResidentMemory.h"

#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace pellora::ResidentMemory {

namespace {

int dropUnwritablePages(dl_phdr_info* object, std::size_t, void*) {
  const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  for (int index = 0; index < object->dlpi_phnum; ++index) {
    const ElfW(Phdr)& segment = object->dlpi_phdr[index];
    // A segment that is made read-only after relocation is still marked writable here, so it is left alone.
    if (segment.p_type != PT_LOAD || (segment.p_flags & PF_W) != 0) continue;
    const std::uintptr_t first = (object->dlpi_addr + segment.p_vaddr) & ~(pageSize - 1);
    const std::uintptr_t end = (object->dlpi_addr + segment.p_vaddr + segment.p_memsz) & ~(pageSize - 1);
    if (end > first) madvise(reinterpret_cast<void*>(first), end - first, MADV_DONTNEED);
  }
  return 0;
}

}  // namespace

void release() {
  malloc_trim(0);
  dl_iterate_phdr(dropUnwritablePages, nullptr);
}

}  // namespace pellora::ResidentMemory
