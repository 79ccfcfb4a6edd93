// A program may be started with its standard input, output or error closed. The first files that it opens would then
// get these numbers, and what it prints would land in them. Tested by Tests/Core/StandardDescriptorsTests.cpp.
#pragma once

namespace pellora {

namespace StandardDescriptors {

// Puts the null device on each of the three that is closed, opened the wrong way round: reading the input and writing
// the others fails as it does on a closed one, so that lost output is noticed. The first thing that `main` does.
void fillClosed();

}  // namespace StandardDescriptors

}  // namespace pellora
