"""What programs leave behind when they end, and its end."""

import ctypes
import os
import pathlib
import signal
import time


class OrphanAdoption:
    """Makes this process the parent of what its programs leave behind, and ends that."""

    _PR_SET_CHILD_SUBREAPER = 36

    def __init__(self):
        ctypes.CDLL(None, use_errno=True).prctl(self._PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)

    def end_orphans(self):
        """To be called when no program runs that was started directly."""
        deadline = time.monotonic() + 5
        while orphans := _children():
            for process in orphans:
                os.kill(process, signal.SIGTERM if time.monotonic() < deadline else signal.SIGKILL)
                os.waitpid(process, os.WNOHANG)
            time.sleep(0.02)


def _children():
    children = pathlib.Path(f"/proc/self/task/{os.getpid()}/children")
    return [int(process) for process in children.read_text().split()]
