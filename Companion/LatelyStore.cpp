#include "Companion/LatelyStore.h"

#include <algorithm>
#include <system_error>
#include <unordered_map>

#include "Companion/PeopleStore.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"

namespace pellora {

namespace {

std::size_t countFiles(const std::optional<std::filesystem::path>& folder) {
  if (!folder) return 0;
  std::size_t count = 0;
  std::error_code error;
  std::filesystem::directory_iterator files(*folder / HelperExchange::kLatelyFolder, error);
  for (; !error && files != std::filesystem::directory_iterator(); files.increment(error))
    if (files->path().extension() == ".json") ++count;
  return count;
}

// People one has written to before people one has not; within each the latest first.
bool isTalkedToLater(const NamedLately& left, const NamedLately& right) {
  const MessagesLatelyRecord& a = left.record;
  const MessagesLatelyRecord& b = right.record;
  if (a.lastTalkedAt != b.lastTalkedAt) return b.lastTalkedAt < a.lastTalkedAt;
  if (a.lastMessageAt != b.lastMessageAt) return b.lastMessageAt < a.lastMessageAt;
  return a.personID < b.personID;
}

}  // namespace

LatelyStore LatelyStore::read(const CompanionContext& context, const ExchangeKey& key) {
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
  const std::size_t files = countFiles(context.folder);
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
