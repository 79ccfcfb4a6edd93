// People out of a JSON list of {"id", "firstName", "phones", "emails"} or an object that has such a list as
// "people". "name" may stand for "firstName", "phone" and "email" for the lists, a single text for a list. And out of
// jCards (RFC 7095), one or a list of them. Total. Tested by Tests/Companion/JsonPeopleTests.cpp.
#pragma once

#include <string_view>

#include "Companion/People/ImportedPeople.h"

namespace pellora {

ImportedPeople parseJsonPeople(std::string_view json);

}  // namespace pellora
