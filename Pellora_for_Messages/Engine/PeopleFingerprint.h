// A short text that changes whenever the people file's people, numbers or addresses do: 64-bit FNV-1a over them in
// file order. Not for security. Tested by Tests/App/PeopleFingerprintTests.cpp.
#pragma once

#include <string>
#include <vector>

#include "PelloraMessagesCore/HelperPeopleFile.h"

namespace pellora {

// Lower-case hexadecimal without leading zeros.
std::string peopleFingerprint(const std::vector<HelperPerson>& people);

// The same of their first names, on which birthdays and sentences depend, and which the other one leaves out.
std::string namesFingerprint(const std::vector<HelperPerson>& people);

}  // namespace pellora
