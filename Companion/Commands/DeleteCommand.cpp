#include "Companion/Commands/DeleteCommand.h"

#include <system_error>

#include "Companion/Commands/CompanionJson.h"
#include "Companion/Commands/PersonChoice.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"

namespace pellora {

namespace {

// Surely absent: a file that cannot be looked at may be there.
bool isAbsent(const std::filesystem::path& file) {
  std::error_code error;
  return std::filesystem::symlink_status(file, error).type() == std::filesystem::file_type::not_found;
}

}  // namespace

CommandResult DeleteCommand::run(const CompanionContext& context) const {
  const auto id = Uuid::parse(person);
  const PersonChoice choice =
      id ? PersonChoice{*id, id->toString()} : PersonChoice::find(person, LatelyStore::read(context, context.key()));
  const std::string title = display::printable(choice.title);
  if (!context.folder || isAbsent(LatelyStore::file(*context.folder, choice.id)))
    throw CompanionFailure("There is no lately record of " + title + ".");
  if (!MessagesLatelyInbox::remove(context.folder, choice.id))
    throw CompanionFailure("The lately record of " + title + " cannot be removed.");
  if (json) return {companion_json::deletedText(choice.id), {}};
  return {"Removed the lately record of " + title +
              ". The next read writes a new one while the person is in the people file.\n",
          {}};
}

}  // namespace pellora
