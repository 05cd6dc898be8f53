#!/usr/bin/python3 -B
"""Runs a command, and ends and removes what it leaves behind, unless this is itself killed.

    run_and_clean_up.py FOLDER COMMAND [ARG...]

The folder is the command's. So is the machine's system log, if nobody else has one. The exit status is
the command's, or 128 and the signal that ended it.
"""

import os
import pathlib
import shutil
import signal
import sys

from orphans import OrphanAdoption

ENDING = (signal.SIGHUP, signal.SIGINT, signal.SIGTERM)
# Python ignores them, and what it starts would, too.
IGNORED = (signal.SIGPIPE, signal.SIGXFSZ)
SYSTEM_LOG = pathlib.Path("/dev/log")


def start(arguments):
    """The process, which is passed on whatever this one is ended with."""
    signal.pthread_sigmask(signal.SIG_BLOCK, ENDING)
    process = os.posix_spawnp(
        arguments[0], arguments, os.environ, setsigmask=(), setsigdef=IGNORED
    )
    for number in ENDING:
        signal.signal(number, lambda number, frame: os.kill(process, number))
    signal.pthread_sigmask(signal.SIG_UNBLOCK, ENDING)
    return process


def wait_for(command):
    """Its exit status. What it leaves behind meanwhile is seen off at its end, as by any init."""
    while True:
        process, status = os.wait()
        if process == command:
            return os.waitstatus_to_exitcode(status)


def main():
    folder, *arguments = sys.argv[1:]
    had_system_log = SYSTEM_LOG.exists()
    adoption = OrphanAdoption()
    try:
        status = wait_for(start(arguments))
    finally:
        for number in ENDING:
            signal.signal(number, signal.SIG_IGN)
        adoption.end_orphans()
        if not had_system_log:
            SYSTEM_LOG.unlink(missing_ok=True)
        shutil.rmtree(folder)
    return status if status >= 0 else 128 - status


if __name__ == "__main__":
    sys.exit(main())
