// Takes system calls away from the whole process, all threads. A refused call fails with an error, it kills nobody.
#pragma once

namespace pellora {

namespace SystemCallFilter {

enum class Sockets { localOnly, localAndTcp, all };

// `lookingIntoOthers`: tracing, reading and changing other processes and the system, sockets of kinds not needed.
// `everything`: starting programs, signals to others, file modes, owners and attributes, putting words into a terminal,
// listening, and memory shared by number, too.
enum class Scope { lookingIntoOthers, everything };

// Whether the kernel has such filters. True, too, when asking for them is refused: then enforce() is.
bool isPossible();

// 0, or the error with which the kernel or its library refused.
int enforce(Sockets sockets, Scope scope);

}  // namespace SystemCallFilter

}  // namespace pellora
