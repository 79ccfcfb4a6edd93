#include "Companion/Lately/LatelyStore.h"

#include <algorithm>
#include <system_error>
#include <unordered_map>

#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/People/PeopleStore.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"

namespace pellora {

namespace {

// People one has written to before people one has not; within each the latest first.
bool isTalkedToLater(const NamedLately& left, const NamedLately& right) {
  const MessagesLatelyRecord& a = left.record;
  const MessagesLatelyRecord& b = right.record;
  if (a.lastTalkedAt != b.lastTalkedAt) return b.lastTalkedAt < a.lastTalkedAt;
  if (a.lastMessageAt != b.lastMessageAt) return b.lastMessageAt < a.lastMessageAt;
  return a.personID < b.personID;
}

}  // namespace

std::size_t LatelyStore::countFiles(const CompanionContext& context) {
  const MessagesLatelyInbox::Listing listing = MessagesLatelyInbox::list(context.folder);
  if (listing.error)
    throw CompanionFailure("The lately records cannot be listed: " + listing.error.message() + " (" +
                           display::printable((*context.folder / HelperExchange::kLatelyFolder).string()) + ").");
  return listing.names.size();
}

LatelyStore LatelyStore::read(const CompanionContext& context, const ExchangeKey& key) {
  const std::size_t files = countFiles(context);
  LatelyStore store;
  store.people = PeopleStore::find(context, key).people();
  std::unordered_map<Uuid, std::string> names;
  for (const HelperPerson& person : store.people)
    if (!person.firstName.empty()) names.emplace(person.id, person.firstName);
  for (MessagesLatelyRecord& record : MessagesLatelyInbox::readAll(key, context.folder)) {
    const auto name = names.find(record.personID);
    store.records.push_back({name == names.end() ? std::nullopt : std::optional(name->second), std::move(record)});
  }
  std::sort(store.records.begin(), store.records.end(), isTalkedToLater);
  store.unreadable = files > store.records.size() ? files - store.records.size() : 0;
  return store;
}

std::filesystem::path LatelyStore::file(const std::filesystem::path& folder, const Uuid& person) {
  return folder / HelperExchange::kLatelyFolder / (person.toString() + ".json");
}

const NamedLately* LatelyStore::find(const Uuid& person) const {
  const auto found = std::find_if(records.begin(), records.end(),
                                  [&person](const NamedLately& lately) { return lately.record.personID == person; });
  return found == records.end() ? nullptr : &*found;
}

}  // namespace pellora
