#include <algorithm>

#include "Companion/Commands/Commands.h"
#include "Companion/Commands/CompanionJson.h"
#include "Companion/Commands/PeopleEdit.h"
#include "Companion/Commands/PersonChoice.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "Companion/People/StoreHandles.h"
#include "PelloraMessagesCore/Json/JsonValue.h"

namespace pellora {

CommandResult PeopleRemoveCommand::run(const CompanionContext& context) const {
  PeopleEdit edit(context, PeopleEdit::Present::needed);
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
  if (!done.recordsLeft.empty()) result.complaint = "The lately record of " + title + " could not be removed.";
  if (json)
    result.output = companion_json::line(JsonValue::object({{"removed", choice.id.toString()}, {"left", left}}));
  else
    result.output = "Removed " + title + " and the lately record; " + display::counted(left, "person", "people") +
                    " left. The days go from the notes at the next read.\n";
  return result;
}

}  // namespace pellora
