#include "PelloraMessagesCore/HelperExchange.h"

#include <utility>

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Files/SealedFile.h"

namespace pellora::HelperExchange {

std::string latelyContext(const std::string& name) {
  return "lately:" + name;
}

std::optional<std::filesystem::path> folderURL(const GroupContainer& container) {
  return container.folder(kGroupIdentifier);
}

}  // namespace pellora::HelperExchange

namespace pellora::HelperReadRequest {

bool post(NotificationCenter& center) {
  return center.post(kName);
}

std::unique_ptr<NotificationObserver> observe(NotificationCenter& center, std::function<void()> handler) {
  return center.observe(kName, std::move(handler));
}

}  // namespace pellora::HelperReadRequest

namespace pellora {

std::optional<std::filesystem::path> HelperPeopleFile::url(const std::optional<std::filesystem::path>& folder) {
  if (!folder) return std::nullopt;
  return *folder / HelperExchange::kPeopleFile;
}

std::optional<HelperPeopleFile> HelperPeopleFile::read(const ExchangeKey& key,
                                                       const std::optional<std::filesystem::path>& folder) {
  const std::optional<std::string> json =
      SealedFile::read(key, folder, HelperExchange::kPeopleFile, HelperExchange::kPeopleContext);
  if (!json) return std::nullopt;
  return ExchangeCoding::decode<HelperPeopleFile>(*json);
}

void HelperPeopleFile::write(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder) const {
  SealedFile::write(key, folder, HelperExchange::kPeopleFile, HelperExchange::kPeopleContext,
                    ExchangeCoding::encode(*this));
}

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
