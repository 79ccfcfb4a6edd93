// What stands in the way of reading a file that other programs write. Never waits for the other end of a pipe put in
// its place. Tested by Tests/Companion/StoreProbeTests.cpp and CommandTests.cpp.
#pragma once

#include <filesystem>
#include <string>

namespace pellora::reading_obstacle {

// A short phrase; empty when it is a regular file, or a link to one, that can be opened for reading.
std::string find(const std::filesystem::path& file);

}  // namespace pellora::reading_obstacle
