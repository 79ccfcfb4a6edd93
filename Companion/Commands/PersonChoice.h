// Finds the one person that somebody means: by identifier, number, address or first name, ignoring case. An empty
// text means nobody, not even somebody without a name. Pure.
// Tested by Tests/Companion/CommandTests.cpp.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Companion/Lately/LatelyStore.h"
#include "PelloraMessagesCore/Text/Uuid.h"

namespace pellora {

struct PersonChoice {
  Uuid id;
  std::string title;  // the name, else the identifier

  // Among the people of the people file and of the records. Throws CompanionFailure that names the candidates when
  // nobody or more than one is meant.
  static PersonChoice find(std::string_view wanted, const LatelyStore& store);
};

}  // namespace pellora
