// Takes system calls away from the whole process, all threads: those that start programs, look into or change other
// processes, and make sockets of kinds that are not needed. A refused call fails with an error, it kills nobody.
#pragma once

namespace pellora {

namespace SystemCallFilter {

enum class Sockets { localOnly, localAndTcp, all };

// False when the kernel or its library refuses.
bool enforce(Sockets sockets);

}  // namespace SystemCallFilter

}  // namespace pellora
