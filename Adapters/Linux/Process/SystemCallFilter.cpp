#include "Adapters/Linux/Process/SystemCallFilter.h"

#include <asm/ioctls.h>
#include <asm/sockios.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <linux/seccomp.h>
#include <netinet/in.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <vector>

namespace pellora::SystemCallFilter {

namespace {

constexpr int kTypeMask = 0xF;  // the kind of socket, without its flags

constexpr int kLinuxConsole = 0x541C;       // TIOCLINUX: pastes a selection into the terminal
constexpr scmp_datum_t kWord = 0xFFFFFFFF;  // of an argument, what the kernel looks at

// Calls that look into other processes or change the system. Nothing of this project needs them.
constexpr std::array kForbidden = {
    SCMP_SYS(ptrace),
    SCMP_SYS(process_vm_readv),
    SCMP_SYS(process_vm_writev),
    SCMP_SYS(io_uring_setup),
    SCMP_SYS(bpf),
    SCMP_SYS(perf_event_open),
    SCMP_SYS(mount),
    SCMP_SYS(umount2),
    SCMP_SYS(pivot_root),
    SCMP_SYS(chroot),
    SCMP_SYS(setns),
    SCMP_SYS(unshare),
    SCMP_SYS(init_module),
    SCMP_SYS(finit_module),
    SCMP_SYS(delete_module),
    SCMP_SYS(kexec_load),
    SCMP_SYS(kexec_file_load),
    SCMP_SYS(open_tree),
    SCMP_SYS(move_mount),
    SCMP_SYS(fsopen),
    SCMP_SYS(fsmount),
    SCMP_SYS(process_madvise),
    SCMP_SYS(userfaultfd),
    SCMP_SYS(keyctl),
    SCMP_SYS(add_key),
    SCMP_SYS(request_key),
    SCMP_SYS(open_by_handle_at),
    SCMP_SYS(pidfd_getfd),
    SCMP_SYS(kcmp),
    SCMP_SYS(process_mrelease),
    SCMP_SYS(move_pages),
    SCMP_SYS(migrate_pages),
};

// Calls that start programs, change modes, owners and times of files, whose folders a filter can't tell apart, or
// reach other processes.
constexpr std::array kForbiddenWithoutPrograms = {
    SCMP_SYS(execve),       SCMP_SYS(execveat),
    SCMP_SYS(chmod),        SCMP_SYS(fchmod),
    SCMP_SYS(fchmodat),     SCMP_SYS(chown),
    SCMP_SYS(fchown),       SCMP_SYS(lchown),
    SCMP_SYS(fchownat),     SCMP_SYS(setxattr),
    SCMP_SYS(lsetxattr),    SCMP_SYS(fsetxattr),
    SCMP_SYS(removexattr),  SCMP_SYS(lremovexattr),
    SCMP_SYS(fremovexattr), SCMP_SYS(utime),
    SCMP_SYS(utimes),       SCMP_SYS(futimesat),
    SCMP_SYS(utimensat),    SCMP_SYS(tkill),
    SCMP_SYS(setpgid),      SCMP_SYS(pidfd_send_signal),
    SCMP_SYS(setpriority),  SCMP_SYS(ioprio_set),
};

// Memory, queues and locks that processes share by number: every other program's of the user could be opened, such as
// the pictures that they draw for the display. The toolkit has other means for its own.
constexpr std::array kSharedByNumber = {
    SCMP_SYS(shmget), SCMP_SYS(shmat),  SCMP_SYS(shmctl), SCMP_SYS(semget),     SCMP_SYS(semop),  SCMP_SYS(semctl),
    SCMP_SYS(msgget), SCMP_SYS(msgsnd), SCMP_SYS(msgrcv), SCMP_SYS(semtimedop), SCMP_SYS(msgctl), SCMP_SYS(mq_open),
};

// fchmodat2, which the library of Debian 12 does not know by name.
constexpr int kChangeModeWithFlags = 452;

// Calls that came to Linux with version 6.13 and later, among them new ways to change attributes of files
// (setxattrat, file_setattr). The numbers up to the last are yet to be given out. None exists for the process.
constexpr int kFirstNewCall = 463;
constexpr int kLastNewCall = 511;

// Attributes of files can be changed through a file that is open for reading, too.
constexpr std::array<scmp_datum_t, 8> kForbiddenRequests = {
    TIOCSTI, kLinuxConsole, TIOCCONS, FIOSETOWN, SIOCSPGRP, FS_IOC_SETFLAGS, FS_IOC_SETVERSION, FS_IOC_FSSETXATTR};

// Calls whose first argument names the process that gets a signal.
constexpr std::array kSignaling = {SCMP_SYS(kill), SCMP_SYS(tgkill), SCMP_SYS(rt_sigqueueinfo),
                                   SCMP_SYS(rt_tgsigqueueinfo)};

using Condition = scmp_arg_cmp;

Condition domainIs(scmp_compare comparison, scmp_datum_t domain) {
  return {0, comparison, domain, 0};
}

Condition typeIs(scmp_datum_t type) {
  return {1, SCMP_CMP_MASKED_EQ, kTypeMask, type};
}

bool refuseSocket(scmp_filter_ctx filter, const std::vector<Condition>& conditions) {
  return seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EACCES), SCMP_SYS(socket),
                                static_cast<unsigned>(conditions.size()), conditions.data()) == 0;
}

