#include "PelloraMessagesCore/HelperState.h"

#include <system_error>

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/SealedFile.h"
#include "PelloraMessagesCore/HelperExchange.h"

namespace pellora {

namespace {

constexpr char kStoreAgain[] = "store";
constexpr char kLanguageAgain[] = "language";

}  // namespace

std::optional<HelperState> HelperState::load(const ExchangeKey& key, const Folder& folder) {
  const std::optional<std::string> json =
      SealedFile::read(key, folder, HelperExchange::kStateFile, HelperExchange::kStateContext);
  if (!json) return std::nullopt;
  return ExchangeCoding::decode<HelperState>(*json);
}

void HelperState::save(const ExchangeKey& key, const Folder& folder) const {
  SealedFile::write(key, folder, HelperExchange::kStateFile, HelperExchange::kStateContext,
                    ExchangeCoding::encode(*this));
}

void HelperState::requestReread(const ExchangeKey& key, const Folder& folder, Reread reread) {
  SealedFile::write(key, folder, HelperExchange::kRereadFile, HelperExchange::kRereadContext,
                    reread == Reread::language ? kLanguageAgain : kStoreAgain);
}

std::optional<HelperState::Reread> HelperState::requestedReread(const ExchangeKey& key, const Folder& folder) {
  const std::optional<std::string> request =
      SealedFile::read(key, folder, HelperExchange::kRereadFile, HelperExchange::kRereadContext);
  if (request == kStoreAgain) return Reread::store;
  if (request == kLanguageAgain) return Reread::language;
  return std::nullopt;
}

void HelperState::removeRereadRequest(const Folder& folder) {
  std::error_code ignored;
  if (folder) std::filesystem::remove(*folder / HelperExchange::kRereadFile, ignored);
}

}  // namespace pellora
