#include "Companion/Commands/LatelyCommand.h"

#include <filesystem>
#include <system_error>

#include "Companion/Commands/CompanionJson.h"
#include "Companion/Commands/PersonChoice.h"
#include "Companion/Lately/LatelyPage.h"
#include "Companion/Lately/LatelyText.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/InterruptionGuard.h"
#include "Companion/Output/Progress.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"

namespace pellora {

namespace {

// The records asked for, each once.
std::vector<NamedLately> chosen(const std::optional<std::string>& person, const LatelyStore& store) {
  if (!person) return store.records;
  const PersonChoice choice = PersonChoice::find(*person, store);
  const NamedLately* lately = store.find(choice.id);
  if (lately == nullptr)
    throw CompanionFailure("There is no lately record of " + display::printable(choice.title) + " yet.");
  return {*lately};
}

// Into a folder that is there: one that the user mistyped is not to be made.
void writePage(const std::string& name, const std::string& html) {
  const std::filesystem::path file = std::filesystem::absolute(name);
  std::error_code error;
  const bool isThere = std::filesystem::is_directory(file.parent_path(), error);
  if (error || !isThere)
    throw CompanionFailure("Cannot write " + display::printable(name) + ": " +
                           (error ? error.message() : "its folder is no folder") + ".");
  const InterruptionGuard guard;
  AtomicFile::write(file, html);
}

}  // namespace

CommandResult LatelyCommand::run(const CompanionContext& context) const {
  const ExchangeKey key = context.key();
  LatelyStore store;
  HelperDayNotes notes;
  {
    const Progress progress("Reading the lately records");
    store = LatelyStore::read(context, key);
    notes = HelperDayNotes::load(key, context.folder);
  }
  const auto records = chosen(person, store);
  CommandResult result;
  if (!htmlFile.empty()) {
    writePage(htmlFile, LatelyPage(notes, context).html(records));
    result.output = "Wrote " + display::printable(htmlFile) + ".\n";
  }
  if (json)
    result.output = person ? companion_json::text(records.front()) : companion_json::text(records);
  else if (htmlFile.empty() && !person)
    result.output = lately_text::overview(store, context);
  else if (htmlFile.empty())
    result.output = lately_text::page(
        records.front(), DayStrip::of(records.front().record.personID, notes, context.now, context.calendar), context);
  return result;
}

}  // namespace pellora
