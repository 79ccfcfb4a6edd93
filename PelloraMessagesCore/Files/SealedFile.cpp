#include "PelloraMessagesCore/Files/SealedFile.h"

#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileError.h"
#include "PelloraMessagesCore/Files/SealedEnvelope.h"

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
