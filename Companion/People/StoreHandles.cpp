#include "Companion/People/StoreHandles.h"

#include <algorithm>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/ContactNormalization.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

std::string normalisedHandle(std::string_view handle) {
  return handle.find('@') != std::string_view::npos ? ContactNormalization::email(handle)
                                                    : ContactNormalization::phone(handle);
}

std::optional<StoreHandles> StoreHandles::read(const std::filesystem::path& store) {
  std::error_code error;
  if (store.empty() || !std::filesystem::is_regular_file(store, error)) return std::nullopt;
  StoreHandles handles;
  try {
    handles._all = ChatDatabase(store).handles();
  } catch (const ChatDatabase::Failure&) {
    return std::nullopt;
  }
  for (const std::string& handle : handles._all) handles._normalised.insert(normalisedHandle(handle));
  return handles;
}

bool StoreHandles::has(const HelperPerson& person) const {
  const auto isHere = [this](const std::string& handle) { return hasHandle(handle); };
  return std::any_of(person.phones.begin(), person.phones.end(), isHere) ||
         std::any_of(person.emails.begin(), person.emails.end(), isHere);
}

std::string personTitle(const HelperPerson& person, const std::vector<HelperPerson>& everybody) {
  if (person.firstName.empty()) return person.id.toString();
  const bool hasNamesake = std::any_of(everybody.begin(), everybody.end(), [&person](const HelperPerson& other) {
    return other.id != person.id && text::equalIgnoringCase(other.firstName, person.firstName);
  });
  if (!hasNamesake) return person.firstName;
  const auto& handles = person.phones.empty() ? person.emails : person.phones;
  return person.firstName + " (" + (handles.empty() ? person.id.toString() : handles.front()) + ")";
}

}  // namespace pellora
