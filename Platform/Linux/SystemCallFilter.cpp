#include "Platform/Linux/SystemCallFilter.h"

#include <asm/ioctls.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace platform {

namespace {

#if defined(__x86_64__)
constexpr std::uint32_t architecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr std::uint32_t architecture = AUDIT_ARCH_AARCH64;
#else
constexpr std::uint32_t architecture = 0;
#endif

/// The calls that x86-64 has for programs with short pointers begin here.
constexpr std::uint32_t otherCalls = 0x40000000;

constexpr auto refusedCalls = std::to_array<std::uint32_t>({
    // Other processes.
    SYS_ptrace, SYS_process_vm_readv, SYS_process_vm_writev, SYS_pidfd_getfd, SYS_kcmp,
        SYS_process_madvise, SYS_move_pages, SYS_migrate_pages,
        // Programs.
        SYS_execve, SYS_execveat,
        // Connections from outside.
        SYS_listen, SYS_accept, SYS_accept4,
        // Another view of the system.
        SYS_unshare, SYS_setns, SYS_chroot, SYS_pivot_root, SYS_mount, SYS_umount2, SYS_open_tree,
        SYS_move_mount, SYS_fsopen, SYS_fsconfig, SYS_fsmount, SYS_fspick, SYS_mount_setattr,
        SYS_name_to_handle_at, SYS_open_by_handle_at, SYS_fanotify_init,
        // Interfaces of the kernel, whose faults are found again and again.
        SYS_bpf, SYS_perf_event_open, SYS_userfaultfd, SYS_io_uring_setup, SYS_io_uring_enter,
        SYS_io_uring_register, SYS_add_key, SYS_request_key, SYS_keyctl, SYS_personality,
        // The machine.
        SYS_init_module, SYS_finit_module, SYS_delete_module, SYS_kexec_load, SYS_reboot,
        SYS_swapon, SYS_swapoff, SYS_acct, SYS_quotactl, SYS_syslog, SYS_settimeofday,
        SYS_clock_settime, SYS_clock_adjtime, SYS_adjtimex, SYS_sethostname, SYS_setdomainname,
        SYS_vhangup, SYS_lookup_dcookie,
#if defined(__x86_64__)
        SYS_kexec_file_load, SYS_iopl, SYS_ioperm, SYS_modify_ldt,
#endif
});

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

constexpr auto beforeTheList = std::to_array<sock_filter>({
    load(offsetof(seccomp_data, arch)),
    skip(BPF_JEQ, architecture, 1, 0),
    answer(SECCOMP_RET_KILL_PROCESS),
    load(offsetof(seccomp_data, nr)),
    skip(BPF_JGE, otherCalls, 0, 1),
    fail(EPERM),

    // The C library falls back to the call whose flags can be seen here.
    skip(BPF_JEQ, SYS_clone3, 0, 1),
    fail(ENOSYS),

    skip(BPF_JEQ, SYS_clone, 0, 4),
    loadArgument(0),
    skip(BPF_JSET, newNamespaces, 0, 1),
    fail(EPERM),
    answer(SECCOMP_RET_ALLOW),

    skip(BPF_JEQ, SYS_socket, 0, 9),
    loadArgument(0),
    skip(BPF_JEQ, AF_UNIX, 5, 0),
    skip(BPF_JEQ, AF_INET, 4, 0),
    skip(BPF_JEQ, AF_INET6, 3, 0),
    skip(BPF_JEQ, AF_NETLINK, 0, 3),
    // Which addresses this computer has, and nothing else of the kernel's.
    loadArgument(2),
    skip(BPF_JEQ, 0, 0, 1),
    answer(SECCOMP_RET_ALLOW),
    fail(EPERM),

    // To type for others at a terminal.
    skip(BPF_JEQ, SYS_ioctl, 0, 5),
    loadArgument(1),
    skip(BPF_JEQ, TIOCSTI, 1, 0),
    skip(BPF_JEQ, TIOCLINUX, 0, 1),
    fail(EPERM),
    answer(SECCOMP_RET_ALLOW),
});

constexpr auto makeFilter() {
    std::array<sock_filter, beforeTheList.size() + 2 * refusedCalls.size() + 1> filter{};
    std::size_t at = 0;
    for (const sock_filter& instruction : beforeTheList)
        filter[at++] = instruction;
    for (const std::uint32_t call : refusedCalls) {
        filter[at++] = skip(BPF_JEQ, call, 0, 1);
        filter[at++] = fail(EPERM);
    }
    filter[at] = answer(SECCOMP_RET_ALLOW);
    return filter;
}

} // namespace

bool filterSystemCalls() {
    static constexpr auto filter = makeFilter();
    const sock_fprog program{filter.size(), const_cast<sock_filter*>(filter.data())};
    return architecture != 0 && syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) == 0;
}

} // namespace platform
