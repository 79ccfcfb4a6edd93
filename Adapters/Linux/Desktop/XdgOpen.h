// Starts xdg-open, which shows a file in the program that the desktop has for its kind. That program inherits what the
// calling process gave up for itself, and a browser without sockets is of no use to anybody: call it where nothing is
// given up yet (Keeper). Tested by Tests/Adapters/PortalFileOpenerTests.cpp and Tests/Companion/ProgramTests.cpp.
#pragma once

#include <filesystem>

namespace pellora::XdgOpen {

// In a session of its own, with nothing to read from or write to. False when it does not start. Does not wait for it.
bool start(const std::filesystem::path& file);

}  // namespace pellora::XdgOpen
