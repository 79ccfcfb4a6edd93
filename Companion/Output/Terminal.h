// Questions to the user on the terminal, whatever standard input and output are. Tested by
// Tests/Companion/ProgramTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "PelloraMessagesCore/Files/SecretBytes.h"

namespace pellora::terminal {

// Whether there is somebody to ask: standard input and standard error are a terminal.
bool isThere();

// As it is, on standard error; control characters in it are the caller's to take out.
void show(std::string_view text);

// What is typed, without the line's end; absent at its end of input or without a terminal.
std::optional<std::string> line(const std::string& question);

// Only "y" and "yes" mean yes. Absent without a terminal.
std::optional<bool> isConfirmed(const std::string& question);

// Typed without being shown; absent when nothing was typed or without a terminal. Ctrl+C ends the program with the
// terminal as it was.
std::optional<SecretBytes> password(const std::string& question);

}  // namespace pellora::terminal
