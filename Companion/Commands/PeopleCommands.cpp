#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <system_error>
#include <unordered_set>
#include <vector>

#include "Companion/Commands/ChangeLock.h"
#include "Companion/Commands/Commands.h"
#include "Companion/Commands/CompanionJson.h"
#include "Companion/Commands/PersonChoice.h"
#include "Companion/CompanionContext.h"
#include "Companion/History/StoreProbe.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/ForeignText.h"
#include "Companion/Output/OutputFile.h"
#include "Companion/Output/OutputStyle.h"
#include "Companion/Output/Terminal.h"
#include "Companion/People/PeopleChoice.h"
#include "Companion/People/PeopleMerge.h"
#include "Companion/People/PeopleParser.h"
#include "Companion/People/PhoneNumbers.h"
#include "Companion/People/StoreHandles.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"
#include "PelloraMessagesCore/Text/Text.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

namespace {

// A change of the people file under a lock, so that two at once follow one another: what is there is read, the new
// list is written, the lately records of people who are gone go too, and a running helper is asked to read. Nothing is
// overwritten that cannot be read, unless asked for. Throws CompanionFailure.
// Tested by Tests/Companion/PeopleCommandTests.cpp.
class PeopleEdit {
 public:
  enum class Present { needed, mayBeLost };  // a people file that cannot be read
  enum class Purpose { change, trial };      // a trial needs no lock

  PeopleEdit(const CompanionContext& context, Present present, Purpose purpose);

  std::vector<HelperPerson> people() const { return _store.people(); }

  struct Done {
    bool madeKey = false;
    std::vector<std::string> recordsLeft;  // names of removed people whose lately record could not be removed
  };
  Done write(std::vector<HelperPerson> people);

 private:
  const CompanionContext& _context;
  std::shared_ptr<void> _lock;
  KeyState _key;
  PeopleStore _store;
};

constexpr std::chrono::seconds kLockPatience{30};
constexpr char kLockFile[] = "people.lock";

// The state with a key, or with none although the store can be asked: one may be made then.
KeyState keyState(const CompanionContext& context) {
  KeyState state = KeyState::find(context.secrets);
  if (!state.key && state.kind != KeyState::Kind::none) throw CompanionFailure(state.sentence());
  return state;
}

// The key that is there, else a new one.
ExchangeKey keyForWriting(const CompanionContext& context, const KeyState& state, bool& madeKey) {
  if (state.key) return *state.key;
  std::string reason;
  const auto key = ExchangeKeychain::loadOrCreate(context.secrets, &reason);
  // A keyring that takes no key is as good as none.
  if (!key) throw CompanionFailure(KeyState{KeyState::Kind::unavailable, reason, {}}.sentence());
  madeKey = true;
  return *key;
}

}  // namespace

PeopleEdit::PeopleEdit(const CompanionContext& context, Present present, Purpose purpose) : _context(context) {
  if (!context.folder) throw CompanionFailure("There is no home folder to keep the people file in.");
  if (purpose == Purpose::change) _lock = change_lock::take(context, kLockFile, "changing the people", kLockPatience);
  _key = keyState(context);
  _store = PeopleStore::find(context, _key.key);
  if (present == Present::mayBeLost || _store.file || _store.kind == PeopleStore::Kind::missing) return;
  std::string sentence = _store.sentence(_key.key.has_value());
  sentence.pop_back();
  std::string remedy;
  if (_store.kind == PeopleStore::Kind::sealed)
    remedy = _key.key
                 ? " (people import --replace writes it again)"
                 : " (is PELLORA_SECRET_STORE set as when it was written? Otherwise people import --replace writes "
                   "it again, with a new key)";
  throw CompanionFailure(sentence + "; nothing was changed" + remedy + ".");
}

