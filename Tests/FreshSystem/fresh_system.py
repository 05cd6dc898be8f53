"""A system of this machine's distribution with next to nothing installed, and ways to be in it.

It is made of the distribution's packages, which come from where this machine gets its own.
"""

import errno
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import tempfile

import seccomp

HERE = pathlib.Path(__file__).resolve().parent

# What a program finds in its environment that was started by nobody in particular.
ENVIRONMENT = {
    "PATH": "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin",
    "LANG": "C.UTF-8",
    "TERM": os.environ.get("TERM", "dumb"),
}

# Of a container's root, in the engines' default settings.
_CAPABILITIES = (
    "CHOWN DAC_OVERRIDE FOWNER FSETID KILL SETGID SETUID SETPCAP NET_BIND_SERVICE NET_RAW SYS_CHROOT"
    " MKNOD AUDIT_WRITE SETFCAP"
).split()

# What the engines' default filter refuses to who has no more than these.
_REFUSED_CALLS = (
    "acct add_key bpf clock_adjtime clock_settime delete_module finit_module fsconfig fsmount fsopen"
    " fspick init_module io_uring_enter io_uring_register io_uring_setup ioperm iopl kcmp"
    " kexec_file_load kexec_load keyctl lookup_dcookie mbind mount mount_setattr move_mount move_pages"
    " name_to_handle_at open_by_handle_at open_tree perf_event_open pivot_root quotactl reboot"
    " request_key set_mempolicy setns settimeofday swapoff swapon umount2 unshare userfaultfd vhangup"
).split()
_NAMESPACES = (0x20000, 0x2000000, 0x4000000, 0x8000000, 0x10000000, 0x20000000, 0x40000000)
# Of a kernel that has never heard of them; the first, so that its caller takes the older call.
_UNKNOWN_CALLS = ("clone3", "landlock_create_ruleset", "landlock_add_rule", "landlock_restrict_self")


def make(folder, packages=(), options=()):
    """Makes one in the folder, with these packages beside the essential ones. The options are
    mmdebstrap's."""
    with tempfile.NamedTemporaryFile("w", suffix=".list") as sources:
        sites = _package_sources()
        if "https:" in sites:
            packages = [*packages, "ca-certificates"]
        sources.write(sites)
        sources.flush()
        subprocess.run(
            [
                *("mmdebstrap", "--quiet", "--variant=minbase", "--dpkgopt=force-unsafe-io"),
                '--aptopt=APT::Install-Recommends "false"',
                *(f"--include={package}" for package in packages),
                *_proxy_settings(),
                *options,
                *(_distribution(), folder, sources.name),
            ],
            check=True,
        )


def may_be_made():
    """Whether one can be made here, which takes the right to mount."""
    ways = (("unshare", "--mount"), ("unshare", "--user", "--map-root-user", "--mount"))
    return any(
        subprocess.run((*way, "true"), capture_output=True, check=False).returncode == 0
        for way in ways
    )


class FreshSystem:
    """One in a folder of its own, with the network of this machine. Only root can be in it."""

    def __init__(self, folder, packages=()):
        self.root = pathlib.Path(folder)
        make(self.root, packages)
        shutil.copy("/etc/resolv.conf", self.root / "etc/resolv.conf")
        (self.root / "etc/hosts").write_text("127.0.0.1 localhost\n::1 localhost\n")
        self._folders = []

    def bind(self, folder, where=None):
        """Has a folder of this machine in it."""
        self._folders.append((folder, where or folder))

    def add_user(self, name):
        """A user who may use sudo without being asked, if sudo is there."""
        assert self.run(f"useradd --create-home --shell /bin/bash {name}") == 0
        rules = self.root / "etc/sudoers.d"
        rules.mkdir(exist_ok=True)
        (rules / name).write_text(f"{name} ALL=(ALL) NOPASSWD: ALL\n")

    def run(self, command, folder="/", user="root"):
        """Runs a shell's line as on a machine of its own; the exit status."""
        inner = [HERE / "enter_system", self.root, folder, user, command]
        for source, where in self._folders:
            inner += [source, where]
        # With this process all of it ends.
        end = ("setpriv", "--pdeathsig", "KILL")
        unshare = ("unshare", "--mount", "--pid", "--ipc", "--uts", "--fork", "--kill-child")
        return subprocess.run([*end, *unshare, *inner], env=ENVIRONMENT, check=False).returncode

    def run_in_container(self, command, folder="/"):
        """Runs a shell's line as root in what container engines make; the exit status. Nothing there
        can make namespaces, mount anything or confine itself to files."""
        binds = [("--bind", str(source), str(where)) for source, where in self._folders]
        with tempfile.TemporaryFile() as rules:
            _container_filter().export_bpf(rules)
            os.lseek(rules.fileno(), 0, os.SEEK_SET)
            return subprocess.run(
                [
                    *("bwrap", "--bind", self.root, "/", "--dev", "/dev", "--proc", "/proc"),
                    *("--ro-bind", "/sys", "/sys", "--perms", "1777", "--tmpfs", "/tmp", "--tmpfs", "/run"),
                    *(word for bind in binds for word in bind),
                    *("--unshare-pid", "--unshare-ipc", "--unshare-uts", "--die-with-parent"),
                    *("--cap-drop", "ALL"),
                    *(word for name in _CAPABILITIES for word in ("--cap-add", f"CAP_{name}")),
                    *("--seccomp", str(rules.fileno()), "--chdir", folder),
                    *("--setenv", "HOME", "/root", "--", "bash", "-euc", command),
                ],
                env=ENVIRONMENT,
                pass_fds=[rules.fileno()],
                check=False,
            ).returncode


def _container_filter():
    rules = seccomp.SyscallFilter(seccomp.ALLOW)
    for call in _REFUSED_CALLS:
        rules.add_rule(seccomp.ERRNO(errno.EPERM), call)
    for flag in _NAMESPACES:
        argument = seccomp.Arg(0, seccomp.MASKED_EQ, flag, flag)
        rules.add_rule(seccomp.ERRNO(errno.EPERM), "clone", argument)
    for call in _UNKNOWN_CALLS:
        rules.add_rule(seccomp.ERRNO(errno.ENOSYS), call)
    return rules


def _distribution():
    release = pathlib.Path("/etc/os-release").read_text()
    return re.search(r"^VERSION_CODENAME=(\w+)$", release, re.MULTILINE)[1]


def _package_sources():
    """Where this machine has the packages of its own distribution from."""
    line = "deb $(SITE) $(RELEASE) $(COMPONENT)"
    targets = ("Created-By: Packages", "Origin: Debian")
    found = _output("apt-get", "indextargets", "--format", line, *targets).splitlines()
    assert found, "apt knows no packages of the distribution: apt-get update"
    return "".join(f"{line}\n" for line in sorted(set(found)))


def _proxy_settings():
    """What this machine needs to get there, as options."""
    settings = re.findall(r'^Acquire::https?::Proxy ".+";$', _output("apt-config", "dump"), re.MULTILINE)
    return [f"--aptopt={setting}" for setting in settings]


def _output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout
