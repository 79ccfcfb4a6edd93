#include "PelloraMessagesCore/AnalysedDays.h"

#include <system_error>

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/SealedFile.h"
#include "PelloraMessagesCore/HelperExchange.h"

namespace pellora {

AnalysedDays AnalysedDays::load(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder,
                                std::int64_t notesVersion) {
  const std::optional<std::string> json =
      SealedFile::read(key, folder, HelperExchange::kAnalysedFile, HelperExchange::kNotesContext);
  if (json) {
    std::optional<AnalysedDays> stored = ExchangeCoding::decode<AnalysedDays>(*json);
    if (stored && stored->notesVersion == notesVersion) return *std::move(stored);
  }
  return {notesVersion, {}};
}

void AnalysedDays::save(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder) const {
  SealedFile::write(key, folder, HelperExchange::kAnalysedFile, HelperExchange::kNotesContext,
                    ExchangeCoding::encode(*this));
}

void AnalysedDays::remove(const std::optional<std::filesystem::path>& folder) {
  std::error_code ignored;
  if (folder) std::filesystem::remove(*folder / HelperExchange::kAnalysedFile, ignored);
}

}  // namespace pellora
