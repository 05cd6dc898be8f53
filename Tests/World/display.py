"""An X display with a window manager and nobody in front of it."""

import os
import pathlib
import struct
import time
import zlib

from session import becomes_true, wait_until


class Display:
    """Starts the display in a session, whose programs show their windows there from then on."""

    def __init__(self, session, size="1024x768"):
        self._frame_buffer = session.folder / "frame-buffer"
        self._frame_buffer.mkdir()
        reader, writer = os.pipe()
        # Without "-noreset" the server starts over whenever its last client leaves.
        session.start(
            *("Xvfb", "-noreset", "-displayfd", writer, "-nolisten", "tcp"),
            *("-screen", "0", f"{size}x24", "-fbdir", self._frame_buffer),
            pass_fds=[writer],
        )
        os.close(writer)
        with open(reader, encoding="ascii") as number:
            session.environment["DISPLAY"] = f":{number.readline().strip()}"
        session.environment["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
        session.environment["ACCESSIBILITY_ENABLED"] = "1"
        session.environment["XDG_SESSION_TYPE"] = "x11"
        session.start("openbox")
        wait_until(
            lambda: "window id" in session.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK").stdout,
            "the window manager",
        )

    def wait_until_still(self):
        """Until nothing has moved for a moment, as long as that comes soon."""
        images = [self._read()]

        def is_still():
            time.sleep(0.3)
            images.append(self._read())
            return images[-1] == images[-2]

        becomes_true(is_still, patience=5)

    def _read(self):
        return (self._frame_buffer / "Xvfb_screen0").read_bytes()

    def save_screenshot(self, path):
        """Writes what is to be seen as a PNG file."""
        image = self._read()
        pathlib.Path(path).parent.mkdir(parents=True, exist_ok=True)
        pathlib.Path(path).write_bytes(_png_from_xwd(image))


def _png_from_xwd(image):
    """Of the file format of X window dumps only what the display writes: 32 bits, blue first."""
    header = struct.unpack(">25I", image[:100])
    header_size, width, height, bits, row_size, colours = (
        header[index] for index in (0, 4, 5, 11, 12, 19)
    )
    assert bits == 32, "a window dump of another depth"
    start = header_size + colours * 12
    rows = bytearray()
    for row in range(height):
        pixels = image[start + row * row_size :][: width * 4]
        line = bytearray(width * 3)
        line[0::3], line[1::3], line[2::3] = pixels[2::4], pixels[1::4], pixels[0::4]
        rows += b"\0" + line
    return b"\x89PNG\r\n\x1a\n" + b"".join(
        (
            _png_chunk(b"IHDR", struct.pack(">2I5B", width, height, 8, 2, 0, 0, 0)),
            _png_chunk(b"IDAT", zlib.compress(bytes(rows))),
            _png_chunk(b"IEND", b""),
        )
    )


def _png_chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
