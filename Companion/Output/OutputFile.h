// The file that a user names for output. Tested by Tests/Companion/OutputFileTests.cpp.
#pragma once

#include <string>
#include <string_view>

namespace pellora::output_file {

// Writes all of it. A regular file, also one behind a link, is replaced whole (mode 0600) or left as it was; a new one
// needs a folder that exists, since a mistyped folder is not to be created. A pipe or device is written into, as the
// shell does it. Throws CompanionFailure or FileError.
void write(const std::string& name, std::string_view text);

}  // namespace pellora::output_file
