// Which of an address book's people to take: by name, or asked on the terminal. Everybody else is left out silently.
// Throws CompanionFailure. Tested by Tests/Companion/PeopleCommandTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Companion/People/ContactCard.h"

namespace pellora::people_choice {

// People whose whole name, else whose first name is one of these, ignoring case. A name that nobody has, or a first
// name that several have, is a failure that tells them apart.
void keepNamed(ImportedPeople& imported, const std::vector<std::string>& names);

// Shows a numbered list and asks for numbers: "1 3-5". Fails without a terminal.
void ask(ImportedPeople& imported);

// The places (from 0) that "1, 3-5" means of so many; absent when it means none or others too.
std::optional<std::vector<bool>> chosen(std::string_view answer, std::size_t count);

}  // namespace pellora::people_choice
