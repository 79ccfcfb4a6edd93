#include "Companion/People/StoreHandles.h"

#include <algorithm>
#include <map>
#include <set>

#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/HandleMatcher.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

std::string normalizedHandle(std::string_view handle) {
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
  for (const std::string& handle : handles._all) handles._normalized.insert(normalizedHandle(handle));
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

namespace {

constexpr std::size_t kNamesShown = 6;

struct Claimants {
  std::vector<const HelperPerson*> people;
  std::set<Uuid> ids;
};
using Owners = std::map<std::string, Claimants>;

void claim(Owners& owners, const std::vector<std::string>& handles, const HelperPerson& person) {
  for (const std::string& handle : handles) {
    Claimants& claimants = owners[handle];
    if (claimants.ids.insert(person.id).second) claimants.people.push_back(&person);
  }
}

void collect(const Owners& owners, std::vector<SharedHandle>& shared) {
  for (const auto& [handle, claimants] : owners) {
    if (claimants.people.size() < 2) continue;
    SharedHandle entry{handle, {}};
    for (const HelperPerson* person : claimants.people) entry.people.push_back(*person);
    shared.push_back(std::move(entry));
  }
}

// The identifier too when the people of this handle have one name.
std::string nameAmong(const HelperPerson& person, const std::vector<HelperPerson>& people) {
  if (person.firstName.empty()) return person.id.toString();
  const auto namesakes = std::count_if(people.begin(), people.end(), [&person](const HelperPerson& other) {
    return text::equalIgnoringCase(other.firstName, person.firstName);
  });
  return namesakes > 1 ? person.firstName + " (" + person.id.toString() + ")" : person.firstName;
}

}  // namespace

std::vector<SharedHandle> SharedHandle::find(const std::vector<HelperPerson>& people) {
  Owners phones;
  Owners emails;
  for (const HelperPerson& person : people) {
    claim(phones, person.phones, person);
    claim(emails, person.emails, person);
  }
  std::vector<SharedHandle> shared;
  collect(phones, shared);
  collect(emails, shared);
  return shared;
}

std::string SharedHandle::sentence() const {
  std::vector<std::string> names;
  for (const HelperPerson& person : people) {
    if (names.size() == kNamesShown) break;
    names.push_back(display::printable(nameAmong(person, people)));
  }
  if (people.size() > kNamesShown) names.push_back(std::to_string(people.size() - kNamesShown) + " more");
  return display::printable(handle) + " is claimed by " + display::listed(names) + ", so it will match nobody.";
}

}  // namespace pellora
