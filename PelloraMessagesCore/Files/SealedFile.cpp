#include "PelloraMessagesCore/Files/SealedFile.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>

#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora::SealedEnvelope {

namespace {

constexpr std::string_view kMagic = "PMX1";
constexpr std::size_t kNonceSize = 12;  // bytes
constexpr std::size_t kTagSize = 16;    // bytes
constexpr std::size_t kHeaderSize = kMagic.size() + kNonceSize;
constexpr std::size_t kPieceSize = std::size_t{1} << 30;  // the library counts bytes in an int

using Context = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

Context makeContext() {
  return {EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free};
}

const std::uint8_t* bytesOf(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

std::uint8_t* bytesOf(std::string& text) {
  return reinterpret_cast<std::uint8_t*>(text.data());
}

enum class Direction { decrypt = 0, encrypt = 1 };

bool begin(EVP_CIPHER_CTX* cipher, Direction direction, const ExchangeKey& key, const std::uint8_t* nonce) {
  return cipher != nullptr && EVP_CipherInit_ex(cipher, EVP_aes_256_gcm(), nullptr, key.data().span().data(), nonce,
                                                static_cast<int>(direction)) == 1;
}

// A null `output` feeds associated data.
bool update(EVP_CIPHER_CTX* cipher, std::string_view input, std::uint8_t* output) {
  while (!input.empty()) {
    const std::size_t size = std::min(input.size(), kPieceSize);
    int written = 0;
    if (EVP_CipherUpdate(cipher, output, &written, bytesOf(input), static_cast<int>(size)) != 1) return false;
    if (output != nullptr) output += written;
    input.remove_prefix(size);
  }
  return true;
}

bool finish(EVP_CIPHER_CTX* cipher) {
  std::uint8_t nothing[EVP_MAX_BLOCK_LENGTH];
  int written = 0;
  return EVP_CipherFinal_ex(cipher, nothing, &written) == 1;
}

}  // namespace

std::string seal(std::string_view payload, const ExchangeKey& key, std::string_view context) {
  std::string envelope(kHeaderSize + payload.size() + kTagSize, '\0');
  std::copy(kMagic.begin(), kMagic.end(), envelope.begin());
  std::uint8_t* const nonce = bytesOf(envelope) + kMagic.size();
  std::uint8_t* const ciphertext = bytesOf(envelope) + kHeaderSize;
  const Context cipher = makeContext();
  const bool isSealed = RAND_bytes(nonce, static_cast<int>(kNonceSize)) == 1 &&
                        begin(cipher.get(), Direction::encrypt, key, nonce) && update(cipher.get(), context, nullptr) &&
                        update(cipher.get(), payload, ciphertext) && finish(cipher.get()) &&
                        EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_AEAD_GET_TAG, static_cast<int>(kTagSize),
                                            ciphertext + payload.size()) == 1;
  if (!isSealed) throw std::runtime_error("Couldn't seal a file: the cryptographic library failed");
  return envelope;
}

std::optional<std::string> open(std::string_view envelope, const ExchangeKey& key, std::string_view context) {
  if (!envelope.starts_with(kMagic) || envelope.size() < kHeaderSize + kTagSize) return std::nullopt;
  const std::uint8_t* const nonce = bytesOf(envelope) + kMagic.size();
  std::string tag(envelope.substr(envelope.size() - kTagSize));
  const std::string_view ciphertext = envelope.substr(kHeaderSize, envelope.size() - kHeaderSize - kTagSize);
  std::string payload(ciphertext.size(), '\0');
  const Context cipher = makeContext();
  const bool isOpened =
      begin(cipher.get(), Direction::decrypt, key, nonce) && update(cipher.get(), context, nullptr) &&
      update(cipher.get(), ciphertext, bytesOf(payload)) &&
      EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_AEAD_SET_TAG, static_cast<int>(kTagSize), tag.data()) == 1 &&
      finish(cipher.get());
  if (isOpened) return payload;
  // Nobody may use what did not authenticate.
  OPENSSL_cleanse(payload.data(), payload.size());
  return std::nullopt;
}

}  // namespace pellora::SealedEnvelope

namespace pellora::SealedFile {

std::optional<std::string> read(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder,
                                std::string_view name, std::string_view context) {
  if (!folder) return std::nullopt;
  const std::optional<std::string> envelope = AtomicFile::read(*folder / name);
  if (!envelope) return std::nullopt;
  return SealedEnvelope::open(*envelope, key, context);
}

void write(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder, std::string_view name,
           std::string_view context, std::string_view payload) {
  if (!folder) throw FileError::noSuchFile();
  AtomicFile::write(*folder / name, SealedEnvelope::seal(payload, key, context));
}

}  // namespace pellora::SealedFile
