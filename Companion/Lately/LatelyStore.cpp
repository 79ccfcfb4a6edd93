#include "Companion/Lately/LatelyStore.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <map>
#include <system_error>
#include <unordered_map>

#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/People/StoreHandles.h"
#include "PelloraMessagesCore/Files/SealedFile.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

namespace {

constexpr std::int64_t kLongestWindow = 36'500;  // days

// People one has written to before people one has not; within each the latest first.
bool isTalkedToLater(const NamedLately& left, const NamedLately& right) {
  const MessagesLatelyRecord& a = left.record;
  const MessagesLatelyRecord& b = right.record;
  if (a.lastTalkedAt != b.lastTalkedAt) return b.lastTalkedAt < a.lastTalkedAt;
  if (a.lastMessageAt != b.lastMessageAt) return b.lastMessageAt < a.lastMessageAt;
  return a.personID < b.personID;
}

// 0 for people who wait, 1 for the others, 2 for people of whom nothing was heard in the window.
int rankOf(const NamedLately& lately, Instant now) {
  if (lately.isQuiet(now)) return 2;
  return lately.waitsSince(now) ? 0 : 1;
}

}  // namespace

bool NamedLately::isQuiet(Instant now) const {
  // A window from a file may be as long as it likes.
  const auto days = std::clamp<std::int64_t>(record.windowDays, 0, kLongestWindow);
  return record.lastMessageAt < now - std::chrono::hours(24 * days);
}

std::optional<Instant> NamedLately::waitsSince(Instant now) const {
  if (!newestDay || !newestDay->waitingOnYou || isQuiet(now)) return std::nullopt;
  return newestDay->lastMessageAt;
}

void LatelyStore::addNotes(std::optional<HelperDayNotes> dayNotes, Instant now) {
  const bool areKnown = dayNotes.has_value();
  notes = std::move(dayNotes).value_or(HelperDayNotes());
  std::unordered_map<Uuid, const MessagesDayRecord*> newest;
  for (const MessagesDayRecord& day : notes.days) {
    const MessagesDayRecord*& known = newest[day.personID];
    if (known == nullptr || known->lastMessageAt <= day.lastMessageAt) known = &day;
  }
  for (NamedLately& lately : records) {
    const auto day = newest.find(lately.record.personID);
    if (day == newest.end()) {
      lately.isForgotten = areKnown && lately.name && !lately.isQuiet(now);
      continue;
    }
    lately.newestDay = {day->second->lastMessageAt, day->second->startedByMe, day->second->waitingOnYou};
  }
  std::stable_sort(records.begin(), records.end(), [now](const NamedLately& left, const NamedLately& right) {
    const int leftRank = rankOf(left, now);
    const int rightRank = rankOf(right, now);
    if (leftRank != rightRank || leftRank != 0) return leftRank < rightRank;
    return left.waitsSince(now) < right.waitsSince(now);
  });
}

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
    if (!person.firstName.empty()) names.emplace(person.id, personTitle(person, store.people));
  for (MessagesLatelyRecord& record : MessagesLatelyInbox::readAll(key, context.folder)) {
    const auto name = names.find(record.personID);
    store.records.push_back({name == names.end() ? std::nullopt : std::optional(name->second), std::move(record), {}});
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

namespace pellora::shown_records {

namespace {

constexpr char kFile[] = "shown.json";
constexpr char kContext[] = "companion-shown";

using Shown = std::map<std::string, Instant>;  // by the person's identifier

Shown load(const CompanionContext& context, const ExchangeKey& key) {
  Shown shown;
  const auto payload = SealedFile::read(key, context.settings, kFile, kContext);
  const auto json = payload ? JsonValue::parse(*payload) : std::nullopt;
  if (!json) return shown;
  for (const JsonValue::Member& member : json->members())
    if (const auto date = IsoDate::parse(member.value.text())) shown.emplace(member.key, *date);
  return shown;
}

void save(const Shown& shown, const CompanionContext& context, const ExchangeKey& key) {
  JsonValue json = JsonValue::object();
  for (const auto& [person, date] : shown) json.set(person, IsoDate::text(date));
  try {
    SealedFile::write(key, context.settings, kFile, kContext, json.dump());
  } catch (const std::exception&) {
    // A folder that cannot be written must not keep anybody from seeing the records.
  }
}

}  // namespace

void compare(std::vector<NamedLately>& records, const CompanionContext& context, const ExchangeKey& key) {
  if (!context.settings || records.empty()) return;
  const Shown before = load(context, key);
  Shown after = before;
  for (NamedLately& lately : records) {
    const std::string person = lately.record.personID.toString();
    // Whole seconds, as the file keeps them.
    const Instant written = instantAtSeconds(wholeSeconds(std::min(lately.record.writtenAt, context.now)));
    const auto seen = before.find(person);
    if (seen != before.end() && written < seen->second)
      lately.isOlderThan = seen->second;
    else
      after[person] = written;
  }
  if (after != before) save(after, context, key);
}

}  // namespace pellora::shown_records
