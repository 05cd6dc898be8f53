#!/usr/bin/python3 -B
"""Runs README's commands as they stand, in a fresh clone, where nothing is installed but what they install.

    readme_test.py FOLDER [root|container|user]...

Three systems: root on a machine, root in an ordinary container, a user who may use sudo on a machine.
What is not committed is not in it. Everything lies in FOLDER and is gone at the end; the compiler's
cache alone is this machine's, so that building is quick.
"""

import pathlib
import re
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
    """A fresh clone in a fresh system, at the path where the work tree is outside."""

    def __init__(self, folder, packages=()):
        self._folder = folder
        remove(folder)
        folder.mkdir(parents=True)
        self.system = FreshSystem(folder / "system", packages)
        self.clone = folder / "clone"
        subprocess.run(["git", "clone", "--quiet", SOURCE, self.clone], check=True)
        self.system.bind(self.clone, SOURCE)

    def __enter__(self):
        return self

    def __exit__(self, *reason):
        remove(self._folder)

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
            yield command, lambda: place.system.run(command, SOURCE)


def in_container(folder):
    with Place(folder) as place:
        place.bind_compiler_cache()
        for command in commands("Try it"):
            yield command, lambda: place.system.run_in_container(command, SOURCE)


def as_user(folder):
    with Place(folder, ["sudo"]) as place:
        place.system.add_user(USER)
        place.system.run(f"chown --recursive {USER}: {SOURCE}")
        for command in commands("Try it"):
            yield command, lambda: place.system.run(command, SOURCE, USER)


WAYS = {
    "root": ("as root", as_root),
    "container": ("as root in an ordinary container", in_container),
    "user": ("as a user with sudo", as_user),
}


def main():
    folder, *names = sys.argv[1:]
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
