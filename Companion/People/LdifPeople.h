// People out of LDIF (RFC 2849) as mail programs and directories write it: entries between empty lines, folded lines,
// values in base64 behind "::". Total, linear. Tested by Tests/Companion/CorpusTests.cpp.
#pragma once

#include <string_view>

#include "Companion/People/ImportedPeople.h"

namespace pellora {

// Whether a line names an entry.
bool containsLdif(std::string_view text);

ImportedPeople parseLdifPeople(std::string_view text);

}  // namespace pellora
