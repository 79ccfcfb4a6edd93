// People out of a table whose first line names the columns: separated by commas, semicolons or tabs (found out),
// several number and address columns, several values in one field. Total, linear.
// Tested by Tests/Companion/CsvPeopleTests.cpp.
#pragma once

#include <string_view>

#include "Companion/People/ImportedPeople.h"

namespace pellora {

ImportedPeople parseCsvPeople(std::string_view text);

}  // namespace pellora
