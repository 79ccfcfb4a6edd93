#include "Companion/History/BackupKeyBag.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <array>
#include <memory>
#include <string_view>

namespace pellora {

namespace {

constexpr std::size_t kKeySize = 32;       // bytes
constexpr std::size_t kWrappingSize = 8;   // by so much a wrapped key is longer
constexpr std::size_t kMostFields = 1000;  // a bag has about seventy
constexpr std::uint32_t kMostRounds = 100'000'000;
constexpr std::uint32_t kWithPassword = 2;  // in WRAP

using Bytes = std::span<const std::uint8_t>;

struct FreeContext {
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};

std::uint32_t number(Bytes bytes) {
  if (bytes.size() != 4) return 0;
  return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
}

// The caller wipes it.
std::optional<SecretBytes> derivedKey(Bytes password, Bytes salt, std::uint32_t rounds, const EVP_MD* digest) {
  std::array<std::uint8_t, kKeySize> key{};
  const int done = PKCS5_PBKDF2_HMAC(reinterpret_cast<const char*>(password.data()), static_cast<int>(password.size()),
                                     salt.data(), static_cast<int>(salt.size()), static_cast<int>(rounds), digest,
                                     static_cast<int>(key.size()), key.data());
  const SecretBytes derived{Bytes(key)};
  OPENSSL_cleanse(key.data(), key.size());
  return done == 1 ? std::optional(derived) : std::nullopt;
}

}  // namespace

std::optional<SecretBytes> unwrappedKey(const SecretBytes& key, Bytes wrapped) {
  if (key.size() != kKeySize || wrapped.size() != kKeySize + kWrappingSize) return std::nullopt;
  const std::unique_ptr<EVP_CIPHER_CTX, FreeContext> context(EVP_CIPHER_CTX_new());
  if (!context) return std::nullopt;
  EVP_CIPHER_CTX_set_flags(context.get(), EVP_CIPHER_CTX_FLAG_WRAP_ALLOW);
  std::array<std::uint8_t, kKeySize + 2 * kWrappingSize> plain{};
  int length = 0;
  const bool isDone =
      EVP_DecryptInit_ex(context.get(), EVP_aes_256_wrap(), nullptr, key.span().data(), nullptr) == 1 &&
      EVP_DecryptUpdate(context.get(), plain.data(), &length, wrapped.data(), static_cast<int>(wrapped.size())) == 1 &&
      length == static_cast<int>(kKeySize);
  const SecretBytes result{Bytes(plain).first(kKeySize)};
  OPENSSL_cleanse(plain.data(), plain.size());
  return isDone ? std::optional(result) : std::nullopt;
}

std::optional<BackupKeyBag> BackupKeyBag::parse(Bytes bytes) {
  BackupKeyBag bag;
  bool isInClass = false;
  std::optional<std::uint32_t> current;
  Class fields;
  const auto finishClass = [&] {
    if (current) bag._classes[*current] = fields;
    current.reset();
    fields = {};
  };
  std::size_t count = 0;
  while (bytes.size() >= 8 && ++count < kMostFields) {
    const std::string_view tag(reinterpret_cast<const char*>(bytes.data()), 4);
    const std::uint32_t length = number(bytes.subspan(4, 4));
    if (length > bytes.size() - 8) return std::nullopt;
    const Bytes value = bytes.subspan(8, length);
    bytes = bytes.subspan(8 + length);
    // The bag itself has an UUID too; the second one begins the first class.
    if (tag == "UUID" && bag._rounds > 0) finishClass();
    if (tag == "SALT") bag._salt.assign(value.begin(), value.end());
    if (tag == "ITER") bag._rounds = number(value);
    if (tag == "DPSL") bag._firstSalt.assign(value.begin(), value.end());
    if (tag == "DPIC") bag._firstRounds = number(value);
    if (tag == "CLAS") current = number(value);
    isInClass = isInClass || tag == "CLAS";
    if (tag == "WRAP") fields.wrapping = number(value);
    if (tag == "WPKY") fields.wrappedKey.assign(value.begin(), value.end());
  }
  finishClass();
  const bool isUsable = isInClass && bag._rounds > 0 && bag._rounds <= kMostRounds && bag._firstRounds <= kMostRounds &&
                        !bag._salt.empty() && (bag._firstRounds == 0 || !bag._firstSalt.empty());
  return isUsable ? std::optional(std::move(bag)) : std::nullopt;
}

bool BackupKeyBag::unlock(const SecretBytes& password) {
  std::optional<SecretBytes> first = password;
  if (_firstRounds > 0) first = derivedKey(password.span(), _firstSalt, _firstRounds, EVP_sha256());
  if (!first) return false;
  const auto key = derivedKey(first->span(), _salt, _rounds, EVP_sha1());
  if (!key) return false;
  _keys.clear();
  for (const auto& [number, each] : _classes) {
    if ((each.wrapping & kWithPassword) == 0 || each.wrappedKey.empty()) continue;
    const auto classKey = unwrappedKey(*key, each.wrappedKey);
    if (!classKey) return false;
    _keys.emplace(number, *classKey);
  }
  return !_keys.empty();
}

std::optional<SecretBytes> BackupKeyBag::unwrap(std::uint32_t protectionClass, Bytes wrapped) const {
  const auto key = _keys.find(protectionClass);
  return key == _keys.end() ? std::nullopt : unwrappedKey(key->second, wrapped);
}

}  // namespace pellora
