#include "Companion/Commands/Commands.h"
#include "Companion/Commands/CompanionJson.h"
#include "Companion/Commands/PersonChoice.h"
#include "Companion/Lately/LatelyPage.h"
#include "Companion/Lately/LatelyStore.h"
#include "Companion/Lately/LatelyText.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/OutputFile.h"
#include "Companion/Output/Progress.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Json/JsonValue.h"

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
  if (audience == Audience::people) shown.store.addNotes(HelperDayNotes::load(key, context.folder), context.now);
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
  if (!context.runtime) throw CompanionFailure("There is no folder of yours for the page that ends with the session.");
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

}  // namespace pellora
