// Writes to standard output so that nothing is lost unnoticed.
#pragma once

#include <string_view>

namespace pellora::standard_output {

// Writes all of it. When nobody reads any more the process ends the way a closed pipe ends it. Throws
// CompanionFailure on any other error.
void write(std::string_view text);

}  // namespace pellora::standard_output
