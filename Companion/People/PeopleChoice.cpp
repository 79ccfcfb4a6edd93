#include "Companion/People/PeopleChoice.h"

#include <algorithm>
#include <charconv>

#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/Terminal.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::people_choice {

namespace {

std::string told(const ImportedPerson& person) {
  const std::string& handle = person.phones.empty() ? person.emails.front() : person.phones.front();
  return display::printable(person.entry) + " (" + display::printable(handle) + ")";
}

void keep(ImportedPeople& imported, const std::vector<bool>& wanted) {
  std::vector<ImportedPerson> people;
  for (std::size_t index = 0; index < imported.people.size(); ++index)
    if (wanted[index]) people.push_back(std::move(imported.people[index]));
  imported.people = std::move(people);
  imported.skipped.clear();  // about people that nobody asked for
}

}  // namespace

void keepNamed(ImportedPeople& imported, const std::vector<std::string>& names) {
  const auto& people = imported.people;
  std::vector<bool> wanted(people.size(), false);
  for (const std::string& given : names) {
    const std::string name = text::repairedUtf8(text::trimmed(given));
    std::vector<std::size_t> found;
    for (const auto member : {&ImportedPerson::entry, &ImportedPerson::firstName}) {
      if (!found.empty()) break;
      for (std::size_t index = 0; index < people.size(); ++index)
        if (text::equalIgnoringCase(people[index].*member, name)) found.push_back(index);
    }
    const std::string shown = "\"" + display::printable(name) + "\"";
    if (found.empty()) throw CompanionFailure("There is nobody called " + shown + " to take; nothing was changed.");
    std::vector<std::string> candidates;
    for (const std::size_t index : found) candidates.push_back(told(people[index]));
    const bool isWhole = text::equalIgnoringCase(people[found.front()].entry, name);
    if (found.size() > 1 && !isWhole)
      throw CompanionFailure(shown + " may be any of " + display::listed(candidates) + "; give the whole name.");
    for (const std::size_t index : found) wanted[index] = true;
  }
  keep(imported, wanted);
}

std::optional<std::vector<bool>> chosen(std::string_view answer, std::size_t count) {
  std::vector<bool> wanted(count, false);
  bool isAny = false;
  const char* at = answer.data();
  const char* end = at + answer.size();
  while (at < end) {
    if (*at == ' ' || *at == ',') {
      ++at;
      continue;
    }
    std::size_t first = 0;
    auto [next, error] = std::from_chars(at, end, first);
    if (error != std::errc()) return std::nullopt;
    std::size_t last = first;
    if (next < end && *next == '-') {
      const auto range = std::from_chars(next + 1, end, last);
      if (range.ec != std::errc()) return std::nullopt;
      next = range.ptr;
    }
    if (first < 1 || last < first || last > count) return std::nullopt;
    for (std::size_t number = first; number <= last; ++number) wanted[number - 1] = true;
    isAny = true;
    at = next;
  }
  return isAny ? std::optional(wanted) : std::nullopt;
}

void ask(ImportedPeople& imported) {
  if (!terminal::isThere()) throw CompanionFailure("There is no terminal to ask on; name the people with --only NAME.");
  for (std::size_t index = 0; index < imported.people.size(); ++index)
    terminal::show(std::to_string(index + 1) + "  " + told(imported.people[index]) + "\n");
  const auto answer = terminal::line("Whom to take (such as 1 3-5)?");
  const auto wanted = answer ? chosen(*answer, imported.people.size()) : std::nullopt;
  if (!wanted) throw CompanionFailure("Nobody was chosen; nothing was changed.");
  keep(imported, *wanted);
}

}  // namespace pellora::people_choice
