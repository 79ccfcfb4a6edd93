#include "Companion/Commands/LatelyCommand.h"

#include "Companion/Commands/CompanionJson.h"
#include "Companion/Commands/PersonChoice.h"
#include "Companion/Lately/LatelyPage.h"
#include "Companion/Lately/LatelyText.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/OutputFile.h"
#include "Companion/Output/Progress.h"

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

}  // namespace

CommandResult LatelyCommand::run(const CompanionContext& context) const {
  const ExchangeKey key = context.key();
  LatelyStore store;
  {
    const Progress progress("Reading the lately records");
    store = LatelyStore::read(context, key);
    if (!json) store.addNotes(HelperDayNotes::load(key, context.folder), context.now);
  }
  const auto records = chosen(person, store);
  if (json) return {person ? companion_json::text(records.front()) : companion_json::text(records), {}};
  if (htmlFile.empty() && !person) return {lately_text::overview(store, context), {}};
  if (htmlFile.empty())
    return {lately_text::page(records.front(),
                              DayStrip::of(records.front().record.personID, store.notes, context.now, context.calendar),
                              context),
            {}};
  const std::string html = LatelyPage(store.notes, context).html(records);
  if (htmlFile == "-") return {html, {}};
  output_file::write(htmlFile, html);
  return {"Wrote " + display::printable(htmlFile) + ".\n", {}};
}

}  // namespace pellora
