#include "Companion/People/PeopleStore.h"

#include <filesystem>
#include <system_error>

#include "Companion/Output/CompanionFailure.h"

namespace pellora {

PeopleStore PeopleStore::find(const CompanionContext& context, const std::optional<ExchangeKey>& key) {
  PeopleStore store;
  const auto url = HelperPeopleFile::url(context.folder);
  if (!url) return store;
  std::error_code error;
  const auto status = std::filesystem::symlink_status(*url, error);
  if (status.type() == std::filesystem::file_type::not_found) return store;
  store.reason = reading_obstacle::find(*url);
  store.kind = store.reason.empty() ? Kind::sealed : Kind::inaccessible;
  if (key) store.file = HelperPeopleFile::read(*key, context.folder);
  if (store.file) store.kind = Kind::read;
  return store;
}

std::string PeopleStore::sentence(bool hasKey) const {
  switch (kind) {
    case Kind::missing:
      return "There is no people file yet; \"pellora-companion people import FILE\" writes it.";
    case Kind::inaccessible:
      return "The people file cannot be read: " + reason + ".";
    case Kind::sealed:
      return hasKey ? "The people file exists but does not open with the exchange key."
                    : "The people file exists but there is no exchange key that opens it.";
    case Kind::read:
      break;
  }
  return "There is a people file.";
}

}  // namespace pellora
