#include "PelloraMessagesCore/HelperPeopleFile.h"

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/SealedFile.h"
#include "PelloraMessagesCore/HelperExchange.h"

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

}  // namespace pellora
