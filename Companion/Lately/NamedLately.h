// A lately record and what its person is called.
#pragma once

#include <optional>
#include <string>

#include "PelloraMessagesCore/MessagesLatelyRecord.h"

namespace pellora {

struct NamedLately {
  std::optional<std::string> name;  // absent when the person is not in the people file, or has no name there
  MessagesLatelyRecord record;

  // The name, else the identifier.
  std::string title() const { return name.value_or(record.personID.toString()); }
};

}  // namespace pellora
