// The sealed form of every exchange file but the heartbeat: AES-256-GCM, bound to a context string that says what
// kind of file it is. Opening is total: any bytes give the payload or nothing.
// Tested by Tests/Core/SealedEnvelopeTests.cpp.
//
//   offset  size  content
//   0       4     "PMX1"
//   4       12    nonce, random for every sealing
//   16      n     ciphertext, as long as the payload
//   16 + n  16    authentication tag; the context's UTF-8 bytes are the associated data
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "PelloraMessagesCore/Files/ExchangeKey.h"

namespace pellora {

namespace SealedEnvelope {

// Throws std::runtime_error when the cryptographic library fails.
std::string seal(std::string_view payload, const ExchangeKey& key, std::string_view context);

// Absent for a wrong key, a wrong context and bytes that were altered or cut.
std::optional<std::string> open(std::string_view envelope, const ExchangeKey& key, std::string_view context);

}  // namespace SealedEnvelope

}  // namespace pellora
