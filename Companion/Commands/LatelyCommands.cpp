#include <algorithm>
#include <system_error>

#include "Companion/Commands/Commands.h"
#include "Companion/Commands/CompanionJson.h"
#include "Companion/Commands/PersonChoice.h"
#include "Companion/History/StagedStore.h"
#include "Companion/Lately/LatelyPage.h"
#include "Companion/Lately/LatelyStore.h"
#include "Companion/Lately/LatelyText.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/OutputFile.h"
#include "Companion/Output/Terminal.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"

namespace pellora {

namespace {

constexpr char kPageFile[] = "lately.html";

// The records asked for, each once.
std::vector<NamedLately> chosen(const std::optional<std::string>& person, const LatelyStore& store) {
  if (!person) return store.records;
  const PersonChoice choice = PersonChoice::find(*person, store);
  const NamedLately* lately = store.find(choice.id);
  if (lately == nullptr)
    throw CompanionFailure("There is no lately record of " + display::printable(choice.title) + " yet.");
  return {*lately};
}

struct Shown {
  LatelyStore store;
  std::vector<NamedLately> records;  // those asked for
};

enum class Audience { people, scripts };

Shown read(const std::optional<std::string>& person, const CompanionContext& context, Audience audience) {
  const ExchangeKey key = context.key();
  const Progress progress("Reading the lately records");
  Shown shown;
  shown.store = LatelyStore::read(context, key);
  if (audience == Audience::people)
    shown.store.addNotes(HelperDayNotes::loadIfReadable(key, context.folder), context.now);
  shown.records = chosen(person, shown.store);
  shown_records::compare(shown.records, context, key);
  return shown;
}

std::string pageOf(const Shown& shown, const CompanionContext& context) {
  return LatelyPage(shown.store.notes, context).html(shown.records);
}

}  // namespace

CommandResult LatelyCommand::run(const CompanionContext& context) const {
  Shown shown = read(person, context, json ? Audience::scripts : Audience::people);
  if (json) return {person ? companion_json::text(shown.records.front()) : companion_json::text(shown.records), {}};
  if (htmlFile == "-") return {pageOf(shown, context), {}};
  if (!htmlFile.empty()) {
    output_file::write(htmlFile, pageOf(shown, context));
    return {"Wrote " + display::printable(htmlFile) + ".\n", {}};
  }
  if (!person) {
    shown.store.records = std::move(shown.records);
    return {lately_text::overview(shown.store, context), {}};
  }
  const NamedLately& lately = shown.records.front();
  const DayStrip strip = DayStrip::of(lately.record.personID, shown.store.notes, context.now, context.calendar);
  return {lately_text::page(lately, strip, context), {}};
}

std::filesystem::path ViewCommand::page(const std::filesystem::path& runtime) {
  return runtime / kPageFile;
}

CommandResult ViewCommand::run(const CompanionContext& context) const {
  if (!context.runtime)
    throw CompanionFailure("The page needs a private runtime folder, and none could be created; set XDG_RUNTIME_DIR.");
  std::string obstacle;
  std::string text;
  try {
    text = pageOf(read(person, context, Audience::people), context);
  } catch (const CompanionFailure& failure) {
    obstacle = failure.what();
    text = LatelyPage({}, context).html(obstacle);
  }
  const std::filesystem::path file = page(*context.runtime);
  AtomicFile::write(file, text);
  const auto reason = platform_adapters::openFile(file);
  const std::string shownFile = display::printable(file.string());
  if (obstacle.empty() && reason) obstacle = "The page cannot be opened (" + *reason + "); it is " + shownFile + ".";
  if (!obstacle.empty()) return {{}, obstacle};
  if (json) return {JsonValue::object({{"page", file.string()}}).dump() + "\n", {}};
  return {"Opened the page (" + shownFile + ").\n", {}};
}

namespace {

// Surely absent: a file that cannot be looked at may be there.
bool isAbsent(const std::filesystem::path& file) {
  std::error_code error;
  return std::filesystem::symlink_status(file, error).type() == std::filesystem::file_type::not_found;
}

struct Others {
  std::size_t removed = 0;  // records
  std::string obstacle{};   // why some may have stayed
};

// Removes the records of people who are not in the people file. Without one that can be read nobody can say who is in
// it.
Others removeOthers(const CompanionContext& context, const ExchangeKey& key) {
  const PeopleStore people = PeopleStore::find(context, key);
  Others others;
  if (!people.file) {
    if (people.kind != PeopleStore::Kind::missing) others.obstacle = people.sentence(true);
    return others;
  }
  const std::size_t files = LatelyStore::countFiles(context);
  const std::vector<MessagesLatelyRecord> records = MessagesLatelyInbox::readAll(key, context.folder);
  if (records.size() != files)
    others.obstacle = "Not every lately record could be read; try pellora-companion sweep again.";
  for (const MessagesLatelyRecord& record : records) {
    const auto isThem = [&record](const HelperPerson& person) { return person.id == record.personID; };
    const auto& known = people.file->people;
    if (std::any_of(known.begin(), known.end(), isThem)) continue;
    if (MessagesLatelyInbox::remove(context.folder, record.personID))
      ++others.removed;
    else
      others.obstacle = "The record of a removed person could not be deleted; try pellora-companion sweep again.";
  }
  return others;
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
  const Others others = removeOthers(context, key);
  swept.removed += others.removed;
  const LatelyStore store = LatelyStore::read(context, key);
  CommandResult result;
  result.complaint = complaintAbout(swept.unread, context);
  if (result.complaint.empty() && store.unreadable > 0)
    result.complaint = display::counted(store.unreadable, "file", "files") + " could not be removed.";
  if (result.complaint.empty()) result.complaint = others.obstacle;
  if (json) {
    result.output = companion_json::sweepText(swept.removed, store.records.size());
    return result;
  }
  result.output = "Removed " + display::counted(swept.removed, "file", "files");
  if (others.removed > 0)
    result.output += ", " + std::to_string(others.removed) + " of people who are no longer in the people file";
  result.output += "; kept " + display::counted(store.records.size(), "lately record", "lately records") + ".\n";
  return result;
}

}  // namespace pellora
