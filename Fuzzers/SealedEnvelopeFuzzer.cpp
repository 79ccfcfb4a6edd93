// Envelopes of any bytes never open by chance, those of any payload do, and none of their changes does.
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "PelloraMessagesCore/Files/SealedFile.h"

using pellora::ExchangeKey;
namespace SealedEnvelope = pellora::SealedEnvelope;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const ExchangeKey key =
      *ExchangeKey::fromData(pellora::SecretBytes(std::array<std::uint8_t, ExchangeKey::kSize>{1, 2, 3}));
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  if (SealedEnvelope::open(bytes, key, "people")) std::abort();
  std::string sealed = SealedEnvelope::seal(bytes, key, "people");
  if (SealedEnvelope::open(sealed, key, "people") != bytes) std::abort();
  if (SealedEnvelope::open(sealed, key, bytes) && bytes != "people") std::abort();
  const std::size_t place = size == 0 ? 0 : (data[0] * 257U + data[size - 1]) % sealed.size();
  sealed[place] = static_cast<char>(sealed[place] ^ 1);
  if (SealedEnvelope::open(sealed, key, "people")) std::abort();
  if (SealedEnvelope::open(std::string_view(sealed).substr(0, place), key, "people")) std::abort();
  return 0;
}