// Sending that connects on the way goes past the rules on connecting, on kernels that do not look at it.
bool refuseFastOpen(scmp_filter_ctx filter) {
  struct Call {
    int number;
    unsigned flagsArgument;
  };
  for (const Call& call : {Call{SCMP_SYS(sendto), 3}, Call{SCMP_SYS(sendmsg), 2}, Call{SCMP_SYS(sendmmsg), 3}}) {
    const Condition isFastOpen = {call.flagsArgument, SCMP_CMP_MASKED_EQ, MSG_FASTOPEN, MSG_FASTOPEN};
    if (seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EACCES), call.number, 1, &isFastOpen) != 0) return false;
  }
  return true;
}

bool refuseSockets(scmp_filter_ctx filter, Sockets sockets) {
  switch (sockets) {
    case Sockets::all:
      return true;
    case Sockets::localOnly:
      return refuseSocket(filter, {domainIs(SCMP_CMP_NE, AF_UNIX)});
    case Sockets::localAndTcp:
      break;
  }
  // Streams to an internet address stay possible, nothing else does.
  bool isRefused = refuseSocket(filter, {domainIs(SCMP_CMP_GT, AF_INET6)});
  for (scmp_datum_t domain = AF_INET + 1; domain < AF_INET6; ++domain)
    isRefused = isRefused && refuseSocket(filter, {domainIs(SCMP_CMP_EQ, domain)});
  for (const scmp_datum_t domain : {AF_INET, AF_INET6})
    for (scmp_datum_t type = 0; type <= kTypeMask; ++type)
      if (type != SOCK_STREAM)
        isRefused = isRefused && refuseSocket(filter, {domainIs(SCMP_CMP_EQ, domain), typeIs(type)});
  // Other transports that call themselves streams are not ruled by port.
  for (const scmp_datum_t domain : {AF_INET, AF_INET6})
    isRefused = isRefused && refuseSocket(filter, {domainIs(SCMP_CMP_EQ, domain), {2, SCMP_CMP_GT, IPPROTO_TCP, 0}});
  return isRefused && refuseFastOpen(filter);
}

bool refuse(scmp_filter_ctx filter, int call) {
  return seccomp_rule_add(filter, SCMP_ACT_ERRNO(EPERM), call, 0) == 0;
}

bool refuseWhen(scmp_filter_ctx filter, int call, const Condition& condition) {
  return seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EPERM), call, 1, &condition) == 0;
}

bool refuseLookingIntoOthers(scmp_filter_ctx filter) {
  bool isRefused = true;
  for (const int call : kForbidden) isRefused = isRefused && refuse(filter, call);
  return isRefused;
}