PeopleEdit::Done PeopleEdit::write(std::vector<HelperPerson> people) {
  Done done;
  const InterruptionGuard guard;
  const ExchangeKey key = keyForWriting(_context, _key, done.madeKey);
  const std::vector<HelperPerson> before = _store.people();
  if (_store.file && before == people) return done;
  // First, so that a command that is killed in between can be repeated.
  for (const HelperPerson& person : before) {
    const bool stays = std::any_of(people.begin(), people.end(),
                                   [&person](const HelperPerson& other) { return other.id == person.id; });
    if (stays) continue;
    std::error_code error;
    const auto record = *_context.folder / HelperExchange::kLatelyFolder / (person.id.toString() + ".json");
    const bool isAbsent =
        std::filesystem::symlink_status(record, error).type() == std::filesystem::file_type::not_found;
    if (!isAbsent && !MessagesLatelyInbox::remove(_context.folder, person.id))
      done.recordsLeft.push_back(personTitle(person, before));
  }
  HelperPeopleFile{_context.now, std::move(people)}.write(key, _context.folder);
  platform_adapters::askHelperToRead();
  return done;
}

namespace {

std::string upperCased(std::string text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return text;
}

// Of address books that are not in UTF-8 and do not say what they are.
const char* usualCharset() {
  for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"})
    if (const char* locale = std::getenv(name); locale != nullptr && *locale != '\0')
      return foreign_text::charsetOf(locale);
  return foreign_text::kWestern;
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
  throw CompanionFailure("There is nobody to import in the " + std::string(formatName(imported.format)) + reasons);
}

// The problem of a file, "The file is ...", with the file's name.
std::string withName(const std::string& source, const std::string& problem) {
  constexpr std::string_view kTheFile = "The file";
  const std::string name = source == "-" ? "Standard input" : display::printable(source);
  return problem.starts_with(kTheFile) ? name + problem.substr(kTheFile.size()) : name + ": " + problem;
}

}  // namespace

