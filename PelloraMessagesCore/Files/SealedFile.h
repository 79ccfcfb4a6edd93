// Sealed files: the form of their bytes, and reading and writing them in the shared folder.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "PelloraMessagesCore/Files/SecretBytes.h"

namespace pellora {

// The sealed form of every exchange file but the heartbeat: AES-256-GCM, bound to a context string that says what
// kind of file it is. Opening is total: any bytes give the payload or nothing.
// Tested by Tests/Core/SealedEnvelopeTests.cpp.
//
//   offset  size  content
//   0       4     "PMX1"
//   4       12    nonce, random for every sealing
//   16      n     ciphertext, as long as the payload
//   16 + n  16    authentication tag; the context's UTF-8 bytes are the associated data
namespace SealedEnvelope {

// Throws std::runtime_error when the cryptographic library fails.
std::string seal(std::string_view payload, const ExchangeKey& key, std::string_view context);

// Absent for a wrong key, a wrong context and bytes that were altered or cut.
std::optional<std::string> open(std::string_view envelope, const ExchangeKey& key, std::string_view context);

}  // namespace SealedEnvelope

// A file of the shared folder in its sealed form: what every kind of sealed file does alike.
// Tested by Tests/Core/HelperPeopleFileTests.cpp and the tests of the other kinds.
namespace SealedFile {

// The payload; absent when the folder is, and when the file cannot be read or does not open.
std::optional<std::string> read(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder,
                                std::string_view name, std::string_view context);

// `name` is relative to the folder; its parent folders are created. Throws FileError, also for an absent folder,
// and std::runtime_error when sealing fails.
void write(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder, std::string_view name,
           std::string_view context, std::string_view payload);

}  // namespace SealedFile

}  // namespace pellora