// Cutting files that may not be written, which Landlock rules only from its third version on.
bool refuseCutting(scmp_filter_ctx filter) {
  const auto refuseFlags = [filter](int call, unsigned argument) {
    const Condition cutsWithoutWriting = {argument, SCMP_CMP_MASKED_EQ, O_ACCMODE | O_TRUNC, O_RDONLY | O_TRUNC};
    return seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EACCES), call, 1, &cutsWithoutWriting) == 0;
  };
  return seccomp_rule_add(filter, SCMP_ACT_ERRNO(EACCES), SCMP_SYS(truncate), 0) == 0 &&
         refuseFlags(SCMP_SYS(open), 1) && refuseFlags(SCMP_SYS(openat), 2) &&
         seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(openat2), 0) == 0;
}

// Being called by other programs is nothing this one needs; no rule on ports sees a socket that listens without one.
bool refuseListening(scmp_filter_ctx filter) {
  return seccomp_rule_add(filter, SCMP_ACT_ERRNO(EACCES), SCMP_SYS(listen), 0) == 0;
}

// New users of its own, under whom the kernel opens more of itself. A filter can't see what clone3 is asked for;
// the C library does with clone then.
bool refuseNewUsers(scmp_filter_ctx filter) {
  return refuseWhen(filter, SCMP_SYS(clone), {0, SCMP_CMP_MASKED_EQ, CLONE_NEWUSER, CLONE_NEWUSER}) &&
         seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0) == 0;
}

bool refuseNewCalls(scmp_filter_ctx filter) {
  bool isRefused = true;
  for (int call = kFirstNewCall; call <= kLastNewCall; ++call)
    isRefused = isRefused && seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), call, 0) == 0;
  return isRefused;
}

bool refuseReachingOthers(scmp_filter_ctx filter) {
  bool isRefused = refuse(filter, kChangeModeWithFlags) && refuseCutting(filter) && refuseListening(filter) &&
                   refuseNewUsers(filter) && refuseNewCalls(filter);
  for (const int call : kForbiddenWithoutPrograms) isRefused = isRefused && refuse(filter, call);
  for (const int call : kSharedByNumber) isRefused = isRefused && refuse(filter, call);
  const auto self = static_cast<scmp_datum_t>(getpid());
  for (const int call : kSignaling) isRefused = isRefused && refuseWhen(filter, call, {0, SCMP_CMP_NE, self, 0});
  isRefused = isRefused && refuseWhen(filter, SCMP_SYS(prlimit64), {0, SCMP_CMP_NE, 0, 0});
  // Files can send signals, too, to whom they are told.
  for (const scmp_datum_t command : {F_SETOWN, F_SETOWN_EX, F_SETSIG})
    isRefused = isRefused && refuseWhen(filter, SCMP_SYS(fcntl), {1, SCMP_CMP_MASKED_EQ, kWord, command});
  for (const scmp_datum_t request : kForbiddenRequests)
    isRefused = isRefused && refuseWhen(filter, SCMP_SYS(ioctl), {1, SCMP_CMP_MASKED_EQ, kWord, request});
  return isRefused;
}

}  // namespace

bool isPossible() {
  constexpr std::uint32_t action = SECCOMP_RET_ERRNO;
  if (syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0, &action) == 0) return true;
  return errno != ENOSYS && errno != EINVAL && errno != EOPNOTSUPP;
}

int enforce(Sockets sockets, Scope scope) {
  const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
  if (filter == nullptr) return ENOMEM;
  seccomp_attr_set(filter, SCMP_FLTATR_CTL_TSYNC, 1);
  // The calls of 32-bit programs have numbers of their own, which these rules don't know.
  seccomp_attr_set(filter, SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_ERRNO(ENOSYS));
  int error = refuseSockets(filter, sockets) && refuseLookingIntoOthers(filter) ? 0 : EINVAL;
  if (error == 0 && scope == Scope::everything && !refuseReachingOthers(filter)) error = EINVAL;
  if (error == 0) error = -seccomp_load(filter);
  seccomp_release(filter);
  return error;
}

}  // namespace pellora::SystemCallFilter
