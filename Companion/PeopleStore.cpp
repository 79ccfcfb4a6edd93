#include "Companion/PeopleStore.h"

#include <filesystem>
#include <system_error>

namespace pellora {

PeopleStore PeopleStore::find(const CompanionContext& context, const std::optional<ExchangeKey>& key) {
  PeopleStore store;
  const auto url = HelperPeopleFile::url(context.folder);
  if (!url) return store;
  std::error_code error;
  const auto status = std::filesystem::symlink_status(*url, error);
  if (status.type() == std::filesystem::file_type::not_found) return store;
  store.kind = Kind::unreadable;
  if (key) store.file = HelperPeopleFile::read(*key, context.folder);
  if (store.file) store.kind = Kind::read;
  return store;
}

}  // namespace pellora
