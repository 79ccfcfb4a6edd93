#include "PelloraMessagesCore/Files/SecretBytes.h"

#include <openssl/crypto.h>

namespace pellora {

SecretBytes::~SecretBytes() {
  if (!_bytes.empty()) OPENSSL_cleanse(_bytes.data(), _bytes.size());
}

}  // namespace pellora
