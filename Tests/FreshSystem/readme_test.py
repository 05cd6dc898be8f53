#!/usr/bin/python3 -B
"""Runs README's scripts as they stand there, in a fresh clone, where nothing is installed but what they install.

    readme_test.py FOLDER [root|container|user]...

Three systems: root on a machine, root in an ordinary container, a user who may use sudo on a machine.
What is not committed is not in it. Everything lies in FOLDER and is gone at the end; the compiler's
cache alone is this machine's, so that building is quick.
"""

import pathlib
import re
import signal
import subprocess
import sys
import time

from fresh_system import FreshSystem

SOURCE = pathlib.Path(__file__).resolve().parents[2]
USER = "ann"


def commands(heading):
    """Those of README's section that are scripts of the project."""
    section = (SOURCE / "README.md").read_text().split(f"\n## {heading}\n")[1].split("\n## ")[0]
    return re.findall(r"^script/\w+", section, re.MULTILINE)


def remove(folder):
    """With all that is in it, but not what somebody may have mounted there."""
    subprocess.run(["rm", "--recursive", "--force", "--one-file-system", folder], check=True)


class Place:
    """A fresh clone in a fresh system, at the path where the work tree is outside or at another."""

    def __init__(self, folder, path=SOURCE, packages=()):
        self._folder = folder
        self._packages = packages
        self.path = path

    def __enter__(self):
        remove(self._folder)
        try:
            self._make()
        except BaseException:
            remove(self._folder)
            raise
        return self

    def __exit__(self, *reason):
        remove(self._folder)

    def _make(self):
        self._folder.mkdir(parents=True)
        clone = self._folder / "clone"
        # With files of its own: they may be given to another user.
        subprocess.run(["git", "clone", "--quiet", "--no-hardlinks", SOURCE, clone], check=True)
        self.system = FreshSystem(self._folder / "system", self._packages)
        self.system.bind(clone, self.path)

    def bind_compiler_cache(self):
        cache = subprocess.run(
            ["ccache", "--get-config", "cache_dir"], check=True, capture_output=True, text=True
        ).stdout.strip()
        pathlib.Path(cache).mkdir(parents=True, exist_ok=True)
        self.system.bind(cache, "/root/.cache/ccache")


def as_root(folder):
    with Place(folder) as place:
        place.bind_compiler_cache()
        for command in commands("Try it") + commands("Install it")[:1]:
            yield command, lambda: place.system.run(command, place.path)


def in_container(folder):
    with Place(folder) as place:
        place.bind_compiler_cache()
        for command in commands("Try it"):
            yield command, lambda: place.system.run_in_container(command, place.path)


def as_user(folder):
    """Who has another compiler's cache than root, which is empty."""
    path = pathlib.Path("/home") / USER / SOURCE.name
    with Place(folder, path, ["sudo"]) as place:
        place.system.add_user(USER)
        assert place.system.run(f"chown --recursive {USER}: /home/{USER}") == 0
        for command in commands("Try it"):
            yield command, lambda: place.system.run(command, path, USER)


WAYS = {
    "root": ("as root", as_root),
    "container": ("as root in an ordinary container", in_container),
    "user": ("as a user with sudo", as_user),
}


def main():
    folder, *names = sys.argv[1:]
    if unknown := set(names) - set(WAYS):
        sys.exit(f"fresh: there is no {', '.join(sorted(unknown))}: {', '.join(WAYS)}")
    for number in (signal.SIGHUP, signal.SIGTERM):
        signal.signal(number, lambda number, frame: sys.exit(128 + number))
    results = []
    for name in names or WAYS:
        title, way = WAYS[name]
        print(f"fresh: {title}: making a system", flush=True)
        for command, run in way(pathlib.Path(folder).resolve() / name):
            print(f"fresh: {title}: {command}", flush=True)
            start = time.monotonic()
            status = run()
            minutes, seconds = divmod(round(time.monotonic() - start), 60)
            results.append((status, f"{title}: {command}: status {status} after {minutes}:{seconds:02} min"))
    for _, text in results:
        print(f"fresh: {text}")
    failed = sum(status != 0 for status, _ in results)
    print(f"{len(results) - failed} passed, {failed} failed")
    return 0 if failed == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
