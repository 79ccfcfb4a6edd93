#include "Companion/Commands/PersonChoice.h"

#include <algorithm>
#include <iterator>

#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/HandleMatcher.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

constexpr std::size_t kCandidatesShown = 10;

struct Candidate {
  Uuid id;
  std::string name;                  // may be empty
  std::vector<std::string> handles;  // normalized
};

std::string normalized(std::string_view handle) {
  return handle.find('@') != std::string_view::npos ? ContactNormalization::email(handle)
                                                    : ContactNormalization::phone(handle);
}

std::vector<Candidate> candidates(const LatelyStore& store) {
  std::vector<Candidate> all;
  for (const HelperPerson& person : store.people) {
    Candidate candidate{person.id, person.firstName, person.phones};
    candidate.handles.insert(candidate.handles.end(), person.emails.begin(), person.emails.end());
    all.push_back(std::move(candidate));
  }
  for (const NamedLately& lately : store.records) {
    const Uuid id = lately.record.personID;
    const bool isKnown = std::any_of(all.begin(), all.end(), [&id](const Candidate& known) { return known.id == id; });
    if (!isKnown) all.push_back({id, {}, {normalized(lately.record.handle)}});
  }
  return all;
}

bool looksLikeHandle(std::string_view text) {
  return text.find('@') != std::string_view::npos ||
         text.find_first_not_of("+0123456789 -.()/") == std::string_view::npos;
}

std::vector<Candidate> matching(std::string_view wanted, const std::vector<Candidate>& all) {
  const auto where = [&all](auto isMeant) {
    std::vector<Candidate> found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found), isMeant);
    return found;
  };
  if (const auto id = Uuid::parse(wanted)) return where([&id](const Candidate& one) { return one.id == *id; });
  auto named =
      where([wanted](const Candidate& one) { return !one.name.empty() && text::equalIgnoringCase(one.name, wanted); });
  if (!named.empty() || !looksLikeHandle(wanted)) return named;
  const std::string handle = normalized(wanted);
  return where([&handle](const Candidate& one) {
    return !handle.empty() && std::find(one.handles.begin(), one.handles.end(), handle) != one.handles.end();
  });
}

std::string names(const std::vector<Candidate>& some, bool withIdentifiers) {
  std::vector<std::string> texts;
  for (const Candidate& one : some) {
    if (texts.size() == kCandidatesShown) break;
    const std::string name = display::printable(one.name);
    const std::string id = one.id.toString();
    texts.push_back(name.empty() ? id : withIdentifiers ? name + " (" + id + ")" : name);
  }
  if (some.size() > kCandidatesShown) texts.push_back(std::to_string(some.size() - kCandidatesShown) + " more");
  return display::listed(texts);
}

}  // namespace

PersonChoice PersonChoice::find(std::string_view wanted, const LatelyStore& store) {
  const std::string text = text::repairedUtf8(text::trimmed(wanted));
  if (text.empty())
    throw CompanionFailure("An empty text names nobody; give a first name, number, address or identifier.");
  const auto all = candidates(store);
  const auto found = matching(text, all);
  const std::string shown = "\"" + display::printable(text) + "\"";
  if (found.size() > 1)
    throw CompanionFailure(shown + " may be any of " + names(found, true) + "; give the identifier.");
  if (found.empty())
    throw CompanionFailure("There is nobody called " + shown +
                           (all.empty() ? ", and no people yet." : "; there are " + names(all, false) + "."));
  const std::string title = found.front().name.empty() ? found.front().id.toString() : found.front().name;
  return {found.front().id, title};
}

}  // namespace pellora
