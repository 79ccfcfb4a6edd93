#include "Companion/Commands/SweepCommand.h"

#include "Companion/Commands/CompanionJson.h"
#include "Companion/Lately/LatelyStore.h"
#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"

namespace pellora {

CommandResult SweepCommand::run(const CompanionContext& context) const {
  const ExchangeKey key = context.key();
  LatelyStore::countFiles(context);  // nothing is said to be swept that could not be looked at
  const std::size_t removed = MessagesLatelyInbox::sweep(key, context.folder);
  const LatelyStore store = LatelyStore::read(context, key);
  CommandResult result;
  if (store.unreadable > 0)
    result.complaint = display::counted(store.unreadable, "file", "files") + " could not be removed.";
  if (json)
    result.output = companion_json::sweepText(removed, store.records.size());
  else
    result.output = "Removed " + display::counted(removed, "file", "files") + ", kept " +
                    display::counted(store.records.size(), "lately record", "lately records") + ".\n";
  return result;
}

}  // namespace pellora
