#include "Companion/Commands/PeopleListCommand.h"

#include "Companion/Commands/CompanionJson.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/TextTable.h"
#include "Companion/People/PeopleStore.h"
#include "Companion/People/SharedHandle.h"

namespace pellora {

namespace {

std::string joined(const std::vector<std::string>& texts) {
  std::string result;
  for (const std::string& text : texts) result += (result.empty() ? "" : ", ") + text;
  return result;
}

}  // namespace

CommandResult PeopleListCommand::run(const CompanionContext& context) const {
  const PeopleStore store = PeopleStore::find(context, context.key());
  if (!store.file) throw CompanionFailure(store.sentence(true));
  const auto& people = store.file->people;
  if (json) return {companion_json::text(people), {}};
  if (people.empty()) return {"The people file is empty.\n", {}};
  TextTable table({{"Name"}, {"Numbers"}, {"Addresses"}, {"Identifier", TextTable::Side::left, true}});
  for (const HelperPerson& person : people)
    table.add({person.firstName, joined(person.phones), joined(person.emails), person.id.toString()});
  std::string output = table.render(context.style);
  for (const SharedHandle& shared : SharedHandle::find(people))
    output += context.style.paint(OutputStyle::Ink::yellow, "Warning: " + shared.sentence()) + "\n";
  return {output, {}};
}

}  // namespace pellora
