#include "Adapters/Linux/SystemCallFilter.h"

#include <seccomp.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>

namespace pellora::SystemCallFilter {

namespace {

constexpr int kTypeMask = 0xF;  // the kind of socket, without its flags

// Nothing of what the program does needs these.
constexpr std::array kForbidden = {
    SCMP_SYS(execve),
    SCMP_SYS(execveat),
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
    SCMP_SYS(kexec_load),
    SCMP_SYS(userfaultfd),
    SCMP_SYS(keyctl),
    SCMP_SYS(add_key),
    SCMP_SYS(request_key),
    SCMP_SYS(open_by_handle_at),
    SCMP_SYS(pidfd_getfd),
};

bool refuseSockets(scmp_filter_ctx filter, Sockets sockets) {
  if (sockets == Sockets::all) return true;
  const auto refuse = [filter](auto... conditions) {
    return seccomp_rule_add(filter, SCMP_ACT_ERRNO(EACCES), SCMP_SYS(socket), sizeof...(conditions), conditions...) ==
           0;
  };
  if (sockets == Sockets::localOnly) return refuse(SCMP_A0(SCMP_CMP_NE, AF_UNIX));
  // Streams to an internet address stay possible, nothing else does.
  return refuse(SCMP_A0(SCMP_CMP_GT, AF_INET6)) &&
         refuse(SCMP_A0(SCMP_CMP_EQ, AF_INET), SCMP_A1(SCMP_CMP_MASKED_EQ, kTypeMask, SOCK_DGRAM)) &&
         refuse(SCMP_A0(SCMP_CMP_EQ, AF_INET), SCMP_A1(SCMP_CMP_MASKED_EQ, kTypeMask, SOCK_RAW)) &&
         refuse(SCMP_A0(SCMP_CMP_EQ, AF_INET6), SCMP_A1(SCMP_CMP_MASKED_EQ, kTypeMask, SOCK_DGRAM)) &&
         refuse(SCMP_A0(SCMP_CMP_EQ, AF_INET6), SCMP_A1(SCMP_CMP_MASKED_EQ, kTypeMask, SOCK_RAW));
}

bool refuseCalls(scmp_filter_ctx filter) {
  for (const int call : kForbidden)
    if (seccomp_rule_add(filter, SCMP_ACT_ERRNO(EPERM), call, 0) != 0) return false;
  return true;
}

}  // namespace

bool enforce(Sockets sockets) {
  const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
  if (filter == nullptr) return false;
  seccomp_attr_set(filter, SCMP_FLTATR_CTL_TSYNC, 1);
  const bool isLoaded = refuseSockets(filter, sockets) && refuseCalls(filter) && seccomp_load(filter) == 0;
  seccomp_release(filter);
  return isLoaded;
}

}  // namespace pellora::SystemCallFilter
