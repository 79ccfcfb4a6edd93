#include "PelloraMessagesCore/Files/SecretBytes.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>
#include <sys/mman.h>

#include <array>
#include <cstdint>
#include <new>
#include <stdexcept>

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

std::optional<ExchangeKey> ExchangeKey::fromData(const SecretBytes& data) {
  if (data.size() != kSize) return std::nullopt;
  return ExchangeKey(data);
}

ExchangeKey ExchangeKey::random() {
  std::array<std::uint8_t, kSize> bytes{};
  if (RAND_priv_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
    throw std::runtime_error("The system's random source failed");
  ExchangeKey key{SecretBytes(bytes)};
  OPENSSL_cleanse(bytes.data(), bytes.size());
  return key;
}

}  // namespace pellora
