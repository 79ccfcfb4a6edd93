#include "PelloraMessagesCore/HelperHeartbeat.h"

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/HelperExchange.h"

namespace pellora {

std::optional<std::filesystem::path> HelperHeartbeat::url(const std::optional<std::filesystem::path>& folder) {
  if (!folder) return std::nullopt;
  return *folder / HelperExchange::kHeartbeatFile;
}

std::optional<HelperHeartbeat> HelperHeartbeat::read(const std::optional<std::filesystem::path>& folder) {
  const std::optional<std::filesystem::path> file = url(folder);
  if (!file) return std::nullopt;
  const std::optional<std::string> json = AtomicFile::read(*file);
  if (!json) return std::nullopt;
  return ExchangeCoding::decode<HelperHeartbeat>(*json);
}

void HelperHeartbeat::write(const std::optional<std::filesystem::path>& folder) const {
  const std::optional<std::filesystem::path> file = url(folder);
  if (!file) throw FileError::noSuchFile();
  AtomicFile::write(*file, ExchangeCoding::encode(*this));
}

bool HelperHeartbeat::isFresh(Instant now) const {
  return now - at < kFreshFor;
}

}  // namespace pellora
