#pragma once
// What the command line says about itself: help in plain words, and one sentence about a command line that is wrong.
// Tested by Tests/Companion/ProgramTests.cpp.

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

namespace pellora::UsageText {

// Help without the library's own words: an option's value is named ("FILE"), not its type or what it excludes.
std::shared_ptr<CLI::FormatterBase> plainHelp();

// What is wrong with the command line. `command` is the last command that it names.
std::string whatIsWrong(const CLI::App& command, const CLI::ParseError& error);

}  // namespace pellora::UsageText
