// A library to load into a process from outside (LD_PRELOAD): when the process first connects to
// anything, it tries in its place what a confined process may not do, and writes to the descriptor
// VT_ACTS what came of each act, one a line: its name, and "done" or the name of the error. Acts
// that work change nothing but the folder VT_ACTS_FOLDER, which has a "document" and a "config"
// folder.

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/landlock.h>
#include <linux/netlink.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/personality.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/timex.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

/// What a call that fails with a negative value says: 0, or errno.
int outcome(long result) {
    return result < 0 ? errno : 0;
}

/// What the kernel says of a call that it has not refused at once: it complains of the arguments.
int outcomeOfEmptyCall(long result) {
    const int error = outcome(result);
    return error == EFAULT || error == EINVAL || error == EBADF || error == ENOTTY ? 0 : error;
}

std::string folder() {
    const char* const value = std::getenv("VT_ACTS_FOLDER");
    return value != nullptr ? value : "/nowhere";
}

std::string inFolder(const char* name) {
    return folder() + '/' + name;
}

int openFile(const std::string& path, int flags) {
    const int file = open(path.c_str(), flags | O_CLOEXEC, 0600);
    const int result = outcome(file);
    if (file >= 0)
        close(file);
    return result;
}

/// The act in a child of this process, which is confined as this process is.
template <typename Act>
int outcomeInChild(Act act) {
    const pid_t child = fork();
    if (child == 0)
        _exit(act());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : ECHILD;
}

/// The act upon a child that waits for its end, which it sees by the end of a pipe: it may not be
/// possible to signal it.
template <typename Act>
int outcomeUponChild(Act act) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        return errno;
    const pid_t child = fork();
    if (child == 0) {
        close(ends[1]);
        char byte = 0;
        static_cast<void>(read(ends[0], &byte, sizeof byte));
        _exit(0);
    }
    const int result = act(child);
    close(ends[0]);
    close(ends[1]);
    waitpid(child, nullptr, 0);
    return result;
}

int runProgram() {
    return outcomeInChild([] {
        std::string name = "true";
        const std::array<char*, 2> arguments{name.data(), nullptr};
        return outcome(execve("/usr/bin/true", arguments.data(), environ));
    });
}

int runProgramFromMemory() {
    return outcomeInChild([] {
        const int memory = memfd_create("program", 0);
        const int program = open("/usr/bin/true", O_RDONLY | O_CLOEXEC);
        std::array<char, 65536> buffer{};
        for (ssize_t length = 0; (length = read(program, buffer.data(), buffer.size())) > 0;)
            static_cast<void>(write(memory, buffer.data(), static_cast<std::size_t>(length)));
        std::string name = "true";
        const std::array<char*, 2> arguments{name.data(), nullptr};
        return outcome(fexecve(memory, arguments.data(), environ));
    });
}

int bindPort() {
    const int server = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int result = outcome(bind(server, reinterpret_cast<sockaddr*>(&address), sizeof address));
    close(server);
    return result;
}

