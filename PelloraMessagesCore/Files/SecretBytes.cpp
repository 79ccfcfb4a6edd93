#include "PelloraMessagesCore/Files/SecretBytes.h"

#include <openssl/crypto.h>
#include <sys/mman.h>

#include <new>

namespace pellora {

void* allocateSecret(std::size_t size) {
  void* const memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  ::mlock(memory, size);
  ::madvise(memory, size, MADV_DONTDUMP);
  return memory;
}

void releaseSecret(void* memory, std::size_t size) noexcept {
  OPENSSL_cleanse(memory, size);
  ::munmap(memory, size);
}

}  // namespace pellora
