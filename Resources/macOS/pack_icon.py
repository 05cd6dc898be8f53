#!/usr/bin/env python3
"""Packs a folder of images into one icon file where the system's own tool for it is not at hand.

usage: pack_icon.py FOLDER.iconset ICON.icns

The file is a sequence of blocks, each a type of four characters, its length with these eight bytes,
and an image in PNG; around them is one block of the type "icns".
"""

import pathlib
import struct
import sys

TYPES = {
    "icon_16x16.png": b"icp4",
    "icon_16x16@2x.png": b"ic11",
    "icon_32x32.png": b"icp5",
    "icon_32x32@2x.png": b"ic12",
    "icon_128x128.png": b"ic07",
    "icon_128x128@2x.png": b"ic13",
    "icon_256x256.png": b"ic08",
    "icon_256x256@2x.png": b"ic14",
    "icon_512x512.png": b"ic09",
    "icon_512x512@2x.png": b"ic10",
}


def block(name, contents):
    return name + struct.pack(">I", len(contents) + 8) + contents


def main(folder, icon):
    images = [block(name, (pathlib.Path(folder) / file).read_bytes())
              for file, name in TYPES.items()]
    pathlib.Path(icon).write_bytes(block(b"icns", b"".join(images)))


if __name__ == "__main__":
    main(*sys.argv[1:])
