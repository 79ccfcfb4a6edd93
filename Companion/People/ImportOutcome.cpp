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

}  // namespace

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
  for (const SharedHandle& handle : shared)
    text += style.paint(OutputStyle::Ink::yellow, "Warning: " + handle.sentence()) + "\n";
  if (madeKey) text += "Created the exchange key.\n";
  const std::string state = display::counted(total, "person", "people");
  text += isTrial ? "Nothing was written; the people file would hold " + state + ".\n"
                  : "The people file now holds " + state + ".\n";
  return text;
}

}  // namespace pellora
