#include <algorithm>
#include <system_error>

#include "Companion/Commands/Commands.h"
#include "Companion/Commands/CompanionJson.h"
#include "Companion/Commands/PersonChoice.h"
#include "Companion/History/StagedStore.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/People/PeopleStore.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"

namespace pellora {

namespace {

// Surely absent: a file that cannot be looked at may be there.
bool isAbsent(const std::filesystem::path& file) {
  std::error_code error;
  return std::filesystem::symlink_status(file, error).type() == std::filesystem::file_type::not_found;
}

// How many records of people were removed who are not in the people file. Without one that can be read nobody can
// say who is in it.
std::size_t removeOthers(const CompanionContext& context, const ExchangeKey& key) {
  const PeopleStore people = PeopleStore::find(context, key);
  if (!people.file) return 0;
  std::size_t removed = 0;
  for (const MessagesLatelyRecord& record : MessagesLatelyInbox::readAll(key, context.folder)) {
    const auto isThem = [&record](const HelperPerson& person) { return person.id == record.personID; };
    const auto& known = people.file->people;
    if (std::none_of(known.begin(), known.end(), isThem) &&
        MessagesLatelyInbox::remove(context.folder, record.personID))
      ++removed;
  }
  return removed;
}

// Why files stayed that may be records.
std::string complaintAbout(const std::vector<std::string>& unread, const CompanionContext& context) {
  if (unread.empty()) return {};
  const std::string name = unread.front() + ".json";
  const std::string reason = reading_obstacle::find(*context.folder / HelperExchange::kLatelyFolder / name);
  return display::counted(unread.size(), "file among the records cannot be read and stays",
                          "files among the records cannot be read and stay") +
         (unread.size() == 1 ? ": " : ", such as ") + display::printable(name) +
         (reason.empty() ? "" : " (" + reason + ")") + ".";
}

}  // namespace

CommandResult DeleteCommand::run(const CompanionContext& context) const {
  const auto id = Uuid::parse(person);
  const PersonChoice choice =
      id ? PersonChoice{*id, id->toString()} : PersonChoice::find(person, LatelyStore::read(context, context.key()));
  const std::string title = display::printable(choice.title);
  if (!context.folder || isAbsent(LatelyStore::file(*context.folder, choice.id)))
    throw CompanionFailure("There is no lately record of " + title + ".");
  if (!MessagesLatelyInbox::remove(context.folder, choice.id))
    throw CompanionFailure("The lately record of " + title + " cannot be removed.");
  if (json) return {companion_json::deletedText(choice.id), {}};
  return {"Removed the lately record of " + title +
              ". The next read writes a new one while the person is in the people file.\n",
          {}};
}

CommandResult SweepCommand::run(const CompanionContext& context) const {
  StagedStore::removeLeftovers(context.store);
  const ExchangeKey key = context.key();
  LatelyStore::countFiles(context);  // throws when nothing can be said about the files
  MessagesLatelyInbox::Swept swept = MessagesLatelyInbox::sweep(key, context.folder);
  const std::size_t others = removeOthers(context, key);
  swept.removed += others;
  const LatelyStore store = LatelyStore::read(context, key);
  CommandResult result;
  result.complaint = complaintAbout(swept.unread, context);
  if (result.complaint.empty() && store.unreadable > 0)
    result.complaint = display::counted(store.unreadable, "file", "files") + " could not be removed.";
  if (json) {
    result.output = companion_json::sweepText(swept.removed, store.records.size());
    return result;
  }
  result.output = "Removed " + display::counted(swept.removed, "file", "files");
  if (others > 0) result.output += ", " + std::to_string(others) + " of people who are no longer in the people file";
  result.output += "; kept " + display::counted(store.records.size(), "lately record", "lately records") + ".\n";
  return result;
}

}  // namespace pellora