int listenAt(int domain) {
    const int server = socket(domain, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (domain == AF_UNIX) {
        // A name is chosen for it.
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        static_cast<void>(
            bind(server, reinterpret_cast<sockaddr*>(&address), sizeof address.sun_family));
    }
    const int result = outcome(listen(server, 1));
    close(server);
    return result;
}

int openSocket(int domain, int type, int protocol) {
    const int number = socket(domain, type | SOCK_CLOEXEC, protocol);
    const int result = outcome(number);
    if (number >= 0)
        close(number);
    return result;
}

int traceProcess() {
    return outcomeUponChild(
        [](pid_t child) { return outcome(ptrace(PTRACE_SEIZE, child, nullptr, nullptr)); });
}

int readOtherMemory() {
    return outcomeUponChild([](pid_t child) {
        static char here = 0;
        const iovec place{&here, sizeof here};
        return outcome(process_vm_readv(child, &place, 1, &place, 1, 0));
    });
}

int cloneIntoNamespace() {
    const long child = syscall(SYS_clone, CLONE_NEWUSER | SIGCHLD, 0, 0, 0, 0);
    if (child == 0)
        _exit(0);
    const int result = outcome(child);
    if (child > 0)
        waitpid(static_cast<pid_t>(child), nullptr, 0);
    return result;
}

int leaveCoreFile() {
    return prctl(PR_GET_DUMPABLE, 0, 0, 0, 0) == 1 ? 0 : EPERM;
}

int permitCoreFile() {
    return outcome(prctl(PR_SET_DUMPABLE, 1, 0, 0, 0));
}

struct Act {
    const char* name;
    int (*perform)();
};

constexpr std::array acts = {
    Act{"read a document", [] { return openFile(inFolder("document"), O_RDONLY); }},
    Act{"read another program's settings",
        [] { return openFile(inFolder("config/other/cookies"), O_RDONLY); }},
    Act{"list the user's files", [] { return openFile(folder(), O_RDONLY | O_DIRECTORY); }},
    Act{"read another process's environment",
        [] { return openFile("/proc/" + std::to_string(getppid()) + "/environ", O_RDONLY); }},
    Act{"write to a document", [] { return openFile(inFolder("document"), O_WRONLY); }},
    Act{"cut a document short", [] { return outcome(truncate(inFolder("document").c_str(), 1)); }},
    Act{"make a file", [] { return openFile(inFolder("new"), O_WRONLY | O_CREAT); }},
    Act{"make a file that starts with the session",
        [] { return openFile(inFolder("config/autostart.desktop"), O_WRONLY | O_CREAT); }},
    Act{"make a temporary file", [] { return openFile("/tmp/new", O_WRONLY | O_CREAT); }},
    Act{"make a folder", [] { return outcome(mkdir(inFolder("folder").c_str(), 0700)); }},
    Act{"make a symbolic link",
        [] { return outcome(symlink("document", inFolder("symbolic").c_str())); }},
    Act{"make a link",
        [] { return outcome(link(inFolder("document").c_str(), inFolder("link").c_str())); }},
    Act{"rename a document",
        [] { return outcome(rename(inFolder("document").c_str(), inFolder("renamed").c_str())); }},
    Act{"remove a document", [] { return outcome(unlink(inFolder("letter").c_str())); }},
    Act{"change who may read a file",
        [] { return outcome(chmod(inFolder("config/other/cookies").c_str(), 0644)); }},
    Act{"give a file away",
        [] {
            return outcome(chown(inFolder("config/other/cookies").c_str(), getuid(), getgid()));
        }},
    Act{"change a file's time",
        [] {
            return outcome(
                utimensat(AT_FDCWD, inFolder("config/other/cookies").c_str(), nullptr, 0));
        }},
    Act{"change a setting of the kernel",
        [] { return openFile("/proc/self/oom_score_adj", O_WRONLY); }},
    Act{"run a program", runProgram},
    Act{"run a program from memory", runProgramFromMemory},
    Act{"bind a port", bindPort},
    Act{"listen at a port", [] { return listenAt(AF_INET); }},
    Act{"listen at a port (IPv6)", [] { return listenAt(AF_INET6); }},
    Act{"listen at a local socket", [] { return listenAt(AF_UNIX); }},
    Act{"accept a connection", [] { return outcomeOfEmptyCall(accept4(-1, nullptr, nullptr, 0)); }},
    Act{"hear the kernel's events",
        [] { return openSocket(AF_NETLINK, SOCK_RAW, NETLINK_KOBJECT_UEVENT); }},
    Act{"signal another process", [] { return outcome(kill(getppid(), 0)); }},
    Act{"limit another process",
        [] { return outcome(prlimit(getppid(), RLIMIT_CORE, nullptr, nullptr)); }},
    Act{"trace a process", traceProcess},
    Act{"read a process's memory", readOtherMemory},
    Act{"take a process's descriptor",
        [] { return outcomeOfEmptyCall(syscall(SYS_pidfd_getfd, -1, 0, 0)); }},
    Act{"enter a new namespace",
        [] { return outcomeInChild([] { return outcome(unshare(CLONE_NEWUSER)); }); }},
    Act{"start a process in a new namespace", cloneIntoNamespace},
    Act{"enter another's namespace", [] { return outcomeOfEmptyCall(setns(-1, 0)); }},
    Act{"mount", [] { return outcomeOfEmptyCall(syscall(SYS_mount, 0, 0, 0, 0, 0)); }},
    Act{"change the root folder", [] { return outcomeOfEmptyCall(syscall(SYS_chroot, 0)); }},
    Act{"count events of the processor",
        [] { return outcomeOfEmptyCall(syscall(SYS_perf_event_open, 0, 0, 0, 0, 0)); }},
    Act{"queue calls", [] { return outcomeOfEmptyCall(syscall(SYS_io_uring_setup, 1, 0)); }},
    Act{"use the kernel's key rings",
        [] { return outcomeOfEmptyCall(syscall(SYS_add_key, 0, 0, 0, 0, 0)); }},
    Act{"ask the kernel's key rings",
        [] { return outcomeOfEmptyCall(syscall(SYS_keyctl, 0, -3, 0, 0, 0)); }},
    Act{"compare processes",
        [] { return outcomeOfEmptyCall(syscall(SYS_kcmp, getpid(), getpid(), 0, 0, 0)); }},
    Act{"become another kind of process", [] { return outcome(personality(0xFFFFFFFF)); }},
    Act{"set the clock", [] { return outcomeOfEmptyCall(syscall(SYS_adjtimex, 0)); }},
    Act{"type at the terminal",
        [] {
            const int terminal = open("/dev/null", O_RDONLY | O_CLOEXEC);
            const int result = outcomeOfEmptyCall(ioctl(terminal, TIOCSTI, "x"));
            close(terminal);
            return result;
        }},
    Act{"leave a core file", leaveCoreFile},
    Act{"permit itself to leave one", permitCoreFile},
};

void performAll() {
    const char* const variable = std::getenv("VT_ACTS");
    if (variable == nullptr)
        return;
    const int report = std::stoi(variable);
    for (const Act& act : acts) {
        const int error = act.perform();
        dprintf(report, "%s: %s\n", act.name, error == 0 ? "done" : strerrorname_np(error));
    }
    close(report);
}

} // namespace

