#include "Platform/Linux/SystemCallFilter.h"

#include <asm/ioctls.h>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/netlink.h>
#include <linux/seccomp.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <vector>

namespace platform {

#if defined(__x86_64__) || defined(__aarch64__)

namespace {

#if defined(__x86_64__)
constexpr std::uint32_t architecture = AUDIT_ARCH_X86_64;
#else
constexpr std::uint32_t architecture = AUDIT_ARCH_AARCH64;
#endif

/// The calls that x86-64 has for programs with short pointers begin here.
constexpr std::uint32_t otherCalls = 0x40000000;

// What is younger than the oldest kernel headers that this is compiled with; the same on every
// processor.
constexpr std::uint32_t memfdSecret = 447;
constexpr std::uint32_t changeModeAt2 = 452;
constexpr std::uint32_t setAttributeAt = 463;
constexpr std::uint32_t removeAttributeAt = 466;
constexpr std::uint32_t openTreeAttributes = 467;
constexpr std::uint32_t setFileAttributes = 469;

constexpr auto refusedCalls = std::to_array<std::uint32_t>({
    // Other processes.
    SYS_ptrace, SYS_process_vm_readv, SYS_process_vm_writev, SYS_pidfd_getfd, SYS_kcmp,
        SYS_process_madvise, SYS_process_mrelease, SYS_move_pages, SYS_migrate_pages, SYS_tkill,
        SYS_pidfd_send_signal, SYS_setpriority, SYS_ioprio_set,
        // Programs.
        SYS_execve, SYS_execveat,
        // Connections from outside.
        SYS_listen, SYS_accept4,
#ifdef SYS_accept
        SYS_accept,
#endif
        // What is kept beside the contents of a file.
        SYS_truncate, SYS_fchmod, SYS_fchmodat, changeModeAt2, SYS_fchown, SYS_fchownat,
        SYS_setxattr, SYS_lsetxattr, SYS_fsetxattr, setAttributeAt, SYS_removexattr,
        SYS_lremovexattr, SYS_fremovexattr, removeAttributeAt, setFileAttributes, SYS_utimensat,
#if defined(__x86_64__)
        SYS_chmod, SYS_chown, SYS_lchown, SYS_utime, SYS_utimes, SYS_futimesat,
#endif
        // Another view of the system.
        SYS_unshare, SYS_setns, SYS_chroot, SYS_pivot_root, SYS_mount, SYS_umount2, SYS_open_tree,
        openTreeAttributes, SYS_move_mount, SYS_fsopen, SYS_fsconfig, SYS_fsmount, SYS_fspick,
        SYS_mount_setattr, SYS_name_to_handle_at, SYS_open_by_handle_at, SYS_fanotify_init,
        // Interfaces of the kernel, whose faults are found again and again.
        SYS_bpf, SYS_perf_event_open, SYS_userfaultfd, SYS_io_uring_setup, SYS_io_uring_enter,
        SYS_io_uring_register, SYS_io_setup, SYS_io_submit, SYS_vmsplice, memfdSecret, SYS_add_key,
        SYS_request_key, SYS_keyctl, SYS_personality,
        // The machine.
        SYS_init_module, SYS_finit_module, SYS_delete_module, SYS_kexec_load, SYS_reboot,
        SYS_swapon, SYS_swapoff, SYS_acct, SYS_quotactl, SYS_quotactl_fd, SYS_syslog,
        SYS_settimeofday, SYS_clock_settime, SYS_clock_adjtime, SYS_adjtimex, SYS_sethostname,
        SYS_setdomainname, SYS_vhangup, SYS_lookup_dcookie,
#ifdef SYS_kexec_file_load
        SYS_kexec_file_load,
#endif
#if defined(__x86_64__)
        SYS_iopl, SYS_ioperm, SYS_modify_ldt,
#endif
});

/// The calls whose first argument says which process they are about.
constexpr auto callsUponAProcess = std::to_array<std::uint32_t>(
    {SYS_kill, SYS_tgkill, SYS_rt_sigqueueinfo, SYS_rt_tgsigqueueinfo});

/// Likewise, where 0 is this one; or a thread of it, which need not be told from others.
constexpr auto callsUponAProcessOrThis = std::to_array<std::uint32_t>({SYS_prlimit64});

constexpr std::uint32_t newNamespaces = CLONE_NEWNS | CLONE_NEWCGROUP | CLONE_NEWUTS |
                                        CLONE_NEWIPC | CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET;

/// A part of what the kernel says of a call.
constexpr sock_filter load(std::size_t offset) {
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset));
}

/// The lower half of an argument; these take no more.
constexpr sock_filter loadArgument(std::size_t index) {
    return load(offsetof(seccomp_data, args) + index * sizeof(std::uint64_t));
}

constexpr sock_filter answer(std::uint32_t action) {
    return BPF_STMT(BPF_RET | BPF_K, action);
}

constexpr sock_filter fail(std::uint32_t error) {
    return answer(SECCOMP_RET_ERRNO | error);
}

/// Goes on so many instructions further, depending on what was loaded.
constexpr sock_filter skip(std::uint16_t comparison, std::uint32_t value, std::uint8_t ifTrue,
                           std::uint8_t ifFalse) {
    return BPF_JUMP(static_cast<std::uint16_t>(BPF_JMP | BPF_K | comparison), value, ifTrue,
                    ifFalse);
}

/// The instructions, one after the other; the kernel takes them as they are.
using Filter = std::vector<sock_filter>;

void append(Filter& filter, std::initializer_list<sock_filter> instructions) {
    filter.insert(filter.end(), instructions);
}

