#include "Companion/People/PeopleMerge.h"

#include <openssl/evp.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>
#include <unordered_map>

#include "Companion/Output/DisplayText.h"
#include "Companion/Output/OutputStyle.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

constexpr std::string_view kUuidScheme = "urn:uuid:";
constexpr std::size_t kShortestGlobalUid = 10;  // shorter ones may be row numbers, of which every table has a "1"

std::string folded(const std::string& name) {
  std::string result;
  icu::UnicodeString::fromUTF8(text::canonical(name)).foldCase().toUTF8String(result);
  return text::canonical(result);
}

std::optional<Uuid> identifier(const ImportedPerson& person) {
  std::string_view uid = person.uid;
  if (uid.empty()) return std::nullopt;
  if (const auto scheme = text::prefixLengthIgnoringCase(uid, kUuidScheme)) uid.remove_prefix(*scheme);
  if (const auto uuid = Uuid::parse(uid.substr(0, uid.find(':')))) return uuid;
  const bool isShort = uid.size() < kShortestGlobalUid;
  return stableUuid(isShort ? std::string(uid) + " " + folded(person.firstName) : std::string(uid));
}

bool sameTexts(std::vector<std::string> left, std::vector<std::string> right) {
  std::sort(left.begin(), left.end());
  std::sort(right.begin(), right.end());
  return left == right;
}

void unite(std::vector<std::string>& texts, const std::vector<std::string>& more) {
  for (const std::string& text : more)
    if (std::find(texts.begin(), texts.end(), text) == texts.end()) texts.push_back(text);
}

class Merger {
 public:
  explicit Merger(const std::vector<HelperPerson>& present) {
    for (const HelperPerson& person : present) append({person, person, true, false});
  }

  void take(const ImportedPerson& imported) {
    const auto id = identifier(imported);
    std::optional<std::size_t> known = id ? findId(*id) : std::nullopt;
    if (!known) known = findNamesake(imported);
    if (!known) {
      const HelperPerson person{id.value_or(Uuid::random()), imported.firstName, imported.phones, imported.emails};
      append({{}, person, false, true});
      return;
    }
    Entry& entry = _entries[*known];
    HelperPerson& person = entry.person;
    if (entry.isTaken) {
      unite(person.phones, imported.phones);
      unite(person.emails, imported.emails);
      index(*known);
      return;
    }
    entry.isTaken = true;
    if (!imported.firstName.empty()) person.firstName = imported.firstName;
    if (!sameTexts(person.phones, imported.phones)) person.phones = imported.phones;
    if (!sameTexts(person.emails, imported.emails)) person.emails = imported.emails;
    index(*known);
  }

  PeopleMerge finish(PeopleMerge::Mode mode) const {
    PeopleMerge result;
    std::vector<PersonChange> removed;
    for (const Entry& entry : _entries) {
      if (!entry.isTaken && mode == PeopleMerge::Mode::replace) {
        removed.push_back({PersonChange::Kind::removed, entry.before, {}});
        continue;
      }
      result.people.push_back(entry.person);
      if (!entry.isTaken) continue;
      using Kind = PersonChange::Kind;
      const Kind kind = !entry.wasThere ? Kind::added : entry.before == entry.person ? Kind::unchanged : Kind::updated;
      result.changes.push_back({kind, entry.before, entry.person});
    }
    result.changes.insert(result.changes.end(), removed.begin(), removed.end());
    return result;
  }

 private:
  struct Entry {
    HelperPerson before;
    HelperPerson person;
    bool wasThere = false;
    bool isTaken = false;  // by this import
  };

  static std::string nameKey(const std::string& foldedName, const std::string& handle) {
    return foldedName + '\n' + handle;
  }

  void append(Entry entry) {
    _entries.push_back(std::move(entry));
    index(_entries.size() - 1);
  }

  void index(std::size_t position) {
    const HelperPerson& person = _entries[position].person;
    _byId.emplace(person.id, position);
    const std::string name = folded(person.firstName);
    for (const auto* handles : {&person.phones, &person.emails})
      for (const std::string& handle : *handles) _byName.emplace(nameKey(name, handle), position);
  }

  std::optional<std::size_t> findId(const Uuid& id) const {
    const auto found = _byId.find(id);
    return found == _byId.end() ? std::nullopt : std::optional(found->second);
  }

  std::optional<std::size_t> findNamesake(const ImportedPerson& imported) const {
    const std::string name = folded(imported.firstName);
    for (const auto* handles : {&imported.phones, &imported.emails})
      for (const std::string& handle : *handles)
        if (const auto found = _byName.find(nameKey(name, handle)); found != _byName.end()) return found->second;
    return std::nullopt;
  }

  std::vector<Entry> _entries;
  std::unordered_map<Uuid, std::size_t> _byId;
  std::unordered_map<std::string, std::size_t> _byName;
};

}  // namespace

Uuid stableUuid(std::string_view text) {
  const std::string named = "app.pellora.messages person " + std::string(text);
  std::array<std::uint8_t, 32> digest{};
  if (EVP_Digest(named.data(), named.size(), digest.data(), nullptr, EVP_sha256(), nullptr) != 1)
    throw std::runtime_error("The cryptographic library cannot compute SHA-256.");
  std::array<std::uint8_t, 16> bytes{};
  std::copy_n(digest.begin(), bytes.size(), bytes.begin());
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x80);
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
  return Uuid(bytes);
}

PeopleMerge PeopleMerge::merge(const std::vector<HelperPerson>& present, const std::vector<ImportedPerson>& imported,
                               Mode mode) {
  Merger merger(present);
  for (const ImportedPerson& person : imported) merger.take(person);
  return merger.finish(mode);
}

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

constexpr std::size_t kNotFoundShown = 20;

std::string appearanceText(std::size_t appearing, const std::vector<std::string>& notFound) {
  const std::size_t count = appearing + notFound.size();
  std::string text = std::to_string(appearing) + " of " + display::counted(count, "person", "people") + " " +
                     (appearing == 1 || count == 1 ? "appears" : "appear") + " in Messages";
  if (notFound.empty()) return text + ".\n";
  std::vector<std::string> names(
      notFound.begin(), notFound.begin() + static_cast<std::ptrdiff_t>(std::min(notFound.size(), kNotFoundShown)));
  if (notFound.size() > kNotFoundShown) names.push_back(std::to_string(notFound.size() - kNotFoundShown) + " more");
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
    text += "Numbers without a country code were read as numbers from " + joined(countries) +
            " (--country changes that).\n";
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
