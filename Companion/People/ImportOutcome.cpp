#include "Companion/People/ImportOutcome.h"

#include <algorithm>

#include "Companion/Output/DisplayText.h"
#include "Companion/Output/TextTable.h"

namespace pellora {

namespace {

using Kind = PersonChange::Kind;

constexpr Kind kKinds[] = {Kind::added, Kind::updated, Kind::unchanged, Kind::removed};

bool contains(const std::vector<std::string>& texts, const std::string& text) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

void appendDifferences(const std::vector<std::string>& before, const std::vector<std::string>& after,
                       std::vector<std::string>& parts) {
  for (const std::string& handle : after)
    if (!contains(before, handle)) parts.push_back("+ " + handle);
  for (const std::string& handle : before)
    if (!contains(after, handle)) parts.push_back("- " + handle);
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
  return text;
}

std::string details(const PersonChange& change) {
  std::vector<std::string> parts;
  if (change.kind == Kind::updated) {
    if (change.before.firstName != change.after.firstName) parts.push_back("was " + change.before.firstName);
    appendDifferences(change.before.phones, change.after.phones, parts);
    appendDifferences(change.before.emails, change.after.emails, parts);
    return joined(parts);
  }
  parts = change.person().phones;
  parts.insert(parts.end(), change.person().emails.begin(), change.person().emails.end());
  return joined(parts);
}

std::string headline(const ImportOutcome& outcome) {
  const auto taken = std::count_if(outcome.changes.begin(), outcome.changes.end(),
                                   [](const PersonChange& change) { return change.kind != Kind::removed; });
  std::string counts;
  for (const Kind kind : kKinds) {
    const auto count = std::count_if(outcome.changes.begin(), outcome.changes.end(),
                                     [kind](const PersonChange& change) { return change.kind == kind; });
    if (count > 0) counts += (counts.empty() ? "" : ", ") + std::to_string(count) + " " + std::string(changeName(kind));
  }
  return (outcome.isTrial ? "Would take " : "Took ") +
         display::counted(static_cast<std::size_t>(taken), "person", "people") + " from the " +
         std::string(formatName(outcome.format)) + ": " + counts + ".\n";
}

constexpr std::size_t kNamesShown = 20;

std::string appearanceText(std::size_t appearing, const std::vector<std::string>& notFound) {
  const std::size_t count = appearing + notFound.size();
  std::string text = std::to_string(appearing) + " of " + display::counted(count, "person", "people") + " " +
                     (appearing == 1 || count == 1 ? "appears" : "appear") + " in Messages";
  if (notFound.empty()) return text + ".\n";
  std::vector<std::string> names(
      notFound.begin(), notFound.begin() + static_cast<std::ptrdiff_t>(std::min(notFound.size(), kNamesShown)));
  if (notFound.size() > kNamesShown) names.push_back(std::to_string(notFound.size() - kNamesShown) + " more");
  return text + "; not found: " + display::printable(joined(names)) + ".\n";
}

}  // namespace

ImportOutcome ImportOutcome::of(ImportedPeople imported, const PeopleMerge& merge,
                                const std::optional<StoreHandles>& handles) {
  ImportOutcome outcome;
  outcome.format = imported.format;
  outcome.changes = merge.changes;
  outcome.shared = SharedHandle::find(merge.people);
  outcome.total = merge.people.size();
  for (const ImportedPerson& person : imported.people)
    for (const std::string& remark : person.remarks) outcome.remarks.push_back(person.entry + ": " + remark);
  outcome.skipped = std::move(imported.skipped);
  outcome.usedColumns = std::move(imported.usedColumns);
  outcome.unusedColumns = std::move(imported.unusedColumns);
  if (!handles) return outcome;
  outcome.appearing = 0;
  for (const PersonChange& change : merge.changes) {
    if (change.kind == PersonChange::Kind::removed) continue;
    if (handles->has(change.after))
      ++*outcome.appearing;
    else
      outcome.notFound.push_back(personTitle(change.after, merge.people));
  }
  return outcome;
}

std::string ImportOutcome::text(const OutputStyle& style) const {
  std::string text = style.paint(OutputStyle::Ink::bold, headline(*this));
  TextTable table({{""}, {""}, {""}});
  for (const PersonChange& change : changes) {
    const HelperPerson& person = change.person();
    table.add({std::string(changeName(change.kind)), person.firstName.empty() ? "(no name)" : person.firstName,
               details(change)});
  }
  text += table.render(style, "  ");
  if (!skipped.empty()) {
    text += "Skipped " + display::counted(skipped.size(), "entry", "entries") + ":\n";
    TextTable reasons({{""}, {""}});
    for (const SkippedEntry& entry : skipped) reasons.add({entry.entry, entry.reason});
    text += reasons.render(style, "  ");
  }
  for (const std::string& remark : remarks) text += "Left out: " + display::printable(remark) + ".\n";
  if (!usedColumns.empty()) text += "Columns used: " + joined(usedColumns) + ".\n";
  if (!unusedColumns.empty()) text += "Columns not used: " + joined(unusedColumns) + ".\n";
  if (!countries.empty() && !changes.empty() && changes.front().kind != PersonChange::Kind::removed)
    text += "Numbers without a country's code were read as of " + joined(countries) + " (--country names another).\n";
  if (appearing && *appearing + notFound.size() > 0) text += appearanceText(*appearing, notFound);
  for (const SharedHandle& handle : shared)
    text += style.paint(OutputStyle::Ink::yellow, "Warning: " + handle.sentence()) + "\n";
  if (madeKey) text += "Created the exchange key.\n";
  const std::string state = display::counted(total, "person", "people");
  text += isTrial ? "Nothing was written; the people file would hold " + state + ".\n"
                  : "The people file now holds " + state + ".\n";
  return text;
}

}  // namespace pellora
