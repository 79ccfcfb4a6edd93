#include "Adapters/Linux/Process/SystemCallFilter.h"

#include <netinet/in.h>
#include <seccomp.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <vector>

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
};

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