CommandResult PeopleImportCommand::run(const CompanionContext& context) const {
  std::optional<ImportedPeople> all;
  for (const std::string& source : sources) {
    const Progress progress(source == "-" ? "Reading standard input" : "Reading " + source);
    ImportedPeople imported = parsePeople(input_file::read(source), usualCharset());
    if (imported.problem) throw CompanionFailure(withName(source, *imported.problem));
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
  PeopleEdit edit(context, replaces ? PeopleEdit::Present::mayBeLost : PeopleEdit::Present::needed,
                  isTrial ? PeopleEdit::Purpose::trial : PeopleEdit::Purpose::change);
  const auto mode = replaces ? PeopleMerge::Mode::replace : PeopleMerge::Mode::add;
  PeopleMerge merge = PeopleMerge::merge(edit.people(), imported.people, mode);
  ImportOutcome outcome = ImportOutcome::of(std::move(imported), merge, handles);
  if (numbers.needsCountry()) outcome.countries = numbers.countries();
  outcome.isTrial = isTrial;
  PeopleEdit::Done done;
  if (!isTrial) done = edit.write(std::move(merge.people));
  outcome.madeKey = done.madeKey;
  const std::string complaint = done.recordsLeft.empty()
                                    ? ""
                                    : "The lately records of " + display::listed(done.recordsLeft) +
                                          " could not be removed; pellora-companion sweep tries again.";
  return {json ? companion_json::text(outcome) : outcome.text(context.style), complaint};
}

namespace {

constexpr std::size_t kShortestNumber = 7;  // digits; services have shorter ones

std::string joined(const std::vector<std::string>& texts) {
  std::string result;
  for (const std::string& text : texts) result += (result.empty() ? "" : ", ") + text;
  return result;
}

// Somebody's, by how the store spells it: short codes and names of services are nobody's.
bool isPersons(const std::string& normalized) {
  return normalized.find('@') != std::string::npos || normalized.size() >= kShortestNumber;
}

std::vector<ChatDatabase::Correspondent> unclaimed(const CompanionContext& context, std::size_t count) {
  const StoreProbe probe = StoreProbe::of(context.store);
  if (!probe.isReadable()) throw CompanionFailure(probe.sentence() + " " + probe.nextStep());
  std::unordered_set<std::string> claimed;
  const KeyState key = KeyState::find(context.secrets);
  for (const HelperPerson& person : PeopleStore::find(context, key.key).people()) {
    claimed.insert(person.phones.begin(), person.phones.end());
    claimed.insert(person.emails.begin(), person.emails.end());
  }
  std::vector<ChatDatabase::Correspondent> found;
  for (ChatDatabase::Correspondent& each : ChatDatabase(context.store).correspondents()) {
    const std::string handle = normalizedHandle(each.handle);
    // Nobody corresponds with senders that they never answer.
    if (found.size() == count || each.sent == 0 || !isPersons(handle) || !claimed.insert(handle).second) continue;
    found.push_back(std::move(each));
  }
  return found;
}

}  // namespace

CommandResult PeopleListCommand::run(const CompanionContext& context) const {
  const PeopleStore store = PeopleStore::find(context, context.key());
  if (!store.file) throw CompanionFailure(store.sentence(true));
  const auto& people = store.file->people;
  const auto handles = StoreHandles::read(context.store);
  if (json) return {companion_json::text(people, handles), {}};
  if (people.empty()) return {"The people file is empty.\n", {}};
  TextTable table({{"Name"}, {"Numbers"}, {"Addresses"}, {"Identifier", TextTable::Side::left, true}});
  std::vector<std::string> notFound;
  for (const HelperPerson& person : people) {
    table.add({person.firstName, joined(person.phones), joined(person.emails), person.id.toString()});
    if (handles && !handles->has(person)) notFound.push_back(display::printable(personTitle(person, people)));
  }
  std::string output = table.render(context.style);
  if (handles)
    output += std::to_string(people.size() - notFound.size()) + " of " + std::to_string(people.size()) +
              " in Messages" + (notFound.empty() ? "" : "; not found: " + joined(notFound)) + ".\n";
  for (const SharedHandle& shared : SharedHandle::find(people))
    output += context.style.paint(OutputStyle::Ink::yellow, "Warning: " + shared.sentence()) + "\n";
  return {output, {}};
}

CommandResult PeopleSuggestCommand::run(const CompanionContext& context) const {
  const auto found = unclaimed(context, count);
  if (json) {
    const auto told = [](const ChatDatabase::Correspondent& each) {
      return JsonValue::object({{"handle", each.handle},
                                {"sent", each.sent},
                                {"received", each.received},
                                {"lastMessageAt", IsoDate::text(each.lastMessageAt)}});
    };
    return {companion_json::line(JsonValue::array(found, told)), {}};
  }
  if (found.empty()) return {"Everybody you write with is already among the people.\n", {}};
  using Side = TextTable::Side;
  TextTable table(
      {{"Number or address", Side::left, true}, {"Sent", Side::right}, {"Received", Side::right}, {"Last"}});
  for (const auto& each : found)
    table.add({each.handle, std::to_string(each.sent), std::to_string(each.received),
               date_text::date(each.lastMessageAt, context.now, context.calendar)});
  return {table.render(context.style) +
              "Put the ones you want into a table of two columns, as in\n"
              "  printf 'First name,Phone\\nAda,%s\\n' '" +
              display::printable(found.front().handle) + "' | pellora-companion people import -\n",
          {}};
}

CommandResult PeopleRemoveCommand::run(const CompanionContext& context) const {
  PeopleEdit edit(context, PeopleEdit::Present::needed, PeopleEdit::Purpose::change);
  LatelyStore known;
  known.people = edit.people();
  const PersonChoice choice = PersonChoice::find(person, known);
  std::vector<HelperPerson> rest = edit.people();
  const auto removed =
      std::find_if(rest.begin(), rest.end(), [&choice](const HelperPerson& each) { return each.id == choice.id; });
  if (removed == rest.end()) throw CompanionFailure("There is nobody with this identifier among the people.");
  const std::string title = display::printable(personTitle(*removed, rest));
  rest.erase(removed);
  const std::size_t left = rest.size();
  const PeopleEdit::Done done = edit.write(std::move(rest));
  CommandResult result;
  if (!done.recordsLeft.empty())
    result.complaint = "The lately record of " + title + " could not be removed; pellora-companion sweep tries again.";
  if (json)
    result.output = companion_json::line(JsonValue::object({{"removed", choice.id.toString()}, {"left", left}}));
  else
    result.output = "Removed " + title + " and the lately record; " + display::counted(left, "person", "people") +
                    " left. The days leave the notes at the next read.\n";
  return result;
}

}  // namespace pellora
