#include <unordered_set>

#include "Companion/Commands/Commands.h"
#include "Companion/Commands/CompanionJson.h"
#include "Companion/History/StoreProbe.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/Output/TextTable.h"
#include "Companion/People/PeopleStore.h"
#include "Companion/People/StoreHandles.h"
#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Time/IsoDate.h"

namespace pellora {

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
    // One writes with whom one answers.
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
  if (found.empty()) return {"Everybody with whom you write is among the people.\n", {}};
  using Side = TextTable::Side;
  TextTable table(
      {{"Number or address", Side::left, true}, {"Sent", Side::right}, {"Received", Side::right}, {"Last"}});
  for (const auto& each : found)
    table.add({each.handle, std::to_string(each.sent), std::to_string(each.received),
               date_text::date(each.lastMessageAt, context.now, context.calendar)});
  return {table.render(context.style) +
              "Name whom you want in a table of two columns, as in\n"
              "  printf 'First name,Phone\\nAda,%s\\n' '" +
              display::printable(found.front().handle) + "' | pellora-companion people import -\n",
          {}};
}

}  // namespace pellora
