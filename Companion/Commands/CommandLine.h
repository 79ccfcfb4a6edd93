// The command line of pellora-companion: which commands and options there are, what their help says, and which
// command runs. Made once, in main, when an event loop exists. Tested by Tests/Companion/ProgramTests.cpp.
#pragma once

namespace pellora {

namespace CommandLine {

inline constexpr int kDone = 0;
inline constexpr int kCouldNot = 1;
inline constexpr int kWrongUsage = 2;

// The exit code.
int run(int argc, const char* const* argv);

}  // namespace CommandLine

}  // namespace pellora
