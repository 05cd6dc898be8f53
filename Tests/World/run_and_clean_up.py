#!/usr/bin/python3 -B
"""Runs a command, and ends and removes what it leaves behind, however it ends.

    run_and_clean_up.py FOLDER COMMAND [ARG...]

The folder is the command's. The exit status is the command's, or 128 and the signal that ended it.
"""

import os
import shutil
import signal
import sys

from orphans import OrphanAdoption


def wait_for(command):
    """Its exit status. What it leaves behind meanwhile is seen off at its end, as by any init."""
    while True:
        process, status = os.wait()
        if process == command:
            return os.waitstatus_to_exitcode(status)


def main():
    folder, *arguments = sys.argv[1:]
    adoption = OrphanAdoption()
    command = os.posix_spawnp(arguments[0], arguments, os.environ)
    for number in (signal.SIGHUP, signal.SIGINT, signal.SIGTERM):
        signal.signal(number, lambda number, frame: os.kill(command, number))
    try:
        status = wait_for(command)
    finally:
        adoption.end_orphans()
        shutil.rmtree(folder)
    return status if status >= 0 else 128 - status


if __name__ == "__main__":
    sys.exit(main())