void refuseOtherProcessors(Filter& filter) {
    append(filter, {load(offsetof(seccomp_data, arch)), skip(BPF_JEQ, architecture, 1, 0),
                    answer(SECCOMP_RET_KILL_PROCESS), load(offsetof(seccomp_data, nr)),
                    skip(BPF_JGE, otherCalls, 0, 1), fail(EPERM)});
}

/// Calls whose arguments cannot be seen here. The C library falls back to older ones.
void hideCall(Filter& filter, std::uint32_t call) {
    append(filter, {skip(BPF_JEQ, call, 0, 1), fail(ENOSYS)});
}

void refuseNamespaces(Filter& filter) {
    append(filter, {skip(BPF_JEQ, SYS_clone, 0, 4), loadArgument(0),
                    skip(BPF_JSET, newNamespaces, 0, 1), fail(EPERM), answer(SECCOMP_RET_ALLOW)});
}

/// Local and Internet sockets only, and one that tells which addresses this computer has.
void refuseOtherSockets(Filter& filter) {
    constexpr std::uint32_t types = 0xF;
    append(filter, {skip(BPF_JEQ, SYS_socket, 0, 17), loadArgument(0),
                    skip(BPF_JEQ, AF_UNIX, 13, 0), skip(BPF_JEQ, AF_INET, 4, 0),
                    skip(BPF_JEQ, AF_INET6, 3, 0), skip(BPF_JEQ, AF_NETLINK, 0, 11),
                    // Of the kernel's subjects the one numbered 0 is the addresses.
                    loadArgument(2), skip(BPF_JEQ, NETLINK_ROUTE, 8, 9),
                    // TCP and UDP, and nothing that the rules for ports do not know of.
                    loadArgument(1), BPF_STMT(BPF_ALU | BPF_AND | BPF_K, types),
                    skip(BPF_JEQ, SOCK_STREAM, 1, 0), skip(BPF_JEQ, SOCK_DGRAM, 0, 5),
                    loadArgument(2), skip(BPF_JEQ, 0, 2, 0), skip(BPF_JEQ, IPPROTO_TCP, 1, 0),
                    skip(BPF_JEQ, IPPROTO_UDP, 0, 1), answer(SECCOMP_RET_ALLOW), fail(EPERM)});
}

/// To type for others at a terminal.
void refuseTyping(Filter& filter) {
    append(filter, {skip(BPF_JEQ, SYS_ioctl, 0, 5), loadArgument(1), skip(BPF_JEQ, TIOCSTI, 1, 0),
                    skip(BPF_JEQ, TIOCLINUX, 0, 1), fail(EPERM), answer(SECCOMP_RET_ALLOW)});
}

/// To be dumped after all.
void refuseDumps(Filter& filter) {
    append(filter, {skip(BPF_JEQ, SYS_prctl, 0, 4), loadArgument(0),
                    skip(BPF_JEQ, PR_SET_DUMPABLE, 0, 1), fail(EPERM), answer(SECCOMP_RET_ALLOW)});
}

/// Emptying a file while it is opened for reading, which early versions of the rules for files take
/// for reading.
void refuseEmptying(Filter& filter, std::uint32_t call, std::size_t flags) {
    append(filter, {skip(BPF_JEQ, call, 0, 6), loadArgument(flags), skip(BPF_JSET, O_TRUNC, 0, 3),
                    BPF_STMT(BPF_ALU | BPF_AND | BPF_K, O_ACCMODE), skip(BPF_JEQ, O_RDONLY, 0, 1),
                    fail(EPERM), answer(SECCOMP_RET_ALLOW)});
}

void refuseForOthers(Filter& filter, std::uint32_t call, std::uint32_t also) {
    const auto own = static_cast<std::uint32_t>(getpid());
    append(filter, {skip(BPF_JEQ, call, 0, 5), loadArgument(0), skip(BPF_JEQ, own, 2, 0),
                    skip(BPF_JEQ, also, 1, 0), fail(EPERM), answer(SECCOMP_RET_ALLOW)});
}

/// The kernel tries each of its calls when it takes the filter: so those that are not on the list
/// pass most of it by.
void refuseListed(Filter& filter) {
    constexpr std::size_t most = 10;
    auto calls = refusedCalls;
    std::ranges::sort(calls);
    for (std::span<const std::uint32_t> rest(calls); !rest.empty();) {
        const auto some = rest.first(std::min(most, rest.size()));
        const auto length = static_cast<std::uint8_t>(2 * some.size());
        append(filter,
               {skip(BPF_JGT, some.back(), length + 1, 0), skip(BPF_JGE, some.front(), 0, length)});
        for (const std::uint32_t call : some)
            append(filter, {skip(BPF_JEQ, call, 0, 1), fail(EPERM)});
        rest = rest.subspan(some.size());
    }
}

Filter makeFilter() {
    Filter filter;
    filter.reserve(2 * refusedCalls.size() + 128);
    refuseOtherProcessors(filter);
    hideCall(filter, SYS_clone3);
    hideCall(filter, SYS_openat2);
    refuseNamespaces(filter);
    refuseOtherSockets(filter);
    refuseTyping(filter);
    refuseDumps(filter);
    refuseEmptying(filter, SYS_openat, 2);
#ifdef SYS_open
    refuseEmptying(filter, SYS_open, 1);
#endif
    const auto own = static_cast<std::uint32_t>(getpid());
    for (const std::uint32_t call : callsUponAProcess)
        refuseForOthers(filter, call, own);
    for (const std::uint32_t call : callsUponAProcessOrThis)
        refuseForOthers(filter, call, 0);
    refuseListed(filter);
    filter.push_back(answer(SECCOMP_RET_ALLOW));
    return filter;
}

} // namespace

bool filterSystemCalls() {
    Filter filter = makeFilter();
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    return syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) == 0;
}

#else

// The calls of other processors are not known here.
bool filterSystemCalls() {
    return false;
}

#endif

} // namespace platform