// The C library's own names.
// NOLINTBEGIN(cert-dcl50-cpp,bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
/// As the program calls the interface that confines it: with VT_LANDLOCK_VERSION that is not the
/// kernel's version, but that one.
extern "C" [[gnu::visibility("default")]] long syscall(long __sysno, ...) noexcept {
    va_list list;
    va_start(list, __sysno);
    std::array<long, 6> arguments{};
    for (long& argument : arguments)
        argument = va_arg(list, long);
    va_end(list);
    const char* const version = std::getenv("VT_LANDLOCK_VERSION");
    const bool asksForVersion =
        __sysno == SYS_landlock_create_ruleset && arguments[2] == LANDLOCK_CREATE_RULESET_VERSION;
    if (asksForVersion && version != nullptr)
        return std::stol(version);
    using Call = long(long, ...);
    static auto* const original = reinterpret_cast<Call*>(dlsym(RTLD_NEXT, "syscall"));
    return original(__sysno, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4],
                    arguments[5]);
}

extern "C" [[gnu::visibility("default")]] int connect(int __fd, const sockaddr* __addr,
                                                      socklen_t __len) {
    static std::atomic<bool> begun = false;
    if (!begun.exchange(true))
        performAll();
    using Connect = int(int, const sockaddr*, socklen_t);
    static auto* const original = reinterpret_cast<Connect*>(dlsym(RTLD_NEXT, "connect"));
    return original(__fd, __addr, __len);
}
// NOLINTEND(cert-dcl50-cpp,bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
