#include "Companion/Commands/Commands.h"
#include "Companion/Commands/CompanionJson.h"
#include "Companion/Commands/PeopleEdit.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/Progress.h"
#include "Companion/Output/Terminal.h"
#include "Companion/People/ImportOutcome.h"
#include "Companion/People/PeopleChoice.h"
#include "Companion/People/PeopleParser.h"
#include "Companion/People/PhoneNumbers.h"
#include "Companion/People/StoreHandles.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

std::string upperCased(std::string text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return text;
}

PhoneNumbers::Hints hints(const std::optional<std::string>& country, const std::optional<StoreHandles>& handles) {
  PhoneNumbers::Hints hints;
  if (country) {
    hints.country = upperCased(*country);
    if (!PhoneNumbers::isCountry(*hints.country))
      throw CompanionFailure("There is no country \"" + display::printable(*country) +
                             "\"; give its two letters, as in --country DE.");
  }
  hints.localeCountry = PhoneNumbers::localeCountry();
  if (handles) hints.storeHandles = handles->all();
  return hints;
}

[[noreturn]] void refuseNobody(const ImportedPeople& imported) {
  const std::string reasons = imported.skipped.empty()
                                  ? "."
                                  : " (" + std::to_string(imported.skipped.size()) +
                                        " skipped, the first for: " + imported.skipped.front().reason + ").";
  throw CompanionFailure("There is nobody to take in the " + std::string(formatName(imported.format)) + reasons);
}

}  // namespace

CommandResult PeopleImportCommand::run(const CompanionContext& context) const {
  std::optional<ImportedPeople> all;
  for (const std::string& source : sources) {
    const Progress progress(source == "-" ? "Reading standard input" : "Reading " + source);
    ImportedPeople imported = parsePeople(input_file::read(source));
    if (imported.problem && sources.size() > 1)
      imported.problem = display::printable(source) + ": " + *imported.problem;
    if (imported.problem) throw CompanionFailure(*imported.problem);
    if (all)
      all->append(std::move(imported));
    else
      all = std::move(imported);
  }
  return run(context, all.value_or(ImportedPeople()));
}

CommandResult PeopleImportCommand::run(const CompanionContext& context, ImportedPeople imported) const {
  if (imported.problem) throw CompanionFailure(*imported.problem);
  const auto handles = StoreHandles::read(context.store);
  const PhoneNumbers numbers(hints(country, handles), imported);
  numbers.normalize(imported);
  if (!only.empty()) people_choice::keepNamed(imported, only);
  if (chooses) people_choice::ask(imported);
  const bool empties = replaces && imported.skipped.empty() && only.empty() && !chooses;
  if (imported.people.empty() && !empties) refuseNobody(imported);
  PeopleEdit edit(context, replaces ? PeopleEdit::Present::mayBeLost : PeopleEdit::Present::needed);
  const auto mode = replaces ? PeopleMerge::Mode::replace : PeopleMerge::Mode::add;
  PeopleMerge merge = PeopleMerge::merge(edit.people(), imported.people, mode);
  ImportOutcome outcome = ImportOutcome::of(std::move(imported), merge, handles);
  outcome.countries = numbers.countries();
  outcome.isTrial = isTrial;
  PeopleEdit::Done done;
  if (!isTrial) done = edit.write(std::move(merge.people));
  outcome.madeKey = done.madeKey;
  const std::string complaint =
      done.recordsLeft.empty()
          ? ""
          : "The lately records of " + display::listed(done.recordsLeft) + " could not be removed.";
  return {json ? companion_json::text(outcome) : outcome.text(context.style), complaint};
}

}  // namespace pellora
