// Takes system calls away from the whole process, all threads. A refused call fails with an error, it kills nobody.
#pragma once

namespace pellora {

namespace SystemCallFilter {

enum class Sockets { localOnly, localAndTcp, all };

// `lookingIntoOthers`: tracing, reading and changing other processes and the system, sockets of kinds not needed.
// `everything`: starting programs, signals to others, file modes and owners, and putting words into a terminal, too.
enum class Scope { lookingIntoOthers, everything };

// Whether the kernel has such filters at all.
bool isPossible();

// 0, or the error with which the kernel or its library refused.
int enforce(Sockets sockets, Scope scope);

}  // namespace SystemCallFilter

}  // namespace pellora
